// The four finders of CMofParse and the qualifier block finder. Each walks the
// scanned text from its beginning with the primitives of MofParseText.cpp.
#include "MofParse.h"

#include "ArcaTrace.h"

namespace
{
const char* const g_szBlank = " \t";
const char* const g_szWhitespace = " \t\n\r";
const char* const g_szTrim = " \t\n\r\v\f";

std::string Trimmed(const std::string& sz)
{
    const size_t nFirst = sz.find_first_not_of(g_szTrim);
    if (nFirst == std::string::npos)
        return std::string();
    return sz.substr(nFirst, sz.find_last_not_of(g_szTrim) - nFirst + 1);
}
} // namespace

// "#pragma namespace" lines: blanks (no line break) between the two words, and the
// name between the next two double quotes, wherever they are.
void CMofParse::NamespacesFind()
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::NamespacesFind", "Enter", "", "");
    int nPragma = KeywordFind("#pragma", 0);
    while (nPragma >= 0)
    {
        const int nAfterPragma = nPragma + 7;
        const int nKeyword = KeywordFind("namespace", nAfterPragma);
        int nNext;
        if (nKeyword < 0)
        {
            // No "namespace" anywhere behind: the next search from -1 throws E_INVALIDARG.
            nNext = nKeyword;
        }
        else if (!OnlyCharsBetween(nAfterPragma, nKeyword, g_szBlank))
        {
            nNext = nAfterPragma;
        }
        else
        {
            const int nAfterKeyword = nKeyword + 9;
            const int nOpen = TextFind("\"", nAfterKeyword);
            const int nClose = nOpen < 0 ? -1 : TextFind("\"", nOpen + 1);
            if (nOpen < 0)
                nNext = nAfterKeyword;
            else if (nClose < 0)
                nNext = nOpen + 1;
            else
            {
                m_Namespaces.push_back(MofEntry{TextBetween(nOpen + 1, nClose), nPragma});
                nNext = nClose + 1;
            }
        }
        nPragma = KeywordFind("#pragma", nNext);
    }
    gg_ptrc->Trace(TRC_INFO, "CMofParse::NamespacesFind", "Leave", "", "");
}

// "class Name {" (the brace may stand on a later line) and "class Name : Base ... {".
// The character right behind the name is passed over unexamined.
void CMofParse::ClassesFind()
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::ClassesFind", "Enter", "", "");
    int nClass = KeywordFind("class", 0);
    while (nClass >= 0)
    {
        const int nNameBegin = WhitespaceSkip(nClass + 5);
        const int nNameEnd = IdentifierEnd(nNameBegin);
        const int nAfterName = nNameEnd + 1;
        int nNext = nAfterName;
        if (GapThenCharFind(nAfterName, g_szBlank, ':') > 0)
        {
            // A superclass follows; a missing "{" makes the next search start at -1,
            // which throws E_INVALIDARG.
            nNext = CharFind('{', nAfterName);
            if (nNext > 0)
                m_Classes.push_back(MofEntry{TextBetween(nNameBegin, nNameEnd), nClass});
        }
        else
        {
            const int nBrace = GapThenCharFind(nAfterName, g_szWhitespace, '{');
            if (nBrace > 0)
            {
                m_Classes.push_back(MofEntry{TextBetween(nNameBegin, nNameEnd), nClass});
                nNext = nBrace;
            }
        }
        nClass = KeywordFind("class", nNext);
    }
    gg_ptrc->Trace(TRC_INFO, "CMofParse::ClassesFind", "Leave", "", "");
}

// "instance of Class [as $Alias] {" with its "name = value" lines.
void CMofParse::InstancesFind()
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::InstancesFind", "Enter", "", "");
    MofInstance instance;
    int nInstance = KeywordFind("instance", 0);
    while (nInstance >= 0)
    {
        instance.Pos = nInstance;
        const int nAfterInstance = nInstance + 8;
        const int nOf = KeywordFind("of", nAfterInstance + 1);
        int nNext;
        if (nOf < 0)
            nNext = nAfterInstance + 1;
        else if (!OnlyCharsBetween(nAfterInstance, nOf, g_szBlank))
            nNext = nOf;
        else
        {
            const int nClassBegin = WhitespaceSkip(nOf + 2);
            const int nClassEnd = IdentifierEnd(nClassBegin);
            instance.ClassName = TextBetween(nClassBegin, nClassEnd);
            int nCursor = nClassEnd;
            const int nAs = KeywordFind("as", nClassEnd + 1);
            if (nAs > 0 && OnlyCharsBetween(nClassEnd, nAs, g_szBlank))
            {
                const int nAliasBegin = WhitespaceSkip(nAs + 2);
                nCursor = AliasEnd(nAliasBegin);
                instance.Alias = TextBetween(nAliasBegin, nCursor);
            }
            nNext = nCursor;
            const int nOpen = CharFind('{', nCursor + 1);
            if (nOpen >= 0)
            {
                InstancePropertiesFind(nOpen, instance, nNext);
                m_Instances.push_back(instance);
                instance.Properties.clear();
                instance.Alias.clear();
            }
        }
        nInstance = KeywordFind("instance", nNext);
    }
    gg_ptrc->Trace(TRC_INFO, "CMofParse::InstancesFind", "Leave", "", "");
}

// The "name = value" lines behind the instance's "{". Each value runs to the end of its
// line; the search goes on one character into the next line. nLastEnd receives the end
// of every key and value found.
void CMofParse::InstancePropertiesFind(int nOpen, MofInstance& instance, int& nLastEnd)
{
    int nKeyBegin = 0;
    int nKeyEnd = 0;
    bool bFound = NextIdentifierFind(nOpen + 1, nKeyBegin, nKeyEnd);
    while (bFound)
    {
        nLastEnd = nKeyEnd;
        int nValueBegin = CharFind('=', nKeyEnd);
        int nValueEnd = 0;
        int nSearch;
        if (nValueBegin < 0)
        {
            // No "=" anywhere behind this name. The rule would start the next search at
            // the beginning of the text: outside this declaration, from where it either
            // comes back here and goes round forever, adding the same properties again
            // and again, or ends behind the top of the file and sends the instance search
            // back to the declarations already done, again forever. The list ends here.
            break;
        }
        if (NextValueFind(nValueBegin + 1, nValueBegin, nValueEnd))
        {
            instance.Properties.push_back(
                MofProperty{TextBetween(nKeyBegin, nKeyEnd), Trimmed(TextBetween(nValueBegin, nValueEnd))});
            nLastEnd = nValueEnd;
            const int nLine = NextLineFind(nValueEnd);
            if (nLine < 0)
            {
                // The text ends behind this value's line end: the next search would start
                // at the beginning of the text, with the endless rounds described above.
                break;
            }
            nSearch = nLine + 1;
        }
        else
        {
            // nValueBegin is where the value began, or still the "=" when none began.
            nSearch = nValueBegin + 1;
        }
        bFound = NextIdentifierFind(nSearch, nKeyBegin, nKeyEnd);
    }
}

// Qualifier blocks directly followed by the class keyword: the text between the two
// double quotes behind the first "version" inside the block.
void CMofParse::VersionInfoFind()
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::VersionInfoFind", "Enter", "", "");
    int nOpen = -1;
    int nClose = -1;
    bool bFound = QualifierBlockFind(0, nOpen, nClose);
    while (bFound)
    {
        // "class" after nothing but white space, and not the last word of the text.
        const int nClass = WhitespaceSkip(nClose + 1);
        if (KeywordFind("class", nClass, nClass) == nClass)
        {
            const int nVersion = KeywordFind("version", nOpen + 1, nClose);
            if (nVersion >= 0 && nVersion <= nClose)
            {
                const int nQuote = TextFind("\"", nVersion + 7);
                const int nQuoteEnd = nQuote < 0 ? -1 : TextFind("\"", nQuote + 1);
                if (nQuote >= 0 && nQuoteEnd >= 0)
                    m_Versions.push_back(MofEntry{TextBetween(nQuote + 1, nQuoteEnd), nVersion});
            }
        }
        bFound = QualifierBlockFind(nClose, nOpen, nClose);
    }
    gg_ptrc->Trace(TRC_INFO, "CMofParse::VersionInfoFind", "Leave", "", "");
}

// The next "[" at or after nStart and its matching "]"; brackets in strings count too.
bool CMofParse::QualifierBlockFind(int nStart, int& nOpen, int& nClose)
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::QualifierBlockFind", "Enter", "", "nStart=%d", nStart);
    nOpen = CharFind('[', nStart);
    if (nOpen < 0)
    {
        gg_ptrc->Trace(TRC_INFO, "CMofParse::QualifierBlockFind", "Internal", "No qualifier block found", "");
        gg_ptrc->Trace(TRC_INFO, "CMofParse::QualifierBlockFind", "Leave", "", "ret=%s", "false");
        return false;
    }
    const int nLen = Length();
    int nDepth = 0;
    for (nClose = nOpen + 1; nClose < nLen; ++nClose)
    {
        const char ch = m_Content[static_cast<size_t>(nClose)];
        if (ch == '[')
            ++nDepth;
        else if (ch == ']')
        {
            if (nDepth == 0)
            {
                gg_ptrc->Trace(TRC_INFO, "CMofParse::QualifierBlockFind", "Leave", "", "ret=%s", "true");
                return true;
            }
            --nDepth;
        }
    }
    gg_ptrc->Trace(TRC_INFO, "CMofParse::QualifierBlockFind", "Leave", "", "ret=%s", "false");
    return false;
}
