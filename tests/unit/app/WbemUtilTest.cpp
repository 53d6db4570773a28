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
        {{"/cf", "/mof=a.mof", "/dd"}, "Only one action: /cf, /dd, /cm is allowed", ""},
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
                      {"/backup"},
                      {"/key=SOFTWARE\\X"},
                      {"/?", "/cf", "/cm"},
                      {"cf"},
                      {}})
    {
        WbemUtil util;
        EXPECT_TRUE(Parse(util, args));
    }
}

TEST_F(WbemUtilTest, OptionsIgnoreCaseAndQuotesAreStripped)
{
    WbemUtil util;
    ASSERT_TRUE(Parse(util, {"/CF", "/Mof=\"\"sub dir\\x.mof\"", "/FoRcE"}));
    EXPECT_TRUE(util.Compile);
    EXPECT_TRUE(util.Force);
    EXPECT_FALSE(util.Delete);
    EXPECT_EQ(FullPath("sub dir\\x.mof"), util.mof);
    EXPECT_NE(std::string::npos, util.mof.find(':'));
}

TEST_F(WbemUtilTest, LaterOptionOverwritesEarlierValue)
{
    WbemUtil util;
    ASSERT_TRUE(Parse(util, {"/dd", "/ini=first.ini", "/INI=C:\\second.ini"}));
    EXPECT_EQ("C:\\second.ini", util.ini);
}

TEST_F(WbemUtilTest, KeyIsCompletedBelowLocalMachineForCm)
{
    WbemUtil withKey;
    ASSERT_TRUE(Parse(withKey, {"/cm", "/key=  SOFTWARE\\X \""}));
    EXPECT_EQ("HKEY_LOCAL_MACHINE\\SOFTWARE\\X \"", withKey.reg);
    WbemUtil withoutKey;
    ASSERT_TRUE(Parse(withoutKey, {"/cm"}));
    EXPECT_EQ("HKEY_LOCAL_MACHINE\\SOFTWARE\\Brevane\\Vintrel\\Infrastructure\\MOF", withoutKey.reg);
    WbemUtil keyOnly;
    ASSERT_TRUE(Parse(keyOnly, {"/key=SOFTWARE\\Y"}));
    EXPECT_EQ("SOFTWARE\\Y", keyOnly.reg);
}

TEST_F(WbemUtilTest, UnknownParameterIsTracedButAccepted)
{
    WbemUtil util;
    EXPECT_TRUE(Parse(util, {"/frobnicate", "/cf", "/mof=a.mof"}));
    EXPECT_EQ(std::vector<std::string>{"frobnicate"}, Messages("Internal", "Unknown parameter"));
    // The program path's own token is looked at too: it has no slash here, so it is ignored.
    EXPECT_EQ(3u, Messages("Enter", "Method ParseToken has been entered.").size());
    EXPECT_EQ((std::vector<std::string>{"ret=false", "ret=true", "ret=true"}),
              Messages("Leave", "Method ParseToken has been left."));
}

TEST_F(WbemUtilTest, CheckParamsEnterRecordShowsFlagsAndNames)
{
    WbemUtil util;
    ASSERT_TRUE(Parse(util, {"/cm", "/key=SOFTWARE\\Z", "/system"}));
    const auto enter = Messages("Enter", "Method CheckParams has been entered.");
    ASSERT_EQ(1u, enter.size());
    EXPECT_EQ(
        "\nCompile=false, Delete=false, CompileFromReg=true\nForce=false, System=true\nSetQualifiers=false\n"
        "Backup=false\nmof=''\nini=''\nreg='SOFTWARE\\Z'\n",
        enter[0]);
}
