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
    result.phase = 2;
    result.hr = state.hr;
    result.objectNumber = state.nErrorObject;
    result.firstLine = state.nErrorFirstLine;
    result.lastLine = state.nErrorLastLine;
    result.errorFile = state.wszErrorFile;
    result.message = state.wszErrorMessage;
    return result;
}

} // namespace

CompileResult ParseFile(const std::wstring& path)
{
    CMofCompileState state;
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
