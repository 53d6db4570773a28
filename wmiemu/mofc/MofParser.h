// MofParser.h - the MOF parser: declarations, qualifiers, values and #pragma handling over the
// tokens of one file, with the state that a whole compile (the file and its includes) shares.
#pragma once

#include "MofCompiler.h"
#include "MofLexer.h"

#include <map>
#include <string>
#include <vector>

namespace mofc
{

// Includes nested deeper than this, or embedded instances nested deeper than this, stop the compile
// (an include cycle would otherwise never end).
constexpr int kMaxIncludeDepth = 32;
constexpr int kMaxEmbedDepth = 32;
// Files included in one compile, in all: a file that includes itself twice would otherwise
// take 2^depth steps.
constexpr int kMaxIncludes = 20000;

struct CMofAliasUse
{
    std::wstring wszName;
    int nObject = 0, nFirstLine = 0, nLine = 0;
    std::wstring wszFile;
};

// State of one compile, shared by the root file and every file it includes.
struct CMofCompileState
{
    std::wstring wszNamespace = L"root\\default";
    unsigned dwClassFlags = 0, dwInstanceFlags = 0;
    int nObjects = 0;
    int nIncludeDepth = 0;
    int nIncludes = 0;
    std::vector<Declaration> decls;
    std::vector<std::wstring> autorecoverFiles;
    std::map<std::wstring, int> aliasesDefined; // lower-case alias name -> object number
    std::vector<CMofAliasUse> aliasUses;
    // "Qualifier Name : flavors;" declarations: lower-case name -> the declared flavors.
    std::map<std::wstring, Qualifier> qualifierFlavors;
    // The first error; once bFailed is set, parsing unwinds.
    bool bFailed = false;
    long hr = 0;
    int nErrorObject = 0, nErrorFirstLine = 0, nErrorLastLine = 0;
    std::wstring wszErrorFile, wszErrorMessage;

    void SetError(long hrError, int nObject, int nFirstLine, int nLastLine, const std::wstring& wszFile,
                  const std::wstring& wszMessage);
};

// Parses one file's text (wszFullPath names it) into the shared state; false on error.
bool CompileMofText(CMofCompileState& state, const std::wstring& wszFullPath, const std::wstring& wszText);

// Resolves a "#pragma namespace" argument against the namespace in effect; false when malformed.
bool ResolveMofNamespace(const std::wstring& wszCurrent, const std::wstring& wszArg, std::wstring& wszResult);

std::wstring Lower(const std::wstring& wsz);

// The CIM type named by a type word ("uint32", "String", ...); false for any other word.
bool LookupCimType(const std::wstring& wszWord, CimType& type);

class CCMofParser
{
public:
    CCMofParser(CMofCompileState& state, const std::wstring& wszFile, std::vector<Token>&& tokens)
        : m_state(state), m_wszFile(wszFile), m_tokens(std::move(tokens))
    {
    }

    bool Run();

private:
    // Tokens
    const Token& Cur() const { return m_tokens[m_nPos]; }
    const Token& Ahead(size_t nAhead) const
    {
        return m_nPos + nAhead < m_tokens.size() ? m_tokens[m_nPos + nAhead] : m_tokens.back();
    }
    void Next()
    {
        if (m_nPos + 1 < m_tokens.size())
            ++m_nPos;
    }
    bool IsPunct(wchar_t ch) const { return Cur().kind == TokenKind::Punct && Cur().text[0] == ch; }
    bool IsWord(const wchar_t* wszWord) const
    {
        return Cur().kind == TokenKind::Ident && EqualsNoCase(Cur().text, wszWord);
    }
    bool Fail(long hr, const std::wstring& wszMessage);
    // An error found after the tokens it concerns were read: reported at nLine.
    bool FailAtLine(long hr, int nLine, const std::wstring& wszMessage);
    bool ExpectPunct(wchar_t ch, long hr);
    bool ExpectIdent(std::wstring& wszName, long hr, const wchar_t* wszWhat);
    bool ParseAliasName(std::wstring& wszAlias);

    // Pragmas (MofParser.cpp)
    bool ParsePragma();
    bool ParsePragmaStrings(std::wstring& wszValue);
    bool ParsePragmaFlags(unsigned& dwFlags, bool bInstance);
    bool ParseDelete(int nLine, Declaration::Kind kind);
    bool IncludeFile(const std::wstring& wszArg, int nLine);
    bool SkipPragmaArguments(int nLine);

    // Declarations (MofParserDecls.cpp)
    bool ParseDeclaration();
    bool ParseClass(ClassDecl& cls);
    bool ParseFeature(ClassDecl& cls);
    bool ParseParameters(Method& method);
    bool ParseInstance(InstanceDecl& inst, bool bEmbedded);
    bool ParseQualifierDeclaration();
    bool DefineAlias(const std::wstring& wszAlias);

    // Values, qualifiers and types (MofParserValues.cpp)
    bool ParseQualifierList(std::vector<Qualifier>& qualifiers);
    bool ParseQualifier(Qualifier& qual);
    bool IsFlavorWord() const;
    bool ParseFlavors(Qualifier& qual);
    bool ParseType(CimType& type, std::wstring& wszRefClass, bool& bVoid);
    bool ParseValue(Value& value);
    bool ParseScalar(Value& value);

    CMofCompileState& m_state;
    std::wstring m_wszFile;
    std::vector<Token> m_tokens;
    size_t m_nPos = 0;
    int m_nDeclObject = 0; // object number of the declaration being parsed, 0 between declarations
    int m_nDeclFirstLine = 0;
    int m_nEmbedDepth = 0;
};

} // namespace mofc
