// EmuStore.h - the repository of this process, kept in step with its file: reloaded whenever the file
// changed, written after every change, one operation at a time across processes (named mutex).
//
// The file is "%ProgramData%\WmiEmu\repository.txt" unless the environment variable WMIEMU_REPOSITORY
// or the value "Repository" of HKLM\Software\WmiEmu names another; no file means a fresh repository.
#pragma once

#include "EmuRepository.h"

#include <functional>

namespace wmiemu
{

std::wstring RepositoryFilePath();
std::wstring ConfigValue(const wchar_t* wszEnv, const wchar_t* wszRegValue); // "" when not set

// Text files (UTF-8 without BOM on writing; UTF-8 or UTF-16 LE with BOM on reading).
bool ReadTextFile(const std::wstring& path, std::wstring& text);
bool WriteTextFile(const std::wstring& path, const std::wstring& text);
std::string ToUtf8(const std::wstring& s);
std::wstring FromUtf8(const std::string& s);

class Store
{
public:
    static Store& Instance();

    HRESULT Read(const std::function<HRESULT(const Repository&)>& f);
    // f works on a copy, which replaces the repository (and the file) only when f succeeds, or
    // also when it fails if bKeepOnFailure (what f changed before failing is kept).
    HRESULT Modify(const std::function<HRESULT(Repository&)>& f, bool bKeepOnFailure = false);
    HRESULT Reset();
    std::wstring LastError() const { return m_lastError; }

private:
    Store();
    HRESULT Sync();
    HRESULT Save();

    class Lock;
    Repository m_repo;
    bool m_bLoaded = false;
    FILETIME m_ftWrite = {};
    ULONGLONG m_nSize = 0;
    std::wstring m_path, m_lastError;
    HANDLE m_hMutex = nullptr;
    CRITICAL_SECTION m_cs;
};

} // namespace wmiemu
