#include "WmiAccessTestSupport.h"

#include "StringConversion.h"

#include <fstream>
#include <sstream>

const char kReadNamespace[] = "root\\cimv2";
const char kReadClass[] = "Win32_Service";
const char kReadKey[] = "Name";

std::string CTestVariant::Str() const
{
    if (v.vt != VT_BSTR || v.bstrVal == nullptr)
        return "<vt " + std::to_string(v.vt) + ">";
    std::string str;
    for (const wchar_t* p = v.bstrVal; *p != L'\0'; ++p)
        str += *p < 128 ? static_cast<char>(*p) : '?';
    return str;
}

void WmiAccessTest::SetUp()
{
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    m_bComInit = true;
    gg_ptrc->InitExplicit(m_strTrace.c_str(), 6, TRCFLAG_CLEAR);
}

void WmiAccessTest::TearDown()
{
    if (m_bComInit)
        CoUninitialize();
}

std::string WmiAccessTest::CurrentKey(CCWMIAccess& oAccess, const char* szKey)
{
    CTestVariant v;
    if (FAILED(oAccess.GetProperty(szKey, &v)))
        return "<no current instance>";
    return v.Str();
}

#ifdef WMIACC_EMU
namespace
{
// Services of Wine's WMI look alike in the emulator: a class with a key and several instances.
const char kReadWorldMof[] = "#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
                             "class Win32_Service { [key] string Name; string State; };\n"
                             "instance of Win32_Service { Name = \"Alpha\"; State = \"Running\"; };\n"
                             "instance of Win32_Service { Name = \"Beta\"; State = \"Stopped\"; };\n"
                             "instance of Win32_Service { Name = \"Gamma\"; State = \"Running\"; };\n";
} // namespace

void EmuAccessTest::SetUp()
{
    SetEnvironmentVariableA("WMIEMU_REPOSITORY", m_dir.File("repository.txt").c_str());
    SetEnvironmentVariableA("WMIEMU_FAULTS", m_dir.File("faults.txt").c_str());
    WmiAccessTest::SetUp();
    Seed(kReadWorldMof);
}

void EmuAccessTest::TearDown()
{
    WmiAccessTest::TearDown();
    SetEnvironmentVariableA("WMIEMU_REPOSITORY", nullptr);
    SetEnvironmentVariableA("WMIEMU_FAULTS", nullptr);
}

void EmuAccessTest::Seed(const std::string& strMof)
{
    static int nSeed = 0;
    const std::string strPath = m_dir.File("seed" + std::to_string(++nSeed) + ".mof");
    ASSERT_TRUE(testkit::WriteBytes(strPath, strMof));
    IMofCompiler* pCompiler = nullptr;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_MofCompiler, nullptr, CLSCTX_INPROC_SERVER, IID_IMofCompiler,
                                     reinterpret_cast<void**>(&pCompiler)));
    std::wstring wstrPath(strPath.begin(), strPath.end());
    WBEM_COMPILE_STATUS_INFO info = {};
    const HRESULT hr =
        pCompiler->CompileFile(&wstrPath[0], nullptr, nullptr, nullptr, nullptr, 0, 0, 0, &info);
    pCompiler->Release();
    ASSERT_EQ(S_OK, hr) << "phase " << info.lPhaseError << " hr 0x" << std::hex << info.hRes << " line "
                        << std::dec << info.FirstLine << "\n"
                        << strMof;
}

void EmuAccessTest::Fault(const std::string& strLine)
{
    std::ofstream file(m_dir.File("faults.txt"), std::ios::app | std::ios::binary);
    file << strLine << "\r\n";
}

std::string EmuAccessTest::Repository() const
{
    std::ifstream file(m_dir.File("repository.txt"), std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}
#endif
