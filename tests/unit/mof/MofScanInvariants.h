// Properties every scan result has, whatever the input: used by the corpus and stress runs.
#pragma once

#include "MofParse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace mofcheck
{
inline bool KeywordAt(const std::string& strText, int nPos, const char* szKeyword)
{
    const std::string strKeyword(szKeyword);
    if (nPos < 0 || static_cast<size_t>(nPos) + strKeyword.size() >= strText.size())
        return false;
    for (size_t i = 0; i < strKeyword.size(); ++i)
    {
        char ch = strText[static_cast<size_t>(nPos) + i];
        if (ch >= 'A' && ch <= 'Z')
            ch = static_cast<char>(ch - 'A' + 'a');
        if (ch != strKeyword[i])
            return false;
    }
    return true;
}

inline bool IsIdentifier(const std::string& str)
{
    for (char ch : str)
    {
        if (!((ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_'))
            return false;
    }
    return true;
}

// Entries in text order, each at its keyword (with text behind it).
inline ::testing::AssertionResult EntriesAtKeyword(const std::string& strText,
                                                   const std::vector<MofEntry>& entries,
                                                   const char* szKeyword)
{
    int nLast = -1;
    for (const MofEntry& entry : entries)
    {
        if (entry.Pos <= nLast)
            return ::testing::AssertionFailure() << szKeyword << " entries out of order at " << entry.Pos;
        if (!KeywordAt(strText, entry.Pos, szKeyword))
            return ::testing::AssertionFailure() << "no " << szKeyword << " at " << entry.Pos;
        nLast = entry.Pos;
    }
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult ScanResultSane(const CMofParse& mp)
{
    const std::string& strText = mp.Content();
    ::testing::AssertionResult result = EntriesAtKeyword(strText, mp.Namespaces(), "#pragma");
    if (result)
        result = EntriesAtKeyword(strText, mp.Classes(), "class");
    if (result)
        result = EntriesAtKeyword(strText, mp.Versions(), "version");
    if (!result)
        return result;
    for (const MofEntry& entry : mp.Namespaces())
    {
        if (entry.Name.find('"') != std::string::npos)
            return ::testing::AssertionFailure() << "quote in namespace " << entry.Name;
    }
    for (const MofEntry& entry : mp.Classes())
    {
        if (!IsIdentifier(entry.Name))
            return ::testing::AssertionFailure() << "class name " << entry.Name;
    }
    int nLast = -1;
    size_t nProperties = 0;
    for (const MofInstance& instance : mp.Instances())
    {
        if (instance.Pos <= nLast || !KeywordAt(strText, instance.Pos, "instance"))
            return ::testing::AssertionFailure() << "instance at " << instance.Pos;
        nLast = instance.Pos;
        if (!IsIdentifier(instance.ClassName))
            return ::testing::AssertionFailure() << "instance class " << instance.ClassName;
        std::string strAliasChars = instance.Alias;
        strAliasChars.erase(std::remove(strAliasChars.begin(), strAliasChars.end(), '$'),
                            strAliasChars.end());
        if (!IsIdentifier(strAliasChars))
            return ::testing::AssertionFailure() << "alias " << instance.Alias;
        for (const MofProperty& prop : instance.Properties)
        {
            if (prop.Name.empty() || !IsIdentifier(prop.Name))
                return ::testing::AssertionFailure() << "property name '" << prop.Name << "'";
            if (prop.Value.empty() || prop.Value.find_first_of(";\n\r") != std::string::npos)
                return ::testing::AssertionFailure() << "property value '" << prop.Value << "'";
        }
        nProperties += instance.Properties.size();
    }
    // Every property is a distinct "=" of the text: the lists cannot outgrow it.
    if (nProperties > strText.size())
        return ::testing::AssertionFailure()
               << nProperties << " properties in " << strText.size() << " bytes";
    return ::testing::AssertionSuccess();
}
} // namespace mofcheck
