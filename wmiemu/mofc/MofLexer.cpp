// MofLexer.cpp - MOF tokenizer.
#include "MofLexer.h"
#include "MofCompiler.h"

#include <cstdlib>
#include <cwctype>

namespace mofc
{

bool EqualsNoCase(const std::wstring& wszA, const wchar_t* wszB)
{
    size_t n = 0;
    for (; n < wszA.size() && wszB[n]; ++n)
        if (std::towlower(wszA[n]) != std::towlower(wszB[n]))
            return false;
    return n == wszA.size() && wszB[n] == 0;
}

namespace
{

bool IsIdentStart(wchar_t ch)
{
    return (ch >= L'a' && ch <= L'z') || (ch >= L'A' && ch <= L'Z') || ch == L'_' || ch >= 0x80;
}

bool IsIdentChar(wchar_t ch)
{
    return IsIdentStart(ch) || (ch >= L'0' && ch <= L'9');
}

int HexDigit(wchar_t ch)
{
    if (ch >= L'0' && ch <= L'9')
        return ch - L'0';
    if (ch >= L'a' && ch <= L'f')
        return ch - L'a' + 10;
    if (ch >= L'A' && ch <= L'F')
        return ch - L'A' + 10;
    return -1;
}

class CCMofLexer
{
public:
    CCMofLexer(const std::wstring& wszText, std::vector<Token>& tokens) : m_wszText(wszText), m_tokens(tokens)
    {
    }

    bool Run();

private:
    wchar_t Peek(size_t nAhead = 0) const
    {
        return m_nPos + nAhead < m_wszText.size() ? m_wszText[m_nPos + nAhead] : L'\0';
    }
    bool AtEnd() const { return m_nPos >= m_wszText.size(); }
    bool Fail(long hr, const std::wstring& wszMessage)
    {
        Token tok;
        tok.kind = TokenKind::Error;
        tok.text = wszMessage;
        tok.nValue = (unsigned long long)(unsigned long)hr;
        tok.nLine = m_nLine;
        m_tokens.push_back(std::move(tok));
        return false;
    }
    void Push(TokenKind kind, std::wstring text = std::wstring())
    {
        Token tok;
        tok.kind = kind;
        tok.text = std::move(text);
        tok.nLine = m_nTokenLine;
        m_tokens.push_back(std::move(tok));
    }
    bool SkipSpaceAndComments();
    bool LexEscape(wchar_t& chOut);
    bool LexString();
    bool LexChar();
    bool LexNumber();

    const std::wstring& m_wszText;
    std::vector<Token>& m_tokens;
    size_t m_nPos = 0;
    int m_nLine = 1;
    int m_nTokenLine = 1;
};

bool CCMofLexer::SkipSpaceAndComments()
{
    while (!AtEnd())
    {
        wchar_t ch = Peek();
        if (ch == L'\n')
        {
            ++m_nLine;
            ++m_nPos;
        }
        else if (ch == L' ' || ch == L'\t' || ch == L'\r' || ch == L'\f' || ch == L'\v' || ch == 0xFEFF ||
                 ch == 0x1A)
            ++m_nPos; // 0xFEFF: a BOM left in the text; 0x1A: old DOS end-of-file mark
        else if (ch == L'/' && Peek(1) == L'/')
        {
            while (!AtEnd() && Peek() != L'\n')
                ++m_nPos;
        }
        else if (ch == L'/' && Peek(1) == L'*')
        {
            int nStartLine = m_nLine;
            m_nPos += 2;
            for (;;)
            {
                if (AtEnd())
                {
                    m_nLine = nStartLine;
                    return Fail(MOFC_E_UNRECOGNIZED_TOKEN, L"comment not terminated");
                }
                if (Peek() == L'*' && Peek(1) == L'/')
                {
                    m_nPos += 2;
                    break;
                }
                if (Peek() == L'\n')
                    ++m_nLine;
                ++m_nPos;
            }
        }
        else
            break;
    }
    return true;
}

// After a backslash: \b \t \n \f \r \" \' \\ \xHHHH \uHHHH (1 to 4 hex digits).
bool CCMofLexer::LexEscape(wchar_t& chOut)
{
    wchar_t ch = Peek();
    ++m_nPos;
    switch (ch)
    {
    case L'b':
        chOut = L'\b';
        return true;
    case L't':
        chOut = L'\t';
        return true;
    case L'n':
        chOut = L'\n';
        return true;
    case L'f':
        chOut = L'\f';
        return true;
    case L'r':
        chOut = L'\r';
        return true;
    case L'"':
        chOut = L'"';
        return true;
    case L'\'':
        chOut = L'\'';
        return true;
    case L'\\':
        chOut = L'\\';
        return true;
    case L'x':
    case L'X':
    case L'u':
    case L'U': {
        unsigned nCode = 0;
        int nDigits = 0;
        while (nDigits < 4 && HexDigit(Peek()) >= 0)
        {
            nCode = nCode * 16 + (unsigned)HexDigit(Peek());
            ++m_nPos;
            ++nDigits;
        }
        if (nDigits == 0)
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"escape \\x or \\u without hex digits");
        chOut = (wchar_t)nCode;
        return true;
    }
    default:
        return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"invalid escape sequence in a string or char literal");
    }
}

bool CCMofLexer::LexString()
{
    ++m_nPos; // opening quote
    std::wstring wszValue;
    for (;;)
    {
        if (AtEnd() || Peek() == L'\n')
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"string not terminated");
        wchar_t ch = Peek();
        ++m_nPos;
        if (ch == L'"')
            break;
        if (ch == L'\\')
        {
            if (!LexEscape(ch))
                return false;
        }
        wszValue.push_back(ch);
    }
    Push(TokenKind::String, std::move(wszValue));
    return true;
}

bool CCMofLexer::LexChar()
{
    ++m_nPos; // opening quote
    if (AtEnd() || Peek() == L'\n' || Peek() == L'\'')
        return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"empty or unterminated char literal");
    wchar_t ch = Peek();
    ++m_nPos;
    if (ch == L'\\' && !LexEscape(ch))
        return false;
    if (Peek() != L'\'')
        return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"char literal holds more than one character");
    ++m_nPos;
    Push(TokenKind::Char);
    m_tokens.back().nValue = (unsigned long long)(unsigned)ch;
    return true;
}

// Integers: decimal, 0x hex, leading-0 octal, binary with a trailing b; reals with '.' and/or exponent.
bool CCMofLexer::LexNumber()
{
    size_t nStart = m_nPos;
    const unsigned long long nMax = ~0ull;
    if (Peek() == L'0' && (Peek(1) == L'x' || Peek(1) == L'X'))
    {
        m_nPos += 2;
        unsigned long long nValue = 0;
        int nDigits = 0;
        while (HexDigit(Peek()) >= 0)
        {
            if (nValue > (nMax >> 4))
                return Fail(MOFC_E_OUT_OF_RANGE, L"hexadecimal number too large");
            nValue = nValue * 16 + (unsigned)HexDigit(Peek());
            ++m_nPos;
            ++nDigits;
        }
        if (nDigits == 0 || IsIdentChar(Peek()))
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"malformed hexadecimal number");
        Push(TokenKind::Int);
        m_tokens.back().nValue = nValue;
        return true;
    }
    while (Peek() >= L'0' && Peek() <= L'9')
        ++m_nPos;
    bool bReal = false;
    if (Peek() == L'.')
    {
        bReal = true;
        ++m_nPos;
        while (Peek() >= L'0' && Peek() <= L'9')
            ++m_nPos;
    }
    if ((Peek() == L'e' || Peek() == L'E') &&
        ((Peek(1) >= L'0' && Peek(1) <= L'9') ||
         ((Peek(1) == L'+' || Peek(1) == L'-') && Peek(2) >= L'0' && Peek(2) <= L'9')))
    {
        bReal = true;
        m_nPos += 2;
        while (Peek() >= L'0' && Peek() <= L'9')
            ++m_nPos;
    }
    std::wstring wszDigits = m_wszText.substr(nStart, m_nPos - nStart);
    if (bReal)
    {
        if (IsIdentChar(Peek()) || wszDigits == L".")
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"malformed real number");
        Push(TokenKind::Real);
        m_tokens.back().dValue = std::wcstod(wszDigits.c_str(), nullptr);
        return true;
    }
    unsigned nBase = 10;
    if ((Peek() == L'b' || Peek() == L'B') && !IsIdentChar(Peek(1)) &&
        wszDigits.find_first_not_of(L"01") == std::wstring::npos)
    {
        nBase = 2;
        ++m_nPos;
    }
    else if (wszDigits.size() > 1 && wszDigits[0] == L'0')
        nBase = 8;
    if (IsIdentChar(Peek()))
        return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"malformed number");
    unsigned long long nValue = 0;
    for (wchar_t ch : wszDigits)
    {
        unsigned nDigit = (unsigned)(ch - L'0');
        if (nDigit >= nBase)
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"digit not valid in an octal number");
        if (nValue > (nMax - nDigit) / nBase)
            return Fail(MOFC_E_OUT_OF_RANGE, L"number too large for 64 bits");
        nValue = nValue * nBase + nDigit;
    }
    Push(TokenKind::Int);
    m_tokens.back().nValue = nValue;
    return true;
}

bool CCMofLexer::Run()
{
    for (;;)
    {
        if (!SkipSpaceAndComments())
            return false;
        m_nTokenLine = m_nLine;
        if (AtEnd())
        {
            Push(TokenKind::End);
            return true;
        }
        wchar_t ch = Peek();
        if (IsIdentStart(ch))
        {
            size_t nStart = m_nPos;
            while (IsIdentChar(Peek()))
                ++m_nPos;
            Push(TokenKind::Ident, m_wszText.substr(nStart, m_nPos - nStart));
        }
        else if ((ch >= L'0' && ch <= L'9') || (ch == L'.' && Peek(1) >= L'0' && Peek(1) <= L'9'))
        {
            if (!LexNumber())
                return false;
        }
        else if (ch == L'"')
        {
            if (!LexString())
                return false;
        }
        else if (ch == L'\'')
        {
            if (!LexChar())
                return false;
        }
        else if (ch == L'$')
        {
            ++m_nPos;
            size_t nStart = m_nPos;
            while (IsIdentChar(Peek()))
                ++m_nPos;
            if (m_nPos == nStart)
                return Fail(MOFC_E_EXPECTED_ALIAS_NAME, L"'$' without an alias name");
            Push(TokenKind::Alias, m_wszText.substr(nStart, m_nPos - nStart));
        }
        else if (ch == L'#')
        {
            ++m_nPos;
            while (Peek() == L' ' || Peek() == L'\t')
                ++m_nPos;
            size_t nStart = m_nPos;
            while (IsIdentChar(Peek()))
                ++m_nPos;
            std::wstring wszWord = m_wszText.substr(nStart, m_nPos - nStart);
            bool bInclude = EqualsNoCase(wszWord, L"include");
            if (!bInclude && !EqualsNoCase(wszWord, L"pragma"))
                return Fail(MOFC_E_UNRECOGNIZED_TOKEN, L"'#' not followed by 'pragma' or 'include'");
            Push(TokenKind::Pragma);
            // "#include": #include ("x.mof") is read as #pragma include ("x.mof"), found the same way.
            if (bInclude)
                Push(TokenKind::Ident, wszWord);
        }
        else if (std::wstring(L"{}[]();,:=+-").find(ch) != std::wstring::npos)
        {
            ++m_nPos;
            Push(TokenKind::Punct, std::wstring(1, ch));
        }
        else
            return Fail(MOFC_E_UNRECOGNIZED_TOKEN, L"unexpected character");
    }
}

} // namespace

void TokenizeMof(const std::wstring& wszText, std::vector<Token>& tokens)
{
    tokens.clear();
    CCMofLexer lexer(wszText, tokens);
    lexer.Run();
}

} // namespace mofc
