// MofCompiler.cpp - entry points: a whole compile of one file with its includes.
#include "MofCompiler.h"
#include "MofParser.h"
#include "MofText.h"

#include <cwctype>

namespace mofc
{

namespace
{

// Every $alias used must be defined somewhere in the compile (before or after its use).
bool CheckAliases(CMofCompileState& state)
{
    for (const CMofAliasUse& use : state.aliasUses)
    {
        std::wstring wszLower = use.wszName;
        for (wchar_t& ch : wszLower)
            ch = (wchar_t)std::towlower(ch);
        if (state.aliasesDefined.count(wszLower) == 0)
        {
            state.SetError(MOFC_E_UNEXPECTED_ALIAS, use.nObject, use.nFirstLine, use.nLine, use.wszFile,
                           L"alias $" + use.wszName + L" is not defined");
            return false;
        }
    }
    return true;
}

CompileResult Finish(CMofCompileState& state, bool bOk)
{
    CompileResult result;
    if (bOk && !state.bFailed && CheckAliases(state))
    {
        result.ok = true;
        result.decls = std::move(state.decls);
        result.autorecoverFiles = std::move(state.autorecoverFiles);
        return result;
    }
    result.hr = state.hr;
    result.objectNumber = state.nErrorObject;
    result.firstLine = state.nErrorFirstLine;
    result.lastLine = state.nErrorLastLine;
    result.errorFile = state.wszErrorFile;
    result.message = state.wszErrorMessage;
    return result;
}

} // namespace

bool DefaultNamespaceOf(const wchar_t* wszArg, std::wstring& wszNamespace)
{
    if (!wszArg || !*wszArg)
    {
        wszNamespace = L"root\\default";
        return true;
    }
    // Resolved against no namespace at all, a relative path stays relative and is refused.
    std::wstring wszResolved;
    if (!ResolveMofNamespace(std::wstring(), wszArg, wszResolved) || wszResolved.size() < 4 ||
        !EqualsNoCase(wszResolved.substr(0, 4), L"root") ||
        (wszResolved.size() > 4 && wszResolved[4] != L'\\'))
        return false;
    wszNamespace = wszResolved;
    return true;
}

CompileResult ParseFile(const std::wstring& path, const std::wstring& defaultNamespace)
{
    CMofCompileState state;
    state.wszNamespace = defaultNamespace;
    std::wstring wszFull = FullPathOf(path);
    std::string strBytes;
    if (path.empty() || !ReadFileBytes(path, strBytes))
    {
        state.SetError(MOFC_E_INVALID_FILE, 0, 0, 0, wszFull, L"cannot open or read the file");
        return Finish(state, false);
    }
    return Finish(state, CompileMofText(state, wszFull, DecodeMofBytes(strBytes)));
}

CompileResult ParseText(const std::wstring& text, const std::wstring& pseudoPath)
{
    CMofCompileState state;
    return Finish(state, CompileMofText(state, FullPathOf(pseudoPath), text));
}

} // namespace mofc
