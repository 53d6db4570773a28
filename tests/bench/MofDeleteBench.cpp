// /DD /MOF benchmark: a generated MOF of 10 classes with 100 static instances each is
// installed in the emulated repository and removed again, once by Tarvos.exe (tracing off and
// at level 4) and once by a minimal client process that makes only the same DeleteInstance and
// DeleteClass calls. Prints the wall times and their ratios.
// Run by hand in the emulator's prefix: wine mof_delete_bench.exe [rounds]
#include "EmuWorld.h"
#include "TestKit.h"

#include <windows.h>
#include <wbemcli.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
const int kClasses = 10;
const int kInstancesPerClass = 100;
const char kNamespace[] = "root\\TvBench";

std::string BenchMof()
{
    std::string strMof =
        "#pragma namespace(\"\\\\\\\\.\\\\root\")\ninstance of __Namespace { Name = \"TvBench\"; };\n"
        "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvBench\")\n";
    for (int c = 0; c < kClasses; ++c)
    {
        strMof +=
            "class Bench_C" + std::to_string(c) + " { [key] string Name; [key] uint32 Id; string Note; };\n";
    }
    for (int c = 0; c < kClasses; ++c)
    {
        for (int i = 0; i < kInstancesPerClass; ++i)
        {
            strMof += "instance of Bench_C" + std::to_string(c) + " { Name = \"item " + std::to_string(i) +
                      "\"; Id = " + std::to_string(i) + "; Note = \"x\"; };\n";
        }
    }
    return strMof;
}

double Seconds(ULONGLONG ullFrom, ULONGLONG ullTo)
{
    return static_cast<double>(ullTo - ullFrom) / 1000.0;
}

ULONGLONG Now()
{
    LARGE_INTEGER li, liFreq;
    QueryPerformanceCounter(&li);
    QueryPerformanceFrequency(&liFreq);
    return static_cast<ULONGLONG>(li.QuadPart * 1000 / liFreq.QuadPart);
}

// The client process: one connection, then the calls Tarvos makes for the same file.
int ClientRun()
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 2;
    int nFailed = 0;
    IWbemLocator* pLocator = nullptr;
    IWbemServices* pServices = nullptr;
    BSTR bstrNs = SysAllocString(L"\\\\.\\root\\TvBench");
    if (SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                   reinterpret_cast<void**>(&pLocator))) &&
        SUCCEEDED(
            pLocator->ConnectServer(bstrNs, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &pServices)))
    {
        for (int c = 0; c < kClasses; ++c)
        {
            for (int i = 0; i < kInstancesPerClass; ++i)
            {
                const std::wstring wstrPath = L"Bench_C" + std::to_wstring(c) + L".Name=\"item " +
                                              std::to_wstring(i) + L"\",Id=" + std::to_wstring(i);
                BSTR bstrPath = SysAllocString(wstrPath.c_str());
                nFailed += FAILED(pServices->DeleteInstance(bstrPath, 0, nullptr, nullptr)) ? 1 : 0;
                SysFreeString(bstrPath);
            }
        }
        for (int c = 0; c < kClasses; ++c)
        {
            BSTR bstrClass = SysAllocString((L"Bench_C" + std::to_wstring(c)).c_str());
            nFailed += FAILED(pServices->DeleteClass(bstrClass, 0, nullptr, nullptr)) ? 1 : 0;
            SysFreeString(bstrClass);
        }
        pServices->Release();
    }
    else
    {
        nFailed = -1;
    }
    if (pLocator != nullptr)
        pLocator->Release();
    SysFreeString(bstrNs);
    CoUninitialize();
    return nFailed == 0 ? 0 : 1;
}

// The repository holds the benchmark's namespace with nothing of its classes left.
bool AllGone(const testkit::CEmuWorld& world)
{
    return world.Dump(kNamespace).find("Bench_C") == std::string::npos;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::string(argv[1]) == "client")
        return ClientRun();
    const int nRounds = argc > 1 ? std::max(1, atoi(argv[1])) : 3;
    testkit::CEmuWorld world;
    const std::string strMof = world.WriteMof("bench.mof", BenchMof());
    // The autorecover list must be readable for the job to succeed; it names this file.
    HKEY hKey = nullptr;
    RegCreateKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\WBEM\\CIMOM", 0, nullptr, 0, KEY_ALL_ACCESS,
                    nullptr, &hKey, nullptr);

    char szSelf[MAX_PATH];
    GetModuleFileNameA(nullptr, szSelf, MAX_PATH);
    std::vector<double> off, level4, client;
    for (int nRound = 0; nRound < nRounds; ++nRound)
    {
        for (int nKind = 0; nKind < 3; ++nKind)
        {
            world.Tool("reset");
            world.Seed(BenchMof());
            const std::string strList = strMof + std::string(2, '\0');
            RegSetValueExA(hKey, "Autorecover MOFs", 0, REG_MULTI_SZ,
                           reinterpret_cast<const BYTE*>(strList.data()), static_cast<DWORD>(strList.size()));
            testkit::TarvosOptions options;
            options.dwTimeoutMs = 600000;
            options.bTrace = nKind == 1;
            options.nTraceLevel = 4;
            const ULONGLONG ullStart = Now();
            const testkit::TarvosRun run = nKind == 2
                                               ? testkit::RunProgram("\"" + std::string(szSelf) + "\" client",
                                                                     world.Dir().Path(), 600000)
                                               : testkit::RunTarvos("/dd \"/mof=" + strMof + "\"", options);
            const double dSeconds = Seconds(ullStart, Now());
            if (run.dwExitCode != 0 || !AllGone(world))
            {
                fprintf(stderr, "run %d of kind %d failed: exit %lu\n", nRound, nKind, run.dwExitCode);
                return 1;
            }
            (nKind == 0 ? off : nKind == 1 ? level4 : client).push_back(dSeconds);
        }
    }
    RegCloseKey(hKey);
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    const double dOff = median(off), dLevel4 = median(level4), dClient = median(client);
    printf(
        "/DD /MOF of %d instances over %d classes, median of %d rounds (wall time, process start included)\n",
        kClasses * kInstancesPerClass, kClasses, nRounds);
    printf("  minimal client:        %8.3f s\n", dClient);
    printf("  Tarvos.exe, trace off: %8.3f s  ratio %.2f\n", dOff, dOff / dClient);
    printf("  Tarvos.exe, level 4:   %8.3f s  ratio %.2f\n", dLevel4, dLevel4 / dClient);
    return 0;
}
