// CMofParse: finds, by plain text scanning, what a MOF source file declares:
// the namespaces its "#pragma namespace" lines select, the classes it defines,
// the static instances it creates and the version qualifiers of its classes.
//
// The scan is not a parser: its rules are simple text searches with sharp edges
// (keywords match anywhere and in any case, "//" removes the rest of a line even
// inside strings, values end at the end of their line). The version check and the
// MOF-driven deletion decide by what these rules do and do not find.
//
// Text access at a negative position or beyond the end of the scanned text throws
// the HRESULT E_INVALIDARG (0x80070057) by value; it leaves Parse and the caller
// catches it (catch (HRESULT hr)). This happens for a "#pragma" that has no
// "namespace" anywhere after it and for a class name followed by a blank-separated
// ":" without any "{" after it.
#pragma once

#include <climits>
#include <string>
#include <vector>

// A found item and the zero-based text position of its keyword; -1 when none.
struct MofEntry
{
    std::string Name;
    int Pos = -1;
};

// One "name = value" line of an instance body; the value is trimmed, quotes kept.
struct MofProperty
{
    std::string Name;
    std::string Value;
};

// One "instance of" declaration; Alias includes its "$" and is empty without "as".
struct MofInstance
{
    std::string ClassName;
    int Pos = -1;
    std::string Alias;
    std::vector<MofProperty> Properties;
};

class CMofParse
{
public:
    CMofParse();

    // Reads the file, removes line comments and scans it. False when the file cannot
    // be opened or starts with a UTF-16 little-endian signature; true otherwise,
    // whatever was found. Meant to be called once per object.
    bool Parse(const char* szFile);

    // The first class declared after a version qualifier, its version and the
    // namespace in effect there. False (outputs untouched) when no such pair exists;
    // also false when the file has no namespace pragma (class and version are set).
    bool ClassVersionFind(std::string& szNamespace, std::string& szClass, std::string& szVersion);

    // The namespace in effect at a text position: that of the last namespace pragma
    // at or before it, or of the first pragma when none precedes it. True when not empty.
    bool NamespaceForPosition(int nPos, std::string& szNamespace);

    // Namespace entry nIndex with doubled backslashes made single and leading
    // backslashes removed; empty when there is no such entry.
    void NamespaceByIndex(int nIndex, std::string& szNamespace);

    const std::vector<MofEntry>& Versions() const { return m_Versions; }
    const std::string& Content() const { return m_Content; }
    const std::vector<MofEntry>& Namespaces() const { return m_Namespaces; }
    const std::vector<MofEntry>& Classes() const { return m_Classes; }
    const std::vector<MofInstance>& Instances() const { return m_Instances; }

private:
    bool TextScan();
    void NamespacesFind();
    void ClassesFind();
    void InstancesFind();
    void InstancePropertiesFind(int nOpen, MofInstance& instance, int& nLastEnd);
    void VersionInfoFind();
    bool QualifierBlockFind(int nStart, int& nOpen, int& nClose);

    // Scanning primitives over m_Content (MofParseText.cpp).
    int Length() const { return static_cast<int>(m_Content.size()); }
    char CharAt(int nPos) const;
    int KeywordFind(const char* szKeyword, int nStart, int nMaxStart = INT_MAX) const;
    int GapThenCharFind(int nStart, const char* szGap, char ch) const;
    bool OnlyCharsBetween(int nFrom, int nTo, const char* szSet) const;
    int WhitespaceSkip(int nStart) const;
    int IdentifierEnd(int nStart) const;
    int AliasEnd(int nStart) const;
    bool NextIdentifierFind(int nStart, int& nBegin, int& nEnd) const;
    bool NextValueFind(int nStart, int& nBegin, int& nEnd) const;
    int NextLineFind(int nStart) const;
    int CharFind(char ch, int nStart) const;
    int TextFind(const char* szText, int nStart) const;
    int CharOfSetFind(const char* szSet, int nStart) const;
    std::string TextBetween(int nFrom, int nTo) const;

    std::vector<MofEntry> m_Versions;
    std::string m_Content;
    std::vector<MofEntry> m_Namespaces;
    std::vector<MofEntry> m_Classes;
    std::vector<MofInstance> m_Instances;
};
