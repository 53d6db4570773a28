// MofLexer.h - splits MOF text into tokens. Words are all returned as identifiers: MOF keywords
// ("class", "instance", "string", ...) are also valid names, so the parser decides by context.
#pragma once

#include <string>
#include <vector>

namespace mofc
{

enum class TokenKind
{
    End,
    Ident,  // a word (keyword or name)
    String, // one "..." literal, escapes resolved (adjacent literals are joined by the parser)
    Char,   // '.' literal; nValue holds the UTF-16 code unit
    Int,    // unsigned magnitude in nValue (sign is a separate '-' or '+' token)
    Real,   // dValue
    Alias,  // $name; text holds name
    Pragma, // #pragma
    Punct,  // one character in text: { } [ ] ( ) ; , : = + -
    Error   // a malformed token: text holds the message, nValue the HRESULT; always the last token
};

struct Token
{
    TokenKind kind = TokenKind::End;
    std::wstring text;
    unsigned long long nValue = 0;
    double dValue = 0;
    int nLine = 0;
};

// Tokenizes the whole text. The last token is End, or Error at the first malformed token
// (unterminated string, char or comment, bad number, bad escape, stray character): the parser
// reports that error when it reaches it, so that it is counted against the right declaration.
void TokenizeMof(const std::wstring& wszText, std::vector<Token>& tokens);

bool EqualsNoCase(const std::wstring& wszA, const wchar_t* wszB);

} // namespace mofc
