// wmiemutool - seeds, dumps and resets the emulator's WMI repository, sets its fault switches,
// and checks that the emulator serves WMI in the current Wine prefix. Run under Wine:
//   wmiemutool path                  the repository file and the fault switch file in use
//   wmiemutool reset                 a fresh repository (root, root\default, root\cimv2)
//   wmiemutool seed [-N:<namespace>] <file.mof>...
//                                    compile MOF files into the repository (no autorecover entry); -N
//                                    (as mofcomp's) sets the default namespace, root\default without it
//   wmiemutool dump [<namespace>]    the repository as sorted text on stdout (a namespace and those below)
//   wmiemutool fault "<switch>"      add a fault switch line; "wmiemutool fault clear" removes all
//   wmiemutool check                 the locator and the MOF compiler come from wmiemu.dll
// Exit code 0 on success, 1 on failure (with a message on stderr), 2 for a bad command line.
#include "EmuFaults.h"
#include "EmuMofStore.h"
#include "EmuStore.h"

#include <fcntl.h>
#include <io.h>
#include <objbase.h>

#include <cstdio>

using namespace wmiemu;

namespace
{
void Out(FILE* f, const std::wstring& s)
{
    std::string u = ToUtf8(s);
    fwrite(u.data(), 1, u.size(), f);
    fflush(f);
}

std::wstring Hex(HRESULT hr)
{
    wchar_t buf[32];
    swprintf(buf, 32, L"0x%08lX", (unsigned long)hr);
    return buf;
}

int Usage()
{
    Out(stderr, L"usage: wmiemutool path | reset | seed [-N:<namespace>] <file.mof>... | dump [<namespace>] "
                L"| fault \"<switch>\" | "
                L"fault clear | check\n");
    return 2;
}

int Seed(int argc, wchar_t** argv)
{
    int nFirst = 2;
    std::wstring ns = L"root\\default";
    if (_wcsnicmp(argv[2], L"-N:", 3) == 0)
    {
        if (!mofc::DefaultNamespaceOf(argv[2] + 3, ns) || argc < 4)
            return Usage();
        nFirst = 3;
    }
    for (int n = nFirst; n < argc; ++n)
    {
        mofc::CompileResult r = mofc::ParseFile(argv[n], ns);
        if (!r.ok)
        {
            Out(stderr, std::wstring(argv[n]) + L": parse error " + Hex((HRESULT)r.hr) + L" in object " +
                            std::to_wstring(r.objectNumber) + L", lines " + std::to_wstring(r.firstLine) +
                            L"-" + std::to_wstring(r.lastLine) + L": " + r.message + L"\n");
            return 1;
        }
        size_t nFailed = 0;
        HRESULT hr = Store::Instance().Modify(
            [&](Repository& repo) { return StoreDeclarations(repo, r.decls, 0, 0, nFailed); });
        if (FAILED(hr))
        {
            std::wstring where = nFailed < r.decls.size()
                                     ? L" in object " + std::to_wstring(nFailed + 1) + L", line " +
                                           std::to_wstring(r.decls[nFailed].firstLine)
                                     : L"";
            Out(stderr, std::wstring(argv[n]) + L": cannot store, " + Hex(hr) + where + L" " +
                            Store::Instance().LastError() + L"\n");
            return 1;
        }
    }
    return 0;
}

int AddFault(int argc, wchar_t** argv)
{
    if (argc != 3)
        return Usage();
    std::wstring path = FaultsFilePath();
    if (NameEq(argv[2], L"clear"))
        return DeleteFileW(path.c_str()) || GetLastError() == ERROR_FILE_NOT_FOUND ? 0 : 1;
    std::wstring text;
    ReadTextFile(path, text);
    if (!text.empty() && text.back() != L'\n')
        text += L"\n";
    text += std::wstring(argv[2]) + L"\n";
    return WriteTextFile(path, text) ? 0 : 1;
}

int Check()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const CLSID clsidLocator = {0x4590f811, 0x1d3a, 0x11d0, {0x89, 0x1f, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};
    const CLSID clsidCompiler = {
        0x6daf9757, 0x2e37, 0x11d2, {0xae, 0xc9, 0x00, 0xc0, 0x4f, 0xb6, 0x88, 0x20}};
    int nRet = 0;
    for (const CLSID* pclsid : {&clsidLocator, &clsidCompiler})
    {
        IUnknown* p = nullptr;
        HRESULT hr = CoCreateInstance(*pclsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, (void**)&p);
        if (FAILED(hr))
        {
            Out(stderr, L"CoCreateInstance failed: " + Hex(hr) + L"\n");
            nRet = 1;
        }
        if (p)
            p->Release();
    }
    HMODULE hEmu = GetModuleHandleW(L"wmiemu.dll");
    if (!hEmu)
    {
        Out(stderr, L"the WMI classes are not served by wmiemu.dll\n");
        nRet = 1;
    }
    else
    {
        wchar_t path[MAX_PATH];
        GetModuleFileNameW(hEmu, path, MAX_PATH);
        Out(stdout, std::wstring(L"WMI served by ") + path + L"\n");
    }
    CoUninitialize();
    return nRet;
}

int Dump(int argc, wchar_t** argv)
{
    std::wstring text, ns = argc == 3 ? argv[2] : L"";
    HRESULT hr = Store::Instance().Read([&](const Repository& repo) {
        if (!ns.empty() && !repo.FindNs(ns))
            return WBEM_E_INVALID_NAMESPACE;
        text = repo.Serialize(ns);
        return WBEM_S_NO_ERROR;
    });
    if (FAILED(hr))
    {
        Out(stderr, L"cannot dump, " + Hex(hr) + L" " + Store::Instance().LastError() + L"\n");
        return 1;
    }
    Out(stdout, text);
    return 0;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    _setmode(_fileno(stdout), _O_BINARY);
    if (argc < 2)
        return Usage();
    std::wstring cmd = argv[1];
    if (NameEq(cmd, L"path") && argc == 2)
    {
        Out(stdout, RepositoryFilePath() + L"\n" + FaultsFilePath() + L"\n");
        return 0;
    }
    if (NameEq(cmd, L"reset") && argc == 2)
        return SUCCEEDED(Store::Instance().Reset()) ? 0 : 1;
    if (NameEq(cmd, L"seed") && argc >= 3)
        return Seed(argc, argv);
    if (NameEq(cmd, L"dump") && argc <= 3)
        return Dump(argc, argv);
    if (NameEq(cmd, L"fault"))
        return AddFault(argc, argv);
    if (NameEq(cmd, L"check") && argc == 2)
        return Check();
    return Usage();
}
