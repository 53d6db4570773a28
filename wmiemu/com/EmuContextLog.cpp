// EmuContextLog.cpp - appends the context values of a call to the file WMIEMU_CONTEXT_LOG names.
#include "EmuContextLog.h"

#include <string>

namespace wmiemu
{

namespace
{
std::wstring ContextValue(IWbemContext* pCtx, const wchar_t* wszName)
{
    VARIANT v;
    VariantInit(&v);
    std::wstring text = L"-";
    if (SUCCEEDED(pCtx->GetValue(wszName, 0, &v)) && v.vt == VT_BSTR && v.bstrVal)
        text = v.bstrVal;
    VariantClear(&v);
    return text;
}
} // namespace

void RecordContext(const wchar_t* wszMethod, IWbemContext* pCtx)
{
    wchar_t wszFile[MAX_PATH];
    const DWORD n = GetEnvironmentVariableW(L"WMIEMU_CONTEXT_LOG", wszFile, MAX_PATH);
    if (n == 0 || n >= MAX_PATH)
        return;
    std::wstring line = wszMethod;
    if (!pCtx)
        line += L"\t<no context>";
    for (const wchar_t* wszName : {L"FeatureName", L"FeatureVersion", L"ContextName"})
        if (pCtx)
            line += std::wstring(L"\t") + wszName + L"=" + ContextValue(pCtx, wszName);
    line += L"\n";
    const int cb =
        WideCharToMultiByte(CP_UTF8, 0, line.c_str(), (int)line.size(), nullptr, 0, nullptr, nullptr);
    std::string utf8(cb, '\0');
    WideCharToMultiByte(CP_UTF8, 0, line.c_str(), (int)line.size(), &utf8[0], cb, nullptr, nullptr);
    HANDLE h = CreateFileW(wszFile, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return;
    DWORD dwWritten = 0;
    WriteFile(h, utf8.data(), (DWORD)utf8.size(), &dwWritten, nullptr);
    CloseHandle(h);
}

} // namespace wmiemu
