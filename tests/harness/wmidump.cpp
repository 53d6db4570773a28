// wmidump <namespace>... : prints the namespaces (each with those below it) of this machine's WMI,
// system classes included, as the text that the try-run (scripts/run-main-job.sh --repository)
// and the WMI emulator load. Only documented WMI calls; run it as an administrator on Windows.
// Exit codes: 0 printed, 1 a WMI call failed (named on stderr), 2 no namespace given.
#include "WmiText.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cwchar>

int wmain(int argc, wchar_t** argv)
{
    if (argc < 2 || wcscmp(argv[1], L"/?") == 0 || wcscmp(argv[1], L"--help") == 0)
    {
        fputs("usage: wmidump <namespace>...   (for example: wmidump root\\cimv2 root\\Brevane)\n", stderr);
        return 2;
    }
    wmitext::DumpScope scope;
    scope.bSystem = true;
    for (int n = 1; n < argc; ++n)
        scope.roots.push_back(argv[n]);
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return 1;
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    IWbemLocator* pLocator = nullptr;
    HRESULT hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_ALL, IID_IWbemLocator,
                                  reinterpret_cast<void**>(&pLocator));
    std::wstring strText, strError = L"CoCreateInstance(WbemLocator) failed, " + wmitext::Hex(hr);
    const bool bDone = SUCCEEDED(hr) && wmitext::Dump(pLocator, scope, strText, strError);
    if (pLocator != nullptr)
        pLocator->Release();
    CoUninitialize();
    if (!bDone)
    {
        fprintf(stderr, "wmidump: %s\n", wmitext::Utf8(strError).c_str());
        return 1;
    }
    // UTF-8 with LF line ends, byte for byte what the repository file holds.
    _setmode(_fileno(stdout), _O_BINARY);
    const std::string strOut = wmitext::Utf8(strText);
    fwrite(strOut.data(), 1, strOut.size(), stdout);
    return fflush(stdout) == 0 ? 0 : 1;
}
