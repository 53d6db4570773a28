#include "WmiAccessTestSupport.h"

const char kReadNamespace[] = "root\\cimv2";
const char kReadClass[] = "Win32_Service";
const char kReadKey[] = "Name";

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

#ifdef WMIACC_EMU
namespace
{
// Services of Wine's WMI look alike in the emulator: a class with a key and an instance.
const char kReadWorldMof[] = "#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
                             "class Win32_Service { [key] string Name; string State; };\n"
                             "instance of Win32_Service { Name = \"Alpha\"; State = \"Running\"; };\n";
} // namespace

void EmuAccessTest::SetUp()
{
    WmiAccessTest::SetUp();
    Seed(kReadWorldMof);
}

std::string EmuAccessTest::Repository() const
{
    const std::vector<unsigned char> bytes = testkit::ReadBytes(m_world.Dir().File("repository.txt"));
    return std::string(bytes.begin(), bytes.end());
}
#endif
