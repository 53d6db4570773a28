// The text primitives of CMofParse: byte-wise searches over the scanned text.
// Positions are zero-based; -1 means "not found".
#include "MofParse.h"

#include <windows.h>

#include <cstring>

namespace
{
const char* const g_szWhitespace = " \t\n\r";
const char* const g_szLineEnd = ";\n\r";
const char* const g_szPropertyStop = "};=";

[[noreturn]] void ThrowInvalidArg()
{
    throw static_cast<HRESULT>(E_INVALIDARG);
}

bool IsIdentifierChar(char ch)
{
    return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_';
}

bool IsValueStart(char ch)
{
    return IsIdentifierChar(ch) || ch == '$' || ch == '"' || ch == '{' || ch == '}' || ch == ',';
}

// The terminating zero is never part of a set.
bool IsInSet(char ch, const char* szSet)
{
    return ch != '\0' && std::strchr(szSet, ch) != nullptr;
}

char LowerAscii(char ch)
{
    return (ch >= 'A' && ch <= 'Z') ? static_cast<char>(ch - 'A' + 'a') : ch;
}
} // namespace

// The character at nPos; the position just behind the text reads as the terminating zero.
char CMofParse::CharAt(int nPos) const
{
    if (nPos < 0 || nPos > Length())
        ThrowInvalidArg();
    return nPos == Length() ? '\0' : m_Content[static_cast<size_t>(nPos)];
}

// Case-insensitive search of a lower-case keyword. A failed partial match that began
// at s resumes at s + 2, and a match must leave at least one character behind it.
// The search gives up once no match can begin at or before nMaxStart any more: the
// result is the same as that of the unlimited search whenever that one lies there.
int CMofParse::KeywordFind(const char* szKeyword, int nStart, int nMaxStart) const
{
    if (nStart < 0)
        ThrowInvalidArg();
    const int nLen = Length();
    const char* pText = m_Content.data();
    int nMatched = 0;
    int nMatchStart = nStart;
    int i = nStart;
    while (i < nLen)
    {
        if (nMatched == 0 && i > nMaxStart)
            return -1;
        if (LowerAscii(pText[i]) == szKeyword[nMatched])
        {
            if (nMatched == 0)
                nMatchStart = i;
            ++nMatched;
            ++i;
            if (szKeyword[nMatched] == '\0')
                return i < nLen ? nMatchStart : -1;
        }
        else if (nMatched > 0)
        {
            nMatched = 0;
            i = nMatchStart + 2;
        }
        else
        {
            ++i;
        }
    }
    return -1;
}

bool CMofParse::OnlyCharsBetween(int nFrom, int nTo, const char* szSet) const
{
    for (int i = nFrom; i < nTo; ++i)
    {
        if (!IsInSet(CharAt(i), szSet))
            return false;
    }
    return true;
}

int CMofParse::WhitespaceSkip(int nStart) const
{
    int i = nStart;
    while (IsInSet(CharAt(i), g_szWhitespace))
        ++i;
    return i;
}

int CMofParse::IdentifierEnd(int nStart) const
{
    int i = nStart;
    while (IsIdentifierChar(CharAt(i)))
        ++i;
    return i;
}

int CMofParse::AliasEnd(int nStart) const
{
    int i = nStart;
    for (char ch = CharAt(i); IsIdentifierChar(ch) || ch == '$'; ch = CharAt(i))
        ++i;
    return i;
}

// The next identifier at or after nStart; "}", ";" or "=" before it ends the search.
bool CMofParse::NextIdentifierFind(int nStart, int& nBegin, int& nEnd) const
{
    if (nStart < 0)
        ThrowInvalidArg();
    const int nLen = Length();
    int i = nStart;
    for (; i < nLen; ++i)
    {
        const char ch = m_Content[static_cast<size_t>(i)];
        if (IsIdentifierChar(ch))
            break;
        if (IsInSet(ch, g_szPropertyStop))
            return false;
    }
    if (i >= nLen)
        return false;
    nBegin = i;
    while (i < nLen && IsIdentifierChar(m_Content[static_cast<size_t>(i)]))
        ++i;
    if (i >= nLen)
        return false;
    nEnd = i;
    return true;
}

// The value text at or after nStart up to the end of its line or its ";". nBegin is
// written as soon as the value begins, nEnd only on success.
bool CMofParse::NextValueFind(int nStart, int& nBegin, int& nEnd) const
{
    const int nLen = Length();
    if (nStart < 0 || nStart >= nLen)
        return false;
    int i = nStart;
    for (; i < nLen; ++i)
    {
        const char ch = m_Content[static_cast<size_t>(i)];
        if (IsValueStart(ch))
            break;
        if (IsInSet(ch, g_szLineEnd))
            return false;
    }
    if (i >= nLen)
        return false;
    nBegin = i;
    for (; i < nLen; ++i)
    {
        if (IsInSet(m_Content[static_cast<size_t>(i)], g_szLineEnd))
        {
            nEnd = i;
            return true;
        }
    }
    return false;
}

// The first position behind the next run of ";", "\n" and "\r", or -1.
int CMofParse::NextLineFind(int nStart) const
{
    int i = CharOfSetFind(g_szLineEnd, nStart);
    if (i < 0)
        return -1;
    const int nLen = Length();
    while (i < nLen && IsInSet(m_Content[static_cast<size_t>(i)], g_szLineEnd))
        ++i;
    return i < nLen ? i : -1;
}

int CMofParse::CharFind(char ch, int nStart) const
{
    if (nStart < 0 || nStart >= Length())
        return -1;
    const void* p = std::memchr(m_Content.data() + nStart, static_cast<unsigned char>(ch),
                                m_Content.size() - static_cast<size_t>(nStart));
    return p == nullptr ? -1 : static_cast<int>(static_cast<const char*>(p) - m_Content.data());
}

int CMofParse::TextFind(const char* szText, int nStart) const
{
    if (nStart < 0 || nStart > Length())
        return -1;
    const size_t n = m_Content.find(szText, static_cast<size_t>(nStart));
    return n == std::string::npos ? -1 : static_cast<int>(n);
}

int CMofParse::CharOfSetFind(const char* szSet, int nStart) const
{
    if (nStart < 0 || nStart > Length())
        return -1;
    const size_t n = m_Content.find_first_of(szSet, static_cast<size_t>(nStart));
    return n == std::string::npos ? -1 : static_cast<int>(n);
}

// The text at positions nFrom .. nTo-1 (empty when nTo <= nFrom).
std::string CMofParse::TextBetween(int nFrom, int nTo) const
{
    if (nFrom < 0 || nFrom > Length() || nTo > Length())
        ThrowInvalidArg();
    if (nTo <= nFrom)
        return std::string();
    return m_Content.substr(static_cast<size_t>(nFrom), static_cast<size_t>(nTo - nFrom));
}

// The position of the first ch at or after nStart when only characters of szGap stand
// between nStart and it, else -1. This is the "first ch, then test the gap" rule of
// the declaration finders without searching the rest of the text for a far-off ch.
int CMofParse::GapThenCharFind(int nStart, const char* szGap, char ch) const
{
    const int nLen = Length();
    int i = nStart < 0 ? 0 : nStart;
    while (i < nLen && IsInSet(m_Content[static_cast<size_t>(i)], szGap))
        ++i;
    return (i < nLen && m_Content[static_cast<size_t>(i)] == ch) ? i : -1;
}
