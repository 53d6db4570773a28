// The account tests of CCTempService: the two well-known SIDs, and what Wine's token says.
#include "AppTestSupport.h"
#include "TempService.h"

#include <sddl.h>

namespace
{
std::string SidText(PSID pSid)
{
    std::string strSid = "<null>";
    char* szSid = nullptr;
    if (pSid != nullptr && ConvertSidToStringSidA(pSid, &szSid))
    {
        strSid = szSid;
        LocalFree(szSid);
    }
    if (pSid != nullptr)
    {
        FreeSid(pSid);
    }
    return strSid;
}

// The attributes of the Administrators entry in this process's group list; 0 without one.
DWORD AdministratorsAttributes()
{
    HANDLE hToken = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &hToken);
    alignas(TOKEN_GROUPS) BYTE abGroups[8192];
    auto* pGroups = reinterpret_cast<TOKEN_GROUPS*>(abGroups);
    DWORD cb = 0;
    DWORD dwAttributes = 0;
    PSID pAdmins = CCTempService::GetAdminSid();
    if (GetTokenInformation(hToken, TokenGroups, pGroups, sizeof(abGroups), &cb))
    {
        for (DWORD i = 0; i < pGroups->GroupCount; ++i)
        {
            if (EqualSid(pGroups->Groups[i].Sid, pAdmins))
            {
                dwAttributes = pGroups->Groups[i].Attributes | 0x80000000u;
            }
        }
    }
    FreeSid(pAdmins);
    CloseHandle(hToken);
    return dwAttributes;
}

using TempServiceAccount = CapturedTraceTest;
} // namespace

TEST_F(TempServiceAccount, WellKnownSids)
{
    EXPECT_EQ("S-1-5-32-544", SidText(CCTempService::GetAdminSid()));
    EXPECT_EQ("S-1-5-18", SidText(CCTempService::GetLocalSystemSid()));
    EXPECT_EQ(std::vector<std::string>{"ret=true"}, Messages("Leave", "Method GetAdminSid has been left."));
    EXPECT_EQ(std::vector<std::string>{"ret=true"},
              Messages("Leave", "Method GetLocalSystemSid has been left."));
}

// Under Wine every process runs in one administrator account, never as LocalSystem.
TEST_F(TempServiceAccount, WineRunsAnAdministratorThatIsNotLocalSystem)
{
    EXPECT_FALSE(CCTempService::IsLocalSystem());
    EXPECT_TRUE(CCTempService::IsAdmin());
    EXPECT_EQ(std::vector<std::string>{"ret=false"},
              Messages("Leave", "Method IsLocalSystem has been left."));
    EXPECT_EQ(std::vector<std::string>{"ret=true"}, Messages("Leave", "Method IsAdmin has been left."));
}

// Run only as the child of the next test, in a token whose Administrators entry is
// deny-only.
TEST(TempServiceAccountChild, DISABLED_DenyOnlyAdministratorsCount)
{
    ASSERT_NE(0u, AdministratorsAttributes() & SE_GROUP_USE_FOR_DENY_ONLY) << "not a deny-only token";
    EXPECT_TRUE(CCTempService::IsAdmin());
}

TEST(TempServiceAccountDenyOnly, AttributesAreNotLookedAt)
{
    HANDLE hToken = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &hToken));
    SID_AND_ATTRIBUTES disable = {CCTempService::GetAdminSid(), 0};
    HANDLE hRestricted = nullptr;
    const BOOL bRestricted =
        CreateRestrictedToken(hToken, 0, 1, &disable, 0, nullptr, 0, nullptr, &hRestricted);
    FreeSid(disable.Sid);
    CloseHandle(hToken);
    ASSERT_TRUE(bRestricted);

    testkit::CScratchDir dir;
    char szSelf[MAX_PATH];
    GetModuleFileNameA(nullptr, szSelf, MAX_PATH);
    std::string strCmd = "\"" + std::string(szSelf) +
                         "\" --gtest_also_run_disabled_tests --gtest_filter=TempServiceAccountChild.* "
                         "--gtest_output=xml:" +
                         dir.File("child.xml");
    STARTUPINFOA si = {};
    si.cb = sizeof(si);
    PROCESS_INFORMATION pi = {};
    const BOOL bStarted = CreateProcessAsUserA(hRestricted, nullptr, &strCmd[0], nullptr, nullptr, FALSE, 0,
                                               nullptr, nullptr, &si, &pi);
    CloseHandle(hRestricted);
    ASSERT_TRUE(bStarted) << GetLastError();
    DWORD dwExit = 0xFFFFFFFF;
    if (WaitForSingleObject(pi.hProcess, 60000) != WAIT_OBJECT_0)
    {
        TerminateProcess(pi.hProcess, 0xDEAD);
    }
    GetExitCodeProcess(pi.hProcess, &dwExit);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    const auto xml = testkit::ReadBytes(dir.File("child.xml"));
    const std::string strXml(xml.begin(), xml.end());
    EXPECT_EQ(0u, dwExit) << strXml;
    EXPECT_NE(std::string::npos, strXml.find("tests=\"1\" failures=\"0\"")) << strXml;
}
