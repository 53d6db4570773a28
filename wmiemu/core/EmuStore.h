// EmuStore.h - the repository of this process, kept in step with its files, one operation at a time
// across processes (named mutex). The repository file holds the whole repository as of some moment;
// the journal beside it ("<file>.journal") the changes made since, one record a call, appended as
// the call ends (so every call is on disk when it returns). Another process reads only the records it
// has not yet applied; a record cut short (a process killed while writing) is ignored and later
// overwritten. When the journal has grown as large as the file, the next write rewrites the file
// and starts a new journal. The journal names the file it belongs to (size and time of last write):
// a journal left beside another file is not applied.
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
    HRESULT Load(const WIN32_FILE_ATTRIBUTE_DATA& fad, bool bExists);
    HRESULT ApplyJournalFrom(ULONGLONG nOffset);
    HRESULT Append(const std::wstring& record);
    HRESULT Save();
    std::wstring JournalHeader() const;

    class Lock;
    Repository m_repo;
    Repository m_spare; // the repository before the last write, storage for the next one's copy
    bool m_bLoaded = false;
    FILETIME m_ftWrite = {};
    ULONGLONG m_nSize = 0;
    bool m_bFile = false;
    ULONGLONG m_nJournal = 0; // bytes of the journal applied (0: none that belongs to the file)
    ULONGLONG m_nJournalSize = 0;
    FILETIME m_ftJournal = {};
    std::wstring m_path, m_lastError;
    HANDLE m_hMutex = nullptr;
    CRITICAL_SECTION m_cs;
};

} // namespace wmiemu
