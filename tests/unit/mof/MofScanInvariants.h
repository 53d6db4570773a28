// Properties every scan result has, whatever the input: used by the table, corpus and stress runs.
#pragma once

#include "MofParse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
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
