// Small helpers shared by the tests: scratch folders, files, registry values, and running
// Tarvos.exe under the test prefix with tracing switched on.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace testkit
{
// A fresh folder under %TEMP%, removed with everything in it when the object goes.
class CScratchDir
{
public:
    CScratchDir();
    ~CScratchDir();
    CScratchDir(const CScratchDir&) = delete;
    CScratchDir& operator=(const CScratchDir&) = delete;
    const std::string& Path() const { return m_strPath; }
    std::string File(const std::string& strName) const { return m_strPath + "\\" + strName; }

private:
    std::string m_strPath;
};

bool FileExists(const std::string& strPath);
std::vector<unsigned char> ReadBytes(const std::string& strPath);
bool WriteBytes(const std::string& strPath, const std::string& strBytes);
// Every file below a folder (but strSkip) with its bytes, as text (to compare before and after).
std::string FolderText(const std::string& strPath, const std::string& strSkip = "");

// UTF-16 LE text as its bytes, the way the trace writes it ("\n" stays as it is).
std::string Utf16Bytes(const std::string& strAscii);
// The trace file's text: BOM dropped, each UTF-16 unit narrowed (non-ASCII becomes '?').
std::string ReadUtf16Text(const std::string& strPath, bool* pbHasBom = nullptr);
std::vector<std::string> SplitLines(const std::string& strText); // at "\r\n"
// Trace records: lines that do not begin with a date and time continue the record before
// them (a message with line feeds), joined again with "\n".
std::vector<std::string> SplitRecords(const std::string& strText);
std::vector<std::string> SplitTabs(const std::string& strLine);

// One record of a trace file (without the module column), split into its columns.
struct TraceRecord
{
    std::string strLevel, strClass, strMethod, strCategory, strText, strMessage;
};
// The records of a trace file; with strFunction ("Method" or "Class::Method"), strCategory
// and strText only those that match them.
std::vector<TraceRecord> TraceRecords(const std::string& strPath, const std::string& strFunction = "",
                                      const std::string& strCategory = "", const std::string& strText = "");

// A registry key under HKEY_LOCAL_MACHINE that the test owns: emptied on construction, and on
// destruction given back exactly as it was before (values and subkeys), or deleted when it was
// not there.
class CScratchKey
{
public:
    explicit CScratchKey(const std::string& strSubKey);
    ~CScratchKey();
    CScratchKey(const CScratchKey&) = delete;
    CScratchKey& operator=(const CScratchKey&) = delete;
    void SetDword(const char* szName, DWORD dwValue);
    void SetString(const char* szName, const std::string& strValue, DWORD dwType = REG_SZ);
    void SetBinary(const char* szName, const std::string& strBytes);
    void Delete(const char* szName);
    const std::string& SubKey() const { return m_strSubKey; }
    // The key's values and subkeys as they are now, as text (to compare before and after).
    std::string Text() const;

private:
    std::string m_strSubKey;
    HKEY m_hKey;
    struct Saved;
    Saved* m_pSaved;
};

// One registry value (any type) as it was on construction, written back (or deleted when it was
// not there) on destruction, also when the test fails.
class CSavedValue
{
public:
    CSavedValue(HKEY hRoot, const char* szKey, const char* szName);
    // And then set to a string (or deleted, with null) for the life of the object.
    CSavedValue(HKEY hRoot, const char* szKey, const char* szName, const char* szValue);
    ~CSavedValue();
    CSavedValue(const CSavedValue&) = delete;
    CSavedValue& operator=(const CSavedValue&) = delete;
    bool Had() const { return m_bHad; }

private:
    HKEY m_hRoot;
    std::string m_strKey;
    const char* m_szName;
    bool m_bHad = false;
    DWORD m_dwType = 0;
    std::string m_strData;
};

// True in a Wine process (ntdll exports wine_get_version).
bool RunsUnderWine();

// Trace settings of Tarvos.exe (normal account) in the test prefix's registry.
extern const char kTarvosTraceKey[];

struct TarvosRun
{
    DWORD dwExitCode = 0xFFFFFFFF;
    bool bTimedOut = false;
    // Why the program could not be started or did not end: the failing call and its error
    // number (the run is then also a test failure). Empty when it ran to its end.
    std::string strFailure;
    std::string strStdout;
    std::string strTrace;           // the trace file as text (see ReadUtf16Text)
    std::vector<std::string> lines; // the trace's records (see SplitRecords)
    // Records whose columns (class, method, category, text) match; empty strings match anything.
    std::vector<std::string> Records(const std::string& strMethod, const std::string& strCategory = "",
                                     const std::string& strText = "") const;
    bool Has(const std::string& strFragment) const { return strTrace.find(strFragment) != std::string::npos; }
};

// Columns of a trace record: date, pid, tid, level, class, method, category, text, message.
std::string Column(const std::string& strRecord, size_t nColumn);
inline std::string Message(const std::string& strRecord)
{
    return Column(strRecord, 8);
}
// The single record of a method, category and text as "message" (or "level message" with
// bLevel); a marker when there is not exactly one.
std::string Only(const TarvosRun& run, const std::string& strMethod, const std::string& strCategory,
                 const std::string& strText = "", bool bLevel = false);
// "level message" of the records with one text, in order.
std::vector<std::string> Messages(const TarvosRun& run, const std::string& strText);
// Index of the first record of a method ("Class::Method") and category at or after nFrom;
// lines.size() when there is none.
size_t Find(const TarvosRun& run, const std::string& strMethod, const std::string& strCategory,
            size_t nFrom = 0);

// A registry value's bytes (and type), "<none>" when it is missing; setting "<none>" deletes it.
std::string RegBytes(HKEY hRoot, const char* szKey, const char* szName, DWORD* pdwType = nullptr);
void SetRegBytes(HKEY hRoot, const char* szKey, const char* szName, const std::string& strBytes,
                 DWORD dwType);
// REG_MULTI_SZ data: each string with its NUL, one more NUL at the end.
std::string MultiSz(const std::vector<std::string>& strings);

struct TarvosOptions
{
    std::string strWorkDir; // empty: a scratch folder
    DWORD dwTimeoutMs = 60000;
    unsigned nTraceLevel = 6;
    bool bTrace = true;
    // Empty: a file in a scratch folder. A relative name is opened against the current
    // directory of each record; the run's trace is then the one in the working directory.
    std::string strTraceFile;
};
// A run started in strWorkDir (empty: a scratch folder), tracing into strTraceFile.
TarvosOptions StartedIn(const std::string& strWorkDir, const std::string& strTraceFile = "");

// A trace file's text and records (empty when there is no such file).
TarvosRun ReadTrace(const std::string& strPath);
// Full path of Tarvos.exe beside the running test program (the build tree's bin folder, or the
// folder of the release package).
std::string TarvosExe();
// Runs Tarvos.exe with the given argument text, tracing at nTraceLevel into a scratch file.
TarvosRun RunTarvos(const std::string& strArgs, const TarvosOptions& options = TarvosOptions());
// Runs any program and captures its exit code and standard output.
TarvosRun RunProgram(const std::string& strCommandLine, const std::string& strWorkDir, DWORD dwTimeoutMs);
} // namespace testkit
