// Shared by the end-to-end tests: MOF builders, repository dumps, trace record look-ups, and a
// registry value of the test prefix changed for one test.
#pragma once

#include "EmuWorld.h"
#include "TestKit.h"

#include <cstring>
#include <string>

namespace e2e
{
// "#pragma namespace" for a path such as root\A\B (single backslashes), on the local machine.
inline std::string Pragma(const std::string& strNs)
{
    std::string strText = "#pragma namespace(\"\\\\\\\\.";
    for (char c : "\\" + strNs)
        strText += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return strText + "\")\n";
}

// Three lines: creates the namespace in its parent and switches to it.
inline std::string Ns(const std::string& strPath)
{
    const size_t nSlash = strPath.rfind('\\');
    return Pragma(strPath.substr(0, nSlash)) + "instance of __Namespace { Name = \"" +
           strPath.substr(nSlash + 1) + "\"; };\n" + Pragma(strPath);
}

// One class in namespace root\TarvosTest: its qualifier list (if any) on line 4, the class
// on the lines from there to 7 (or 8 with a qualifier line ending in "\n").
inline std::string ClassMof(const std::string& strClass, const std::string& strQualifiers = "")
{
    return Ns("root\\TarvosTest") + strQualifiers + "class " + strClass + "\n{\n    [key] string Name;\n};\n";
}

// The dump of a repository that holds just what the MOF texts define, compiled one after the
// other. Built in the world's own repository, which then holds it: a second CEmuWorld would
// take the emulator's environment variables over from the first.
inline std::string DumpOf(const testkit::CEmuWorld& world, const std::string& strMof,
                          const std::string& strMore = "")
{
    world.Tool("reset");
    for (const std::string* pText : {&strMof, &strMore})
        if (!pText->empty())
            world.Seed(*pText);
    return world.Dump("root");
}

// Columns: date, pid, tid, level, class, method, category, text, message.
inline std::string Column(const std::string& strRecord, size_t nColumn)
{
    const auto cols = testkit::SplitTabs(strRecord);
    return nColumn < cols.size() ? cols[nColumn] : std::string();
}
inline std::string Message(const std::string& strRecord)
{
    return Column(strRecord, 8);
}

// The single record of a method, category and text as "message" (or "level message" with
// bLevel); a marker when there is not exactly one.
inline std::string Only(const testkit::TarvosRun& run, const std::string& strMethod,
                        const std::string& strCategory, const std::string& strText = "", bool bLevel = false)
{
    const auto found = run.Records(strMethod, strCategory, strText);
    if (found.size() != 1)
        return "<" + std::to_string(found.size()) + " records>";
    return (bLevel ? Column(found[0], 3) + " " : std::string()) + Message(found[0]);
}

// Records of main turning the job's 18 (file not newer) into 0.
inline size_t OldVersionForgiven(const testkit::TarvosRun& run)
{
    return run.Records("main", "Internal", "Changing EXITCODE_ERR_MOF_OLD_VERSION to EXITCODE_OK").size();
}

// A string value of the prefix's registry set, or removed (null), for the life of the object.
class CPrefixValue
{
public:
    CPrefixValue(HKEY hRoot, const char* szKey, const char* szName, const char* szValue)
        : m_hRoot(hRoot), m_strKey(szKey), m_szName(szName)
    {
        char szOld[MAX_PATH] = "";
        DWORD cbOld = sizeof(szOld);
        m_bHad = RegGetValueA(hRoot, szKey, szName, RRF_RT_REG_SZ, nullptr, szOld, &cbOld) == ERROR_SUCCESS;
        m_strOld = szOld;
        Set(szValue);
    }
    ~CPrefixValue() { Set(m_bHad ? m_strOld.c_str() : nullptr); }
    CPrefixValue(const CPrefixValue&) = delete;
    CPrefixValue& operator=(const CPrefixValue&) = delete;
    bool Had() const { return m_bHad; }

private:
    void Set(const char* szValue) const
    {
        if (szValue != nullptr)
            RegSetKeyValueA(m_hRoot, m_strKey.c_str(), m_szName, REG_SZ, szValue,
                            static_cast<DWORD>(strlen(szValue) + 1));
        else
            RegDeleteKeyValueA(m_hRoot, m_strKey.c_str(), m_szName);
    }
    HKEY m_hRoot;
    std::string m_strKey;
    const char* m_szName;
    bool m_bHad = false;
    std::string m_strOld;
};
} // namespace e2e
