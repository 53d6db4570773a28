#include "EmuWorld.h"

#include <gtest/gtest.h>

namespace testkit
{
CEmuWorld::CEmuWorld()
{
    SetEnvironmentVariableA("WMIEMU_REPOSITORY", Dir().File("repository.txt").c_str());
    SetEnvironmentVariableA("WMIEMU_FAULTS", Dir().File("faults.txt").c_str());
    Reset();
}

void CEmuWorld::Reset() const
{
    DWORD dwExit = 0;
    Tool("reset", &dwExit);
    EXPECT_EQ(0u, dwExit) << "wmiemutool reset";
    DeleteFileA(Dir().File("faults.txt").c_str());
}

CEmuWorld::~CEmuWorld()
{
    SetEnvironmentVariableA("WMIEMU_REPOSITORY", nullptr);
    SetEnvironmentVariableA("WMIEMU_FAULTS", nullptr);
}

void CEmuWorld::Seed(const std::string& strText) const
{
    DWORD dwExit = 0;
    const std::string strOut = Tool("seed \"" + WriteMof("seed.mof", strText) + "\"", &dwExit);
    EXPECT_EQ(0u, dwExit) << "wmiemutool seed: " << strOut;
}

std::string CEmuWorld::Dump(const std::string& strNamespace) const
{
    return Tool("dump \"" + strNamespace + "\"");
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
