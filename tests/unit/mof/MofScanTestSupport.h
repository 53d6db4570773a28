// Shared set-up of the scanner tests: the properties every scan result has, whatever the input
// (for the table, corpus and stress runs), and MOF texts written to a scratch folder and scanned.
#pragma once

#include "MofParse.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace mofcheck
{
// A NUL in the text stops _strnicmp before the keyword's end: no match, as it should be.
inline bool KeywordAt(const std::string& strText, int nPos, const std::string& strKeyword)
{
    return nPos >= 0 && static_cast<size_t>(nPos) + strKeyword.size() < strText.size() &&
           _strnicmp(strText.c_str() + nPos, strKeyword.c_str(), strKeyword.size()) == 0;
}

inline bool IsIdentifier(const std::string& str)
{
    return std::all_of(str.begin(), str.end(), [](char ch) {
        return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_';
    });
}

// Every list in text order with each entry at its keyword; names that can only be what the
// rules take; every property a distinct "=" of the text, so the lists cannot outgrow it.
inline ::testing::AssertionResult ScanResultSane(const CMofParse& mp)
{
    const std::string& strText = mp.Content();
    const std::pair<const std::vector<MofEntry>*, const char*> lists[] = {
        {&mp.Namespaces(), "#pragma"}, {&mp.Classes(), "class"}, {&mp.Versions(), "version"}};
    for (const auto& list : lists)
    {
        int nLast = -1;
        for (const MofEntry& entry : *list.first)
        {
            if (entry.Pos <= nLast || !KeywordAt(strText, entry.Pos, list.second))
                return ::testing::AssertionFailure() << list.second << " entry at " << entry.Pos;
            nLast = entry.Pos;
            if (list.second[0] == '#' ? entry.Name.find('"') != std::string::npos
                                      : list.second[0] == 'c' && !IsIdentifier(entry.Name))
                return ::testing::AssertionFailure() << list.second << " name " << entry.Name;
        }
    }
    int nLast = -1;
    size_t nProperties = 0;
    for (const MofInstance& instance : mp.Instances())
    {
        std::string strAlias = instance.Alias;
        strAlias.erase(std::remove(strAlias.begin(), strAlias.end(), '$'), strAlias.end());
        if (instance.Pos <= nLast || !KeywordAt(strText, instance.Pos, "instance") ||
            !IsIdentifier(instance.ClassName) || !IsIdentifier(strAlias))
            return ::testing::AssertionFailure() << "instance at " << instance.Pos;
        nLast = instance.Pos;
        for (const MofProperty& prop : instance.Properties)
            if (prop.Name.empty() || !IsIdentifier(prop.Name) || prop.Value.empty() ||
                prop.Value.find_first_of(";\n\r") != std::string::npos)
                return ::testing::AssertionFailure()
                       << "property '" << prop.Name << "' = '" << prop.Value << "'";
        nProperties += instance.Properties.size();
    }
    if (nProperties > strText.size())
        return ::testing::AssertionFailure()
               << nProperties << " properties in " << strText.size() << " bytes";
    return ::testing::AssertionSuccess();
}
} // namespace mofcheck

class MofScanTest : public ::testing::Test
{
protected:
    testkit::CScratchDir m_dir;
    std::unique_ptr<CMofParse> m_pScan;
    int m_nFiles = 0;

    // Writes the bytes to a new file and scans it with a fresh scanner; the result must be sane.
    bool Scan(const std::string& strBytes)
    {
        const std::string strPath = m_dir.File("t" + std::to_string(++m_nFiles) + ".mof");
        EXPECT_TRUE(testkit::WriteBytes(strPath, strBytes));
        m_pScan = std::make_unique<CMofParse>();
        const bool bScanned = m_pScan->Parse(strPath.c_str());
        EXPECT_TRUE(mofcheck::ScanResultSane(*m_pScan)) << strBytes;
        return bScanned;
    }
    // Scans and reports what left the scan: 0 for none, else the HRESULT thrown.
    HRESULT ScanThrown(const std::string& strBytes)
    {
        try
        {
            Scan(strBytes);
        }
        catch (HRESULT hr)
        {
            return hr;
        }
        return S_OK;
    }
    CMofParse& Mp() { return *m_pScan; }
    // The names of a list, joined by "|".
    static std::string Names(const std::vector<MofEntry>& entries)
    {
        std::string str;
        for (size_t i = 0; i < entries.size(); ++i)
            str += (i == 0 ? "" : "|") + entries[i].Name;
        return str;
    }
    // The instances as "Class$alias{name=value;...}", joined by " ".
    std::string Instances() const
    {
        std::string str;
        for (const MofInstance& instance : m_pScan->Instances())
        {
            str += (str.empty() ? "" : " ") + instance.ClassName + instance.Alias + "{";
            for (const MofProperty& prop : instance.Properties)
                str += prop.Name + "=" + prop.Value + ";";
            str += "}";
        }
        return str;
    }
};
