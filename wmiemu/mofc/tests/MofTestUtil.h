// MofTestUtil.h - helpers shared by the MOF front end tests: scratch files and corpus access.
#pragma once

#include "MofCompiler.h"

#include <windows.h>

#include <string>
#include <vector>

namespace mofctest
{

// A fresh empty folder under the temp folder, removed with its files at destruction.
class CScratchDir
{
public:
    CScratchDir();
    ~CScratchDir();
    CScratchDir(const CScratchDir&) = delete;
    CScratchDir& operator=(const CScratchDir&) = delete;

    const std::wstring& Path() const { return m_wszPath; }
    // Writes bytes to Path()\wszName (subfolders are created); returns the full path.
    std::wstring Write(const std::wstring& wszName, const std::string& strBytes) const;

private:
    std::wstring m_wszPath;
};

// Runs the current directory change for one scope.
class CCurrentDir
{
public:
    explicit CCurrentDir(const std::wstring& wszDir);
    ~CCurrentDir();

private:
    std::wstring m_wszOld;
};

std::string Utf8(const std::wstring& wsz);
std::string Utf16LeWithBom(const std::wstring& wsz);

// The corpus folder, or empty when it is absent.
std::wstring CorpusDir();
// Every *.mof file below wszDir (any case of the extension), sorted.
std::vector<std::wstring> FindMofFiles(const std::wstring& wszDir);
std::string ReadAll(const std::wstring& wszPath);

// Parses MOF source text written as UTF-8/ASCII.
inline mofc::CompileResult Parse(const std::string& strText,
                                 const std::wstring& wszPseudo = L"C:\\t\\test.mof")
{
    std::wstring wszText(strText.begin(), strText.end());
    return mofc::ParseText(wszText, wszPseudo);
}

std::string Describe(const mofc::CompileResult& res);

} // namespace mofctest
