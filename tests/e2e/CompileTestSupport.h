// Shared by the end-to-end tests of the compile jobs: MOF texts, trace record columns, and a
// registry value of the test prefix changed for the length of one test.
#pragma once

#include "TestKit.h"

#include <cstring>
#include <string>

namespace compiletest
{
// One class in namespace root\TarvosTest: its qualifier list (if any) on line 4, the class
// on the lines from there to 7 (or 8 with a qualifier line ending in "\n").
inline std::string ClassMof(const std::string& strClass, const std::string& strQualifiers = "")
{
    return "#pragma namespace(\"\\\\\\\\.\\\\root\")\n"
           "instance of __Namespace { Name = \"TarvosTest\"; };\n"
           "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TarvosTest\")\n" +
           strQualifiers + "class " + strClass + "\n{\n    [key] string Name;\n};\n";
}

// Columns: date, pid, tid, level, class, method, category, text, message.
inline std::string Column(const std::string& strRecord, size_t nColumn)
{
    const auto cols = testkit::SplitTabs(strRecord);
    return nColumn < cols.size() ? cols[nColumn] : std::string();
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
        {
            RegSetKeyValueA(m_hRoot, m_strKey.c_str(), m_szName, REG_SZ, szValue,
                            static_cast<DWORD>(strlen(szValue) + 1));
        }
        else
        {
            RegDeleteKeyValueA(m_hRoot, m_strKey.c_str(), m_szName);
        }
    }
    HKEY m_hRoot;
    std::string m_strKey;
    const char* m_szName;
    bool m_bHad = false;
    std::string m_strOld;
};
} // namespace compiletest
