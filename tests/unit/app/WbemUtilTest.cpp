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
    const std::string strIni = "name='" + FullPath("a.ini") + "'"; // relative names become full paths
    const struct
    {
        std::initializer_list<const char*> args;
        const char* szMessage;
        std::string strDetail;
    } cases[] = {
        {{"/cf", "/mof=a.mof", "/ini=a.ini"}, "It is not possible to have ini-file with /cf", strIni},
        {{"/cf", "/mof=a.mof", "/key=K"}, "It is not possible to have a reg key with /cf", "name='K'"},
        {{"/cf", "/mof="}, "Name of MOF file is missing with /cf", ""},
        {{"/dd", "/ini=a.ini", "/key=K"}, "It is not possible to have a reg key with /dd", "name='K'"},
        {{"/dd"}, "At least a mof file or ini file has to be specified with /dd", ""},
        {{"/dd", "/ini=a.ini", "/system"}, "It is not possible to have /system with /dd", ""},
        {{"/cm", "/ini=a.ini"}, "It is not possible to have ini-file with /cm", strIni},
        {{"/cm", "/mof=a.mof"}, "It is not possible to have MOF file with /cm", "name=''"},
        {{"/cm", "/force"}, "It is not possible to have /force parameter with /cm", ""},
        {{"/sq"}, "/sq requires /ini with a configuration file", ""},
        {{"/sq", "/dd", "/ini=a.ini"}, "Only one action: /cf, /dd, /cm is allowed", ""},
        // /cm with /sq never reaches the action count: one of their INI checks refuses it first.
        {{"/cm", "/sq", "/ini=a.ini", "/backup"}, "It is not possible to have ini-file with /cm", strIni},
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

// Accepted lines and what they set: options in any case, the later of two values kept, the key of
// /cm completed below HKEY_LOCAL_MACHINE; each action's plain lines are proven end to end.
TEST_F(WbemUtilTest, AcceptedLinesAndWhatTheySet)
{
    const struct
    {
        std::initializer_list<const char*> args;
        std::string strParsed; // the options set, then mof|ini|reg
    } cases[] = {
        {{"/sq", "/ini=a.ini", "/system", "/force"}, "/force /system /sq |" + FullPath("a.ini") + "|"},
        {{"/key=SOFTWARE\\X"}, "||SOFTWARE\\X"},
        {{"/DD", "/FoRcE", "/ini=first.ini", "/INI=C:\\b.ini"}, "/dd /force |C:\\b.ini|"},
        {{"/cm", "/key=  SOFTWARE\\Z \"", "/system"}, "/cm /system ||HKEY_LOCAL_MACHINE\\SOFTWARE\\Z \""},
    };
    for (const auto& c : cases)
    {
        WbemUtil util;
        EXPECT_TRUE(Parse(util, c.args));
        const std::pair<BOOL, const char*> options[] = {
            {util.Compile, "/cf"},   {util.Delete, "/dd"},     {util.CompileFromReg, "/cm"},
            {util.Force, "/force"},  {util.System, "/system"}, {util.SetQualifiers, "/sq"},
            {util.Backup, "/backup"}};
        std::string strParsed;
        for (const auto& option : options)
            strParsed += option.first ? std::string(option.second) + " " : "";
        EXPECT_EQ(c.strParsed, strParsed + util.mof + "|" + util.ini + "|" + util.reg);
    }
    // CheckParams's Enter record shows the last line as parsed, its key before the completion.
    EXPECT_EQ(
        "\nCompile=false, Delete=false, CompileFromReg=true\nForce=false, System=true\nSetQualifiers=false\n"
        "Backup=false\nmof=''\nini=''\nreg='SOFTWARE\\Z \"'\n",
        Messages("Enter", "Method CheckParams has been entered.").back());
}
