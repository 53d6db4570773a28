// Parsing and checking of the command line.
#include "AppTestSupport.h"
#include "WbemUtil.h"

#include <initializer_list>

namespace
{
// Parses a command line given as its arguments (the program path first).
bool Parse(WbemUtil& util, std::initializer_list<const char*> args)
{
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>("C:\\bin\\Tarvos.exe"));
    for (const char* sz : args)
        argv.push_back(const_cast<char*>(sz));
    return util.ParseCmdLine(static_cast<int>(argv.size()), argv.data());
}

std::string FullPath(const char* szName)
{
    char sz[MAX_PATH];
    GetFullPathNameA(szName, MAX_PATH, sz, nullptr);
    return sz;
}
} // namespace

using WbemUtilTest = CapturedTraceTest;

// Each refused line: exactly one level-1 record, the check's, with its detail.
TEST_F(WbemUtilTest, EveryRefusalHasItsMessage)
{
    const struct
    {
        std::initializer_list<const char*> args;
        const char* szMessage;
        std::string strDetail;
    } cases[] = {
        {{"/cf", "/mof=a.mof", "/ini=b.ini"},
         "It is not possible to have ini-file with /cf",
         "name='" + FullPath("b.ini") + "'"},
        {{"/cf", "/mof=a.mof", "/key=SOFTWARE\\X"},
         "It is not possible to have a reg key with /cf",
         "name='SOFTWARE\\X'"},
        {{"/cf", "/mof="}, "Name of MOF file is missing with /cf", ""},
        {{"/dd", "/ini=a.ini", "/key=K"}, "It is not possible to have a reg key with /dd", "name='K'"},
        {{"/dd"}, "At least a mof file or ini file has to be specified with /dd", ""},
        {{"/dd", "/ini=a.ini", "/system"}, "It is not possible to have /system with /dd", ""},
        {{"/cm", "/ini=a.ini"},
         "It is not possible to have ini-file with /cm",
         "name='" + FullPath("a.ini") + "'"},
        {{"/cm", "/mof=a.mof"}, "It is not possible to have MOF file with /cm", "name=''"},
        {{"/cm", "/force"}, "It is not possible to have /force parameter with /cm", ""},
        {{"/sq"}, "/sq requires /ini with a configuration file", ""},
        {{"/sq", "/dd", "/ini=a.ini"}, "Only one action: /cf, /dd, /cm is allowed", ""},
        // /cm with /sq never reaches the action count: one of their INI checks refuses it first.
        {{"/cm", "/sq", "/ini=a.ini", "/backup"},
         "It is not possible to have ini-file with /cm",
         "name='" + FullPath("a.ini") + "'"},
        {{"/cm", "/sq"}, "/sq requires /ini with a configuration file", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szMessage);
        m_trace.Enable_Off();
        DeleteFileA(m_strPath.c_str());
        m_trace.Enable_On();
        WbemUtil util;
        EXPECT_FALSE(Parse(util, c.args));
        EXPECT_EQ(std::vector<std::string>{c.strDetail}, Messages("Internal", c.szMessage));
        EXPECT_EQ(std::vector<std::string>{"ret=false"},
                  Messages("Leave", "Method CheckParams has been left."));
        size_t nErrors = 0;
        for (const auto& strLine : Lines())
            nErrors += testkit::SplitTabs(strLine)[3] == "Error" ? 1 : 0;
        EXPECT_EQ(1u, nErrors);
    }
}

TEST_F(WbemUtilTest, AcceptedCombinations)
{
    for (auto args : {std::initializer_list<const char*>{"/cf", "/mof=a.mof", "/system", "/force"},
                      {"/cm", "/system"},
                      {"/sq", "/ini=q.ini", "/system", "/force"},
                      {"/dd", "/ini=a.ini", "/force"},
                      {"/dd", "/mof=a.mof", "/ini=a.ini"},
                      {"/key=SOFTWARE\\X"}})
    {
        WbemUtil util;
        EXPECT_TRUE(Parse(util, args));
    }
}

// Options in any case, quotes stripped, the later of two values kept.
TEST_F(WbemUtilTest, OptionsIgnoreCaseQuotesAreStrippedAndTheLaterValueCounts)
{
    WbemUtil util;
    ASSERT_TRUE(
        Parse(util, {"/DD", "/Mof=\"\"sub dir\\x.mof\"", "/FoRcE", "/ini=first.ini", "/INI=C:\\b.ini"}));
    EXPECT_TRUE(util.Delete && util.Force && !util.Compile);
    EXPECT_EQ(FullPath("sub dir\\x.mof"), util.mof);
    EXPECT_EQ("C:\\b.ini", util.ini);
}

// CheckParams's Enter record shows what was parsed; the key of /cm is completed after it.
TEST_F(WbemUtilTest, KeyIsCompletedBelowLocalMachineForCmAfterTheEnterRecord)
{
    WbemUtil withKey;
    ASSERT_TRUE(Parse(withKey, {"/cm", "/key=  SOFTWARE\\Z \"", "/system"}));
    EXPECT_EQ("HKEY_LOCAL_MACHINE\\SOFTWARE\\Z \"", withKey.reg);
    EXPECT_EQ(std::vector<std::string>{"\nCompile=false, Delete=false, CompileFromReg=true\nForce=false, "
                                       "System=true\nSetQualifiers=false\nBackup=false\nmof=''\nini=''\n"
                                       "reg='SOFTWARE\\Z \"'\n"},
              Messages("Enter", "Method CheckParams has been entered."));
    WbemUtil keyOnly;
    ASSERT_TRUE(Parse(keyOnly, {"/key=SOFTWARE\\Y"}));
    EXPECT_EQ("SOFTWARE\\Y", keyOnly.reg);
}
