#include "EmuWorld.h"

#include <gtest/gtest.h>

namespace testkit
{
namespace
{
const char* const kVariables[2] = {"WMIEMU_REPOSITORY", "WMIEMU_FAULTS"};
LONG gg_nLiveWorlds = 0;
} // namespace

CEmuWorld::CEmuWorld()
{
    m_bLive = InterlockedCompareExchange(&gg_nLiveWorlds, 1, 0) == 0;
    if (!m_bLive)
    {
        ADD_FAILURE() << "a second CEmuWorld while one is live would redirect the first";
        return;
    }
    const std::string astrFiles[2] = {Dir().File("repository.txt"), Dir().File("faults.txt")};
    for (int i = 0; i < 2; ++i)
    {
        char szValue[32768];
        const DWORD cch = GetEnvironmentVariableA(kVariables[i], szValue, sizeof(szValue));
        m_astrBefore[i] =
            cch == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND ? "\n" : std::string(szValue, cch);
        SetEnvironmentVariableA(kVariables[i], astrFiles[i].c_str());
    }
    Reset();
}

void CEmuWorld::Reset() const
{
    if (!m_bLive)
        return;
    DWORD dwExit = 0;
    Tool("reset", &dwExit);
    EXPECT_EQ(0u, dwExit) << "wmiemutool reset";
    DeleteFileA(Dir().File("faults.txt").c_str());
}

CEmuWorld::~CEmuWorld()
{
    if (!m_bLive)
        return;
    for (int i = 0; i < 2; ++i)
        SetEnvironmentVariableA(kVariables[i], m_astrBefore[i] == "\n" ? nullptr : m_astrBefore[i].c_str());
    InterlockedExchange(&gg_nLiveWorlds, 0);
}

void CEmuWorld::Seed(const std::string& strText) const
{
    DWORD dwExit = 0;
    const std::string strOut = Tool("seed \"" + WriteMof("seed.mof", strText) + "\"", &dwExit);
    EXPECT_EQ(0u, dwExit) << "wmiemutool seed: " << strOut;
}

std::string CEmuWorld::Dump(const std::string& strNamespace) const
{
    DWORD dwExit = 0;
    const std::string strOut = Tool("dump \"" + strNamespace + "\"", &dwExit);
    if (dwExit == 0 && m_bLive)
        return strOut;
    ADD_FAILURE() << "wmiemutool dump " << strNamespace << " ended with " << dwExit << ": " << strOut;
    return FailedDump();
}

void CEmuWorld::Fault(const std::string& strLine) const
{
    DWORD dwExit = 0;
    Tool("fault \"" + strLine + "\"", &dwExit);
    EXPECT_EQ(0u, dwExit) << "wmiemutool fault";
}

std::string CEmuWorld::Tool(const std::string& strArgs, DWORD* pdwExit) const
{
    const std::string strExe = TarvosExe().substr(0, TarvosExe().rfind('\\') + 1) + "wmiemutool.exe";
    const TarvosRun run = RunProgram("\"" + strExe + "\" " + strArgs, Dir().Path(), 60000);
    if (pdwExit != nullptr)
    {
        *pdwExit = run.dwExitCode;
    }
    std::string strOut;
    for (char c : run.strStdout)
    {
        if (c != '\r')
        {
            strOut += c;
        }
    }
    return strOut;
}
} // namespace testkit
