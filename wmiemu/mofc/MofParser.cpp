// MofParser.cpp - parser driver, error reporting and #pragma handling.
#include "MofParser.h"
#include "MofText.h"

#include <cwctype>

namespace mofc
{

void CMofCompileState::SetError(long hrError, int nObject, int nFirstLine, int nLastLine,
                                const std::wstring& wszFile, const std::wstring& wszMessage)
{
    if (bFailed)
        return;
    bFailed = true;
    hr = hrError;
    nErrorObject = nObject;
    nErrorFirstLine = nFirstLine;
    nErrorLastLine = nLastLine;
    wszErrorFile = wszFile;
    wszErrorMessage = wszFile + L"(" + std::to_wstring(nLastLine) + L"): " + wszMessage;
}

bool CompileMofText(CMofCompileState& state, const std::wstring& wszFullPath, const std::wstring& wszText)
{
    std::vector<Token> tokens;
    TokenizeMof(wszText, tokens);
    CCMofParser parser(state, wszFullPath, std::move(tokens));
    return parser.Run();
}

bool ResolveMofNamespace(const std::wstring& wszCurrent, const std::wstring& wszArg, std::wstring& wszResult)
{
    std::wstring wszPath = wszArg;
    for (wchar_t& ch : wszPath)
        if (ch == L'/')
            ch = L'\\';
    bool bAbsolute = false;
    if (wszPath.compare(0, 2, L"\\\\") == 0)
    {
        // "\\server\root\...": the server part is dropped.
        size_t nSlash = wszPath.find(L'\\', 2);
        if (nSlash == std::wstring::npos || nSlash == 2)
            return false;
        wszPath = wszPath.substr(nSlash + 1);
        bAbsolute = true;
    }
    else if (!wszPath.empty() && wszPath[0] == L'\\')
        bAbsolute = true;
    std::vector<std::wstring> parts;
    size_t nStart = 0;
    while (nStart <= wszPath.size())
    {
        size_t nSlash = wszPath.find(L'\\', nStart);
        if (nSlash == std::wstring::npos)
            nSlash = wszPath.size();
        if (nSlash > nStart)
            parts.push_back(wszPath.substr(nStart, nSlash - nStart));
        nStart = nSlash + 1;
    }
    if (parts.empty())
        return false;
    for (const std::wstring& wszPart : parts)
        for (wchar_t ch : wszPart)
            if (ch < 0x20 || ch == L'"' || ch == L':')
                return false;
    if (EqualsNoCase(parts[0], L"root"))
        bAbsolute = true;
    else if (bAbsolute)
        return false; // an absolute namespace path always starts at root
    wszResult = bAbsolute ? std::wstring() : wszCurrent;
    for (const std::wstring& wszPart : parts)
    {
        if (!wszResult.empty())
            wszResult += L'\\';
        wszResult += wszPart;
    }
    return true;
}

bool CCMofParser::Fail(long hr, const std::wstring& wszMessage)
{
    const Token& tok = Cur();
    int nLine = tok.nLine;
    if (tok.kind == TokenKind::Error)
        m_state.SetError((long)tok.nValue, m_nDeclObject, m_nDeclObject ? m_nDeclFirstLine : nLine, nLine,
                         m_wszFile, tok.text);
    else
        m_state.SetError(hr, m_nDeclObject, m_nDeclObject ? m_nDeclFirstLine : nLine, nLine, m_wszFile,
                         wszMessage);
    return false;
}

bool CCMofParser::FailAtLine(long hr, int nLine, const std::wstring& wszMessage)
{
    m_state.SetError(hr, m_nDeclObject, m_nDeclObject ? m_nDeclFirstLine : nLine, nLine, m_wszFile,
                     wszMessage);
    return false;
}

bool CCMofParser::ExpectPunct(wchar_t ch, long hr)
{
    if (!IsPunct(ch))
        return Fail(hr, std::wstring(L"expected '") + ch + L"'");
    Next();
    return true;
}

bool CCMofParser::ExpectIdent(std::wstring& wszName, long hr, const wchar_t* wszWhat)
{
    if (Cur().kind != TokenKind::Ident)
        return Fail(hr, std::wstring(L"expected ") + wszWhat);
    wszName = Cur().text;
    Next();
    return true;
}

// "as $name" after a class or instance name.
bool CCMofParser::ParseAliasName(std::wstring& wszAlias)
{
    Next(); // "as"
    if (Cur().kind != TokenKind::Alias)
        return Fail(MOFC_E_EXPECTED_DOLLAR, L"expected '$alias' after 'as'");
    wszAlias = Cur().text;
    Next();
    return true;
}

bool CCMofParser::Run()
{
    while (!m_state.bFailed)
    {
        m_nDeclObject = 0;
        if (Cur().kind == TokenKind::End)
            return true;
        if (Cur().kind == TokenKind::Error)
            return Fail(0, std::wstring());
        bool bOk = Cur().kind == TokenKind::Pragma ? ParsePragma() : ParseDeclaration();
        if (!bOk)
            return false;
    }
    return false;
}

// One or more adjacent string literals, as the single argument of a pragma.
bool CCMofParser::ParsePragmaStrings(std::wstring& wszValue)
{
    if (!ExpectPunct(L'(', MOFC_E_INVALID_PRAGMA))
        return false;
    if (Cur().kind != TokenKind::String)
        return Fail(MOFC_E_INVALID_PRAGMA, L"expected a string argument of #pragma");
    wszValue.clear();
    while (Cur().kind == TokenKind::String)
    {
        wszValue += Cur().text;
        Next();
    }
    return ExpectPunct(L')', MOFC_E_INVALID_PRAGMA);
}

// classflags("updateonly", "forceupdate") / instanceflags("createonly"), or numbers.
bool CCMofParser::ParsePragmaFlags(unsigned& dwFlags, bool bInstance)
{
    if (!ExpectPunct(L'(', MOFC_E_INVALID_FLAGS_SYNTAX))
        return false;
    unsigned dwResult = 0;
    while (!IsPunct(L')'))
    {
        if (Cur().kind == TokenKind::Int && Cur().nValue <= 0xFFFFFFFFull)
            dwResult |= (unsigned)Cur().nValue;
        else if (Cur().kind == TokenKind::String)
        {
            const std::wstring& wszFlag = Cur().text;
            if (EqualsNoCase(wszFlag, L"updateonly"))
                dwResult |= 1;
            else if (EqualsNoCase(wszFlag, L"createonly"))
                dwResult |= 2;
            else if (!bInstance && EqualsNoCase(wszFlag, L"safeupdate"))
                dwResult |= 0x20;
            else if (!bInstance && EqualsNoCase(wszFlag, L"forceupdate"))
                dwResult |= 0x40;
            else if (!wszFlag.empty())
                return Fail(MOFC_E_INVALID_FLAGS_SYNTAX, L"unknown flag '" + wszFlag + L"'");
        }
        else
            return Fail(MOFC_E_INVALID_FLAGS_SYNTAX, L"expected a flag name or number");
        Next();
        if (IsPunct(L','))
            Next();
        else if (!IsPunct(L')'))
            return Fail(MOFC_E_INVALID_FLAGS_SYNTAX, L"expected ',' or ')'");
    }
    Next();
    dwFlags = dwResult;
    return true;
}

// #pragma deleteclass("name", FAIL|NOFAIL) and #pragma deleteinstance("path", FAIL|NOFAIL): each a
// declaration of its own ("pragma deleteclass", "pragma deleteinstance").
bool CCMofParser::ParseDelete(int nLine, Declaration::Kind kind)
{
    m_nDeclObject = ++m_state.nObjects;
    m_nDeclFirstLine = nLine;
    Declaration decl;
    decl.kind = kind;
    const long hrSyntax = kind == Declaration::Kind::DeleteClass ? MOFC_E_INVALID_DELETECLASS_SYNTAX
                                                                 : MOFC_E_INVALID_DELETEINSTANCE_SYNTAX;
    if (!ExpectPunct(L'(', hrSyntax))
        return false;
    if (Cur().kind != TokenKind::String || Cur().text.empty())
        return Fail(hrSyntax, L"expected the class name or instance path");
    decl.deleteTarget = Cur().text;
    Next();
    if (!ExpectPunct(L',', hrSyntax))
        return false;
    if (IsWord(L"FAIL"))
        decl.deleteFail = true;
    else if (!IsWord(L"NOFAIL"))
        return Fail(hrSyntax, L"expected FAIL or NOFAIL");
    Next();
    decl.lastLine = Cur().nLine;
    if (!ExpectPunct(L')', hrSyntax))
        return false;
    decl.ns = m_state.wszNamespace;
    decl.classFlags = m_state.dwClassFlags;
    decl.instanceFlags = m_state.dwInstanceFlags;
    decl.file = m_wszFile;
    decl.firstLine = nLine;
    m_state.decls.push_back(std::move(decl));
    return true;
}

// An ignored pragma: its parenthesized arguments, when on the pragma's line, are skipped.
bool CCMofParser::SkipPragmaArguments(int nLine)
{
    if (!IsPunct(L'(') || Cur().nLine != nLine)
        return true;
    int nNesting = 0;
    for (;;)
    {
        if (Cur().kind == TokenKind::End || Cur().kind == TokenKind::Error)
            return Fail(MOFC_E_INVALID_PRAGMA, L"#pragma arguments not closed");
        if (IsPunct(L'('))
            ++nNesting;
        else if (IsPunct(L')') && --nNesting == 0)
        {
            Next();
            return true;
        }
        Next();
    }
}

bool CCMofParser::IncludeFile(const std::wstring& wszArg, int nLine)
{
    if (m_state.nIncludeDepth >= kMaxIncludeDepth || m_state.nIncludes >= kMaxIncludes)
        return Fail(MOFC_E_INVALID_FILE,
                    L"#pragma include nested too deeply or too often (an include cycle?)");
    ++m_state.nIncludes;
    std::wstring wszFound;
    if (IsAbsolutePath(wszArg))
    {
        if (IsExistingFile(wszArg))
            wszFound = wszArg;
    }
    else if (IsExistingFile(FullPathOf(wszArg)))
        wszFound = wszArg;
    else if (IsExistingFile(JoinPath(FolderOf(m_wszFile), wszArg)))
        wszFound = JoinPath(FolderOf(m_wszFile), wszArg);
    std::string strBytes;
    if (wszFound.empty() || !ReadFileBytes(wszFound, strBytes))
    {
        m_state.SetError(MOFC_E_ERROR_INVALID_INCLUDE_FILE, 0, nLine, nLine, m_wszFile,
                         L"cannot open include file '" + wszArg + L"'");
        return false;
    }
    ++m_state.nIncludeDepth;
    bool bOk = CompileMofText(m_state, FullPathOf(wszFound), DecodeMofBytes(strBytes));
    --m_state.nIncludeDepth;
    return bOk;
}

bool CCMofParser::ParsePragma()
{
    int nLine = Cur().nLine;
    Next();
    if (Cur().kind != TokenKind::Ident || Cur().nLine != nLine)
        return Fail(MOFC_E_INVALID_PRAGMA, L"expected a pragma name after #pragma");
    std::wstring wszName = Cur().text;
    Next();
    if (EqualsNoCase(wszName, L"namespace"))
    {
        std::wstring wszArg, wszResolved;
        if (!ParsePragmaStrings(wszArg))
            return false;
        if (!ResolveMofNamespace(m_state.wszNamespace, wszArg, wszResolved))
            return FailAtLine(MOFC_E_INVALID_NAMESPACE_SYNTAX, nLine, L"invalid namespace '" + wszArg + L"'");
        m_state.wszNamespace = wszResolved;
        return true;
    }
    if (EqualsNoCase(wszName, L"include"))
    {
        std::wstring wszArg;
        return ParsePragmaStrings(wszArg) && IncludeFile(wszArg, nLine);
    }
    if (EqualsNoCase(wszName, L"autorecover"))
    {
        bool bKnown = false;
        for (const std::wstring& wszFile : m_state.autorecoverFiles)
            bKnown =
                bKnown || (wszFile.size() == m_wszFile.size() && EqualsNoCase(wszFile, m_wszFile.c_str()));
        if (!bKnown)
            m_state.autorecoverFiles.push_back(m_wszFile);
        return SkipPragmaArguments(nLine);
    }
    if (EqualsNoCase(wszName, L"classflags"))
        return ParsePragmaFlags(m_state.dwClassFlags, false);
    if (EqualsNoCase(wszName, L"instanceflags"))
        return ParsePragmaFlags(m_state.dwInstanceFlags, true);
    if (EqualsNoCase(wszName, L"deleteclass"))
        return ParseDelete(nLine, Declaration::Kind::DeleteClass);
    if (EqualsNoCase(wszName, L"deleteinstance"))
        return ParseDelete(nLine, Declaration::Kind::DeleteInstance);
    // locale, source, nonlocal, nonlocaltype, namespace aliases and unknown pragmas
    // change nothing the emulator keeps.
    return SkipPragmaArguments(nLine);
}

} // namespace mofc
