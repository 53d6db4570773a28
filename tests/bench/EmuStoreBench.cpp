// WMI emulator repository benchmark: the cost of one write and of the first connection.
// - DeleteInstance and PutInstance on a repository of 1,000 instances (mean of 200 calls each);
// - the first ConnectServer (and one GetObject) of a fresh process on a repository holding 1,418
//   classes, the size of the CIM 2.32 schema (generated: one tree 6 levels deep, 6 properties and a
//   Description on each class, as the schema's MOF has them).
// Run by hand in the emulator's prefix: wine emu_store_bench.exe
// It works in its own files under %TEMP% (WMIEMU_REPOSITORY), never in the prefix's repository.
#include <windows.h>
#include <wbemcli.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace
{
const int kInstances = 1000;
const int kCalls = 200;
const int kClasses = 1418;

double NowMs()
{
    LARGE_INTEGER li, liFreq;
    QueryPerformanceCounter(&li);
    QueryPerformanceFrequency(&liFreq);
    return static_cast<double>(li.QuadPart) * 1000.0 / static_cast<double>(liFreq.QuadPart);
}

// CPU time of this process (user and kernel), in ms: less disturbed than wall time on a busy machine.
double CpuMs()
{
    FILETIME ftCreate, ftExit, ftKernel, ftUser;
    GetProcessTimes(GetCurrentProcess(), &ftCreate, &ftExit, &ftKernel, &ftUser);
    auto ms = [](const FILETIME& ft) {
        return (double)(((ULONGLONG)ft.dwHighDateTime << 32) | ft.dwLowDateTime) / 1e4;
    };
    return ms(ftKernel) + ms(ftUser);
}

std::wstring TempPath(const wchar_t* wszName)
{
    wchar_t buf[MAX_PATH];
    GetTempPathW(MAX_PATH, buf);
    return std::wstring(buf) + wszName;
}

void UseRepository(const std::wstring& path)
{
    for (const wchar_t* wszSuffix : {L"", L".journal"})
        DeleteFileW((path + wszSuffix).c_str());
    SetEnvironmentVariableW(L"WMIEMU_REPOSITORY", path.c_str());
}

bool Compile(const std::string& strMof)
{
    std::wstring path = TempPath(L"emu_store_bench.mof");
    std::ofstream(path.c_str(), std::ios::binary) << strMof;
    IMofCompiler* pComp = nullptr;
    if (FAILED(CoCreateInstance(CLSID_MofCompiler, nullptr, CLSCTX_INPROC_SERVER, IID_IMofCompiler,
                                (void**)&pComp)))
        return false;
    WBEM_COMPILE_STATUS_INFO info = {};
    HRESULT hr = pComp->CompileFile(&path[0], nullptr, nullptr, nullptr, nullptr, 0, 0, 0, &info);
    pComp->Release();
    if (hr != WBEM_S_NO_ERROR)
        printf("compile failed: phase %ld hr 0x%08lx object %ld\n", info.lPhaseError,
               (unsigned long)info.hRes, info.ObjectNum);
    return hr == WBEM_S_NO_ERROR;
}

IWbemServices* Connect()
{
    IWbemLocator* pLoc = nullptr;
    IWbemServices* pSvc = nullptr;
    if (SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                   (void**)&pLoc)))
    {
        BSTR bstrNs = SysAllocString(L"root\\default");
        pLoc->ConnectServer(bstrNs, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &pSvc);
        SysFreeString(bstrNs);
        pLoc->Release();
    }
    return pSvc;
}

int Writes()
{
    UseRepository(TempPath(L"emu_store_bench_writes.txt"));
    std::string strMof = "class BenchItem { [key] uint32 Id; string Note; };\n";
    for (int i = 0; i < kInstances; ++i)
        strMof += "instance of BenchItem { Id = " + std::to_string(i) + "; Note = \"item\"; };\n";
    IWbemServices* pSvc = Compile(strMof) ? Connect() : nullptr;
    if (!pSvc)
        return 1;
    double dStart = NowMs(), dCpu = CpuMs();
    for (int i = 0; i < kCalls; ++i)
    {
        BSTR bstrPath = SysAllocString((L"BenchItem.Id=" + std::to_wstring(i)).c_str());
        HRESULT hr = pSvc->DeleteInstance(bstrPath, 0, nullptr, nullptr);
        SysFreeString(bstrPath);
        if (FAILED(hr))
            return printf("DeleteInstance failed: 0x%08lx\n", (unsigned long)hr), 1;
    }
    double dDelete = (NowMs() - dStart) / kCalls, dDeleteCpu = (CpuMs() - dCpu) / kCalls;
    IWbemClassObject* pClass = nullptr;
    BSTR bstrClass = SysAllocString(L"BenchItem");
    pSvc->GetObject(bstrClass, 0, nullptr, &pClass, nullptr);
    SysFreeString(bstrClass);
    dStart = NowMs();
    dCpu = CpuMs();
    for (int i = 0; i < kCalls; ++i)
    {
        IWbemClassObject* pInst = nullptr;
        pClass->SpawnInstance(0, &pInst);
        VARIANT v;
        v.vt = VT_I4;
        v.lVal = kInstances + i;
        pInst->Put(L"Id", 0, &v, 0);
        HRESULT hr = pSvc->PutInstance(pInst, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr);
        pInst->Release();
        if (FAILED(hr))
            return printf("PutInstance failed: 0x%08lx\n", (unsigned long)hr), 1;
    }
    double dPut = (NowMs() - dStart) / kCalls, dPutCpu = (CpuMs() - dCpu) / kCalls;
    pClass->Release();
    pSvc->Release();
    printf("repository of %d instances, mean of %d calls: DeleteInstance %.3f ms (CPU %.3f ms), PutInstance "
           "%.3f ms (CPU %.3f ms)\n",
           kInstances, kCalls, dDelete, dDeleteCpu, dPut, dPutCpu);
    return 0;
}

std::string SchemaMof()
{
    std::string strMof;
    for (int c = 0; c < kClasses; ++c)
    {
        std::string strName = "CIM_Bench" + std::to_string(c);
        std::string strSuper = c == 0 ? "" : " : CIM_Bench" + std::to_string((c - 1) / 4);
        strMof += "[Abstract, Version(\"2.32.0\"), Description(\"The class " + strName +
                  " stands for one class of a schema the size of CIM 2.32; its text is about as long as a "
                  "schema class description.\")]\nclass " +
                  strName + strSuper + "\n{\n";
        for (int p = 0; p < 6; ++p)
            strMof += "  [Description(\"Property " + std::to_string(p) + " of " + strName +
                      ".\"), MaxLen(256)] string P" + std::to_string(c) + "_" + std::to_string(p) + ";\n";
        strMof += c == 0 ? "  [Key] string InstanceID;\n};\n" : "};\n";
    }
    return strMof;
}

// In a fresh process: the first connection loads the repository.
int ConnectOnce()
{
    double dStart = NowMs(), dCpu = CpuMs();
    IWbemServices* pSvc = Connect();
    IWbemClassObject* pObj = nullptr;
    BSTR bstrClass = SysAllocString(L"CIM_Bench1417");
    HRESULT hr = pSvc ? pSvc->GetObject(bstrClass, 0, nullptr, &pObj, nullptr) : E_FAIL;
    SysFreeString(bstrClass);
    double dMs = NowMs() - dStart, dCpuMs = CpuMs() - dCpu;
    if (pObj)
        pObj->Release();
    if (pSvc)
        pSvc->Release();
    printf("first ConnectServer and GetObject, repository of %d classes: %.1f ms (CPU %.1f ms)%s\n", kClasses,
           dMs, dCpuMs, SUCCEEDED(hr) ? "" : " (GetObject failed)");
    return SUCCEEDED(hr) ? 0 : 1;
}

int Connection()
{
    UseRepository(TempPath(L"emu_store_bench_schema.txt"));
    if (!Compile(SchemaMof()))
        return 1;
    wchar_t exe[MAX_PATH];
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    std::wstring cmd = L"\"" + std::wstring(exe) + L"\" connect";
    for (int n = 0; n < 3; ++n)
    {
        STARTUPINFOW si = {};
        si.cb = sizeof(si);
        PROCESS_INFORMATION pi = {};
        if (!CreateProcessW(nullptr, &cmd[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi))
            return 1;
        WaitForSingleObject(pi.hProcess, INFINITE);
        CloseHandle(pi.hThread);
        CloseHandle(pi.hProcess);
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    int nRet = argc > 1 && std::string(argv[1]) == "connect" ? ConnectOnce() : Writes() | Connection();
    CoUninitialize();
    return nRet;
}
