// EmuTestUtil.cpp - the test fixture's helpers.
#include "EmuTestUtil.h"

#include "EmuStore.h"

#include <fstream>

std::vector<std::wstring> SafeArrayStrings(SAFEARRAY* psa)
{
    std::vector<std::wstring> r;
    if (!psa)
        return r;
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(psa, 1, &lo);
    SafeArrayGetUBound(psa, 1, &hi);
    for (LONG n = lo; n <= hi; ++n)
    {
        BSTR b = nullptr;
        SafeArrayGetElement(psa, &n, &b);
        r.push_back(b ? b : L"");
        SysFreeString(b);
    }
    SafeArrayDestroy(psa);
    return r;
}

namespace
{
void RemoveTree(const std::wstring& dir)
{
    WIN32_FIND_DATAW fd;
    HANDLE h = FindFirstFileW((dir + L"*").c_str(), &fd);
    if (h != INVALID_HANDLE_VALUE)
    {
        do
        {
            std::wstring name = fd.cFileName;
            if (name == L"." || name == L"..")
                continue;
            if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                RemoveTree(dir + name + L"\\");
            else
                DeleteFileW((dir + name).c_str());
        } while (FindNextFileW(h, &fd));
        FindClose(h);
    }
    RemoveDirectoryW(dir.c_str());
}
} // namespace

void EmuTest::SetUp()
{
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    wchar_t tmp[MAX_PATH];
    GetTempPathW(MAX_PATH, tmp);
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "." + info->name();
    m_dir = std::wstring(tmp) + L"wmiemu-" + std::wstring(name.begin(), name.end()) + L"\\";
    RemoveTree(m_dir);
    CreateDirectoryW(m_dir.c_str(), nullptr);
    SetEnvironmentVariableW(L"WMIEMU_REPOSITORY", (m_dir + L"repository.txt").c_str());
    SetEnvironmentVariableW(L"WMIEMU_FAULTS", (m_dir + L"faults.txt").c_str());
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                     (void**)&m_locator));
}

void EmuTest::TearDown()
{
    for (auto& c : m_conns)
        delete c.second;
    m_conns.clear();
    m_locator.Reset();
    CoUninitialize();
    RemoveTree(m_dir);
}

HRESULT EmuTest::Connect(const wchar_t* wszNs, CComPtrT<IWbemServices>& out)
{
    CBstr ns(wszNs);
    return m_locator->ConnectServer(ns, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &out);
}

CComPtrT<IWbemServices>& EmuTest::Ns(const wchar_t* wszNs)
{
    for (auto& c : m_conns)
        if (c.first == wszNs)
            return *c.second;
    auto* p = new CComPtrT<IWbemServices>();
    m_conns.push_back({wszNs, p});
    EXPECT_EQ(S_OK, Connect(wszNs, *p)) << "connecting to namespace";
    return *p;
}

HRESULT EmuTest::Compile(const std::string& mof, WBEM_COMPILE_STATUS_INFO* pInfo, const wchar_t* wszName,
                         const wchar_t* wszNs)
{
    std::wstring path = m_dir + wszName;
    {
        std::ofstream f(path.c_str(), std::ios::binary);
        f << mof;
    }
    CComPtrT<IMofCompiler> comp;
    HRESULT hr =
        CoCreateInstance(CLSID_MofCompiler, nullptr, CLSCTX_INPROC_SERVER, IID_IMofCompiler, (void**)&comp);
    if (FAILED(hr))
        return hr;
    WBEM_COMPILE_STATUS_INFO info = {};
    std::wstring ns = wszNs ? wszNs : L"";
    hr = comp->CompileFile(&path[0], wszNs ? &ns[0] : nullptr, nullptr, nullptr, nullptr, 0, 0, 0, &info);
    if (pInfo)
        *pInfo = info;
    return hr;
}

void EmuTest::CompileOk(const std::string& mof)
{
    WBEM_COMPILE_STATUS_INFO info = {};
    ASSERT_EQ(WBEM_S_NO_ERROR, Compile(mof, &info))
        << "phase " << info.lPhaseError << " hr 0x" << std::hex << info.hRes << std::dec << " object "
        << info.ObjectNum << " lines " << info.FirstLine << "-" << info.LastLine;
}

void EmuTest::SetFaults(const std::string& text)
{
    std::ofstream f((m_dir + L"faults.txt").c_str(), std::ios::binary);
    f << text;
}

std::wstring EmuTest::Dump()
{
    std::wstring text;
    wmiemu::Store::Instance().Read([&](const wmiemu::Repository& repo) {
        text = repo.Serialize();
        return WBEM_S_NO_ERROR;
    });
    return text;
}

HRESULT EmuTest::GetObj(IWbemServices* pNs, const wchar_t* wszPath, CComPtrT<IWbemClassObject>& out)
{
    CBstr path(wszPath);
    return pNs->GetObject(path, 0, nullptr, &out, nullptr);
}

std::wstring EmuTest::GetStr(IWbemClassObject* pObj, const wchar_t* wszProp)
{
    CVar v;
    HRESULT hr = pObj->Get(wszProp, 0, &v, nullptr, nullptr);
    if (FAILED(hr))
        return L"<error>";
    if (v.v.vt == VT_NULL)
        return L"<null>";
    return v.Str();
}

std::vector<std::wstring> EmuTest::EnumNames(IEnumWbemClassObject* pEnum, const wchar_t* wszProp)
{
    std::vector<std::wstring> r;
    for (;;)
    {
        IWbemClassObject* p = nullptr;
        ULONG n = 0;
        HRESULT hr = pEnum->Next(WBEM_INFINITE, 1, &p, &n);
        if (n == 0)
        {
            EXPECT_EQ(WBEM_S_FALSE, hr);
            break;
        }
        r.push_back(GetStr(p, wszProp));
        p->Release();
    }
    return r;
}

int EmuTest::RunTool(const std::wstring& args, std::string* pOut)
{
    // Each run writes its own file in the test's folder: nothing left open by an earlier run,
    // of this test or another, can stand in the way.
    static int nRun = 0;
    const std::wstring outFile = m_dir + L"tool-out-" + std::to_wstring(++nRun) + L".txt";
    wchar_t exe[MAX_PATH];
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    std::wstring dir(exe);
    dir = dir.substr(0, dir.find_last_of(L'\\') + 1);
    const std::string what = "wmiemutool " + std::string(args.begin(), args.end()) + ": ";
    SECURITY_ATTRIBUTES sa = {sizeof(sa), nullptr, TRUE};
    HANDLE hOut =
        CreateFileW(outFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &sa, CREATE_ALWAYS, 0, nullptr);
    if (hOut == INVALID_HANDLE_VALUE)
    {
        ADD_FAILURE() << what << "CreateFileW of the output file failed, error " << GetLastError();
        return 99;
    }
    STARTUPINFOW si = {};
    si.cb = sizeof(si);
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdOutput = hOut;
    si.hStdError = hOut;
    PROCESS_INFORMATION pi = {};
    std::wstring cmd = L"\"" + dir + L"wmiemutool.exe\" " + args;
    DWORD dwCode = 99;
    // Wine now and then fails a process start with ERROR_INTERNAL_ERROR before the tool runs;
    // that is the test machine's fault, so the start is tried again.
    BOOL bStarted = FALSE;
    for (int nTry = 0; nTry < 3 && !bStarted; ++nTry)
    {
        bStarted = CreateProcessW(nullptr, &cmd[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi);
        if (!bStarted && GetLastError() != ERROR_INTERNAL_ERROR)
            break;
        if (!bStarted)
            Sleep(200);
    }
    if (!bStarted)
        ADD_FAILURE() << what << "CreateProcessW failed, error " << GetLastError();
    else
    {
        if (WaitForSingleObject(pi.hProcess, 60000) != WAIT_OBJECT_0)
        {
            ADD_FAILURE() << what << "still running after 60 s: terminated";
            TerminateProcess(pi.hProcess, 99);
            WaitForSingleObject(pi.hProcess, 5000);
        }
        else if (!GetExitCodeProcess(pi.hProcess, &dwCode))
            ADD_FAILURE() << what << "GetExitCodeProcess failed, error " << GetLastError();
        CloseHandle(pi.hProcess);
        CloseHandle(pi.hThread);
    }
    CloseHandle(hOut);
    if (pOut)
    {
        std::ifstream f(outFile.c_str(), std::ios::binary);
        pOut->assign((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    }
    return (int)dwCode;
}
