// CCTempService's account tests (the two well-known SIDs, Wine's token, a deny-only
// Administrators entry) and the deletion of a service that does not exist.
#include "AppTestSupport.h"
#include "TempService.h"

#include <aclapi.h>
#include <sddl.h>

namespace
{
std::string SidText(PSID pSid)
{
    char* szSid = nullptr;
    const std::string strSid = pSid != nullptr && ConvertSidToStringSidA(pSid, &szSid) ? szSid : "<null>";
    LocalFree(szSid);
    FreeSid(pSid);
    return strSid;
}

using TempServiceAccount = CapturedTraceTest;
using TempServiceDelete = CapturedTraceTest;
} // namespace

// The two well-known SIDs; under Wine no process runs as LocalSystem (IsAdmin: end to end).
TEST_F(TempServiceAccount, WellKnownSidsAndWineIsNotLocalSystem)
{
    const std::vector<std::string> kTrue = {"ret=true"};
    EXPECT_EQ("S-1-5-32-544", SidText(CCTempService::GetAdminSid()));
    EXPECT_EQ("S-1-5-18", SidText(CCTempService::GetLocalSystemSid()));
    EXPECT_EQ(kTrue, Messages("Leave", "Method GetAdminSid has been left."));
    EXPECT_EQ(kTrue, Messages("Leave", "Method GetLocalSystemSid has been left."));
    EXPECT_FALSE(CCTempService::IsLocalSystem());
    EXPECT_EQ(std::vector<std::string>{"ret=false"},
              Messages("Leave", "Method IsLocalSystem has been left."));
}

// Run only as the child of the next test, in a token whose Administrators entry is deny-only.
TEST(TempServiceAccountChild, DISABLED_DenyOnlyAdministratorsCount)
{
    PSID pAdmins = CCTempService::GetAdminSid();
    BOOL bMember = TRUE;
    ASSERT_TRUE(CheckTokenMembership(nullptr, pAdmins, &bMember));
    FreeSid(pAdmins);
    ASSERT_FALSE(bMember) << "not a deny-only token";
    EXPECT_TRUE(CCTempService::IsAdmin());
}

TEST(TempServiceAccountDenyOnly, AttributesAreNotLookedAt)
{
    HANDLE hToken = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &hToken));
    SID_AND_ATTRIBUTES disable = {CCTempService::GetAdminSid(), 0};
    HANDLE hRestricted = nullptr;
    ASSERT_TRUE(CreateRestrictedToken(hToken, 0, 1, &disable, 0, nullptr, 0, nullptr, &hRestricted));
    FreeSid(disable.Sid);
    CloseHandle(hToken);

    testkit::CScratchDir dir;
    char szSelf[MAX_PATH];
    GetModuleFileNameA(nullptr, szSelf, MAX_PATH);
    std::string strCmd =
        "\"" + std::string(szSelf) + "\" --gtest_also_run_disabled_tests " +
        "--gtest_filter=TempServiceAccountChild.* --gtest_output=xml:" + dir.File("child.xml");
    STARTUPINFOA si = {};
    si.cb = sizeof(si);
    PROCESS_INFORMATION pi = {};
    ASSERT_TRUE(CreateProcessAsUserA(hRestricted, nullptr, &strCmd[0], nullptr, nullptr, FALSE, 0, nullptr,
                                     nullptr, &si, &pi));
    CloseHandle(hRestricted);
    DWORD dwExit = 0xDEAD;
    if (WaitForSingleObject(pi.hProcess, 60000) != WAIT_OBJECT_0)
    {
        TerminateProcess(pi.hProcess, dwExit);
    }
    GetExitCodeProcess(pi.hProcess, &dwExit);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    const auto xml = testkit::ReadBytes(dir.File("child.xml"));
    const std::string strXml(xml.begin(), xml.end());
    EXPECT_EQ(0u, dwExit) << strXml;
    EXPECT_NE(std::string::npos, strXml.find("tests=\"1\" failures=\"0\"")) << strXml;
}

// Whatever name it is given, the service is "Tarvos", which this prefix does not hold.
TEST_F(TempServiceDelete, MissingServiceIsAlreadyGone)
{
    EXPECT_TRUE(CCTempService::ServiceDelete("NoSuchService"));
    const auto lines = Lines();
    ASSERT_EQ(3u, lines.size()) << "Enter, one line, Leave: nothing waited for";
    EXPECT_EQ("Info\tCCTempService\tServiceDelete\tInternal\tThe service does not existe\tname='Tarvos'",
              lines[1].substr(lines[1].find("\tInfo\t") + 1));
    EXPECT_NE(std::string::npos,
              lines[0].find("\tEnter\tMethod ServiceDelete has been entered.\tServiceName='Tarvos'"));
    EXPECT_EQ(std::vector<std::string>{"ret=true"}, Messages("Leave", "Method ServiceDelete has been left."));
}

// Last: this process's token closed to everyone gives a group list size of 0, allocated as it is.
TEST_F(TempServiceAccount, ZeroGroupListSizeIsNoAllocationFailure)
{
    HANDLE hToken = nullptr;
    ACL acl;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), WRITE_DAC, &hToken) &&
                InitializeAcl(&acl, sizeof(acl), ACL_REVISION));
    ASSERT_EQ(0u, SetSecurityInfo(hToken, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &acl,
                                  nullptr));
    CloseHandle(hToken);
    EXPECT_FALSE(CCTempService::IsAdmin());
    EXPECT_EQ(1u, Messages("Internal", "GetTokenInformation failed").size());
    EXPECT_TRUE(Messages("Internal", "malloc failed").empty());
}
