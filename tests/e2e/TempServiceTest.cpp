// /system through Wine's service control manager: Tarvos.exe shows the normal side (the service,
// its configuration, a leftover), TarvosSvcHost.exe the service side (see TempServiceHost.cpp).
#include "E2eSupport.h"
#include "ScHandle.h"
#include "SharedCounters.h"
#include "TempService.h"

using namespace e2e;

namespace
{
const char kServiceTraceKey[] = "Software\\Brevane\\Common\\Tracing\\TarvosSvc.exe\\1.02";

std::string HostExe()
{
    return TarvosExe().substr(0, TarvosExe().rfind('\\') + 1) + "TarvosSvcHost.exe";
}

// The "Tarvos" service as the service control manager holds it; "" when there is none.
std::string ServiceConfig()
{
    CCScHandle scm(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    CCScHandle service(OpenServiceA(scm.Get(), "Tarvos", SERVICE_ALL_ACCESS));
    alignas(QUERY_SERVICE_CONFIGA) BYTE abConfig[8192];
    auto* p = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(abConfig);
    DWORD cb = 0;
    if (!service || !QueryServiceConfigA(service.Get(), p, sizeof(abConfig), &cb))
        return "";
    char szNumbers[80];
    snprintf(szNumbers, sizeof(szNumbers), "type=0x%lx start=%lu error=%lu tag=%lu", p->dwServiceType,
             p->dwStartType, p->dwErrorControl, p->dwTagId);
    return std::string(szNumbers) + " path=" + p->lpBinaryPathName + " group=" + p->lpLoadOrderGroup +
           " deps=" + p->lpDependencies + " account=" + p->lpServiceStartName +
           " display=" + p->lpDisplayName;
}

struct ServiceRun
{
    TarvosRun normal;  // exit code and the records of Tarvos.exe's trace key
    TarvosRun service; // the records of TarvosSvc.exe's trace key
};

class TempService : public ::testing::Test
{
protected:
    CEmuWorld m_world;
    // The service process does not inherit the test's environment: these name the world's files.
    CSavedValue m_repository{HKEY_LOCAL_MACHINE, "Software\\WmiEmu", "Repository",
                             m_world.Dir().File("repository.txt").c_str()};
    CSavedValue m_faults{HKEY_LOCAL_MACHINE, "Software\\WmiEmu", "Faults",
                         m_world.Dir().File("faults.txt").c_str()};

    void SetUp() override
    {
        CCTempService::ServiceDelete("Tarvos");
        ASSERT_EQ("", ServiceConfig());
    }
    void TearDown() override { CCTempService::ServiceDelete("Tarvos"); }

    // Runs a program in the world's folder; both trace keys append, for two processes per file.
    ServiceRun Run(const std::string& strExe, const std::string& strArgs)
    {
        CScratchDir dir;
        CScratchKey aKeys[2] = {CScratchKey(kTarvosTraceKey), CScratchKey(kServiceTraceKey)};
        for (int i = 0; i < 2; ++i)
        {
            aKeys[i].SetDword("Trace", 1);
            aKeys[i].SetDword("TraceLevel", 6);
            aKeys[i].SetDword("TraceClear", 0);
            aKeys[i].SetString("TraceFile", dir.File(std::to_string(i) + ".trc"));
        }
        const TarvosRun program = RunProgram("\"" + strExe + "\" " + strArgs, m_world.Dir().Path(), 100000);
        ServiceRun run{ReadTrace(dir.File("0.trc")), ReadTrace(dir.File("1.trc"))};
        run.normal.dwExitCode = program.dwExitCode;
        run.normal.bTimedOut = program.bTimedOut;
        return run;
    }
};
} // namespace

// Under Wine the service process is not LocalSystem, so Tarvos.exe started by the service control
// manager is a second normal instance: refused, the start fails, nothing is waited for or deleted.
TEST_F(TempService, TarvosExeCreatesTheServiceAndALeftoverIsReplaced)
{
    const std::string strMof = m_world.WriteMof("agent.mof", VersionedAgent("1.0"));
    const std::string strArgs = "/cf \"/mof=" + strMof + "\" /system";
    const ServiceRun first = Run(TarvosExe(), strArgs);
    ASSERT_FALSE(first.normal.bTimedOut);
    EXPECT_EQ("type=0x110 start=3 error=1 tag=0 path=" + TarvosExe() +
                  " group= deps= account=LocalSystem display=Tarvos",
              ServiceConfig());
    // The start failed: no wait and no deletion; the code is the shared section's, 0.
    const std::string strTimeout = "err=0x41D, 'Service request timeout.'";
    ExpectRecords(first.normal,
                  {{"CCTempService::RunAsService", "Enter", "", "argc=4"},
                   {"CCTempService::StartAsService", "Enter", "", "argc=4"},
                   {"CCTempService::IsAdmin", "Leave", "", "ret=true"},
                   {"CCTempService::RegisterDispatcher", "", "", "<0 records>"},
                   {"CCTempService::StartAsService", "Internal", "StartService failed", strTimeout},
                   {"CCTempService::WaitForServiceEnd", "", "", "<0 records>"},
                   {"CCTempService::CleanUp", "", "", "<0 records>"}});
    EXPECT_EQ(0u, first.normal.dwExitCode);

    // The service's process, in the same trace file: not LocalSystem, so over the limit.
    const auto refused = first.normal.Records("main", "Exception", "Too many normal instances");
    ASSERT_EQ(1u, refused.size());
    EXPECT_EQ("gg_nInst=2", Message(refused[0]));
    const auto leaves = first.normal.Records("main", "Leave");
    ASSERT_EQ(2u, leaves.size());
    EXPECT_NE(SplitTabs(refused[0])[1], SplitTabs(leaves.back())[1])
        << "the refused process is not the normal one";
    EXPECT_EQ("nReturn=0 '0, EXITCODE_OK'", Message(leaves.back()));

    // The second run finds the leftover, deletes it and creates the service again: the start fails
    // as before, not for want of a service handle.
    const ServiceRun second = Run(TarvosExe(), strArgs);
    const char kDelete[] = "CCTempService::ServiceDelete";
    ExpectRecords(second.normal,
                  {{kDelete, "Enter", "", "", false, true},
                   {kDelete, "Internal", "The service was successfully deleted", "name='Tarvos'"},
                   {kDelete, "Internal", "The service doesn't exist => OK", "name='Tarvos'"},
                   {kDelete, "Leave", "", "ret=true"},
                   {"CCTempService::StartAsService", "Internal", "StartService failed", strTimeout}});
    EXPECT_NE("", ServiceConfig());
    EXPECT_EQ(0u, second.normal.dwExitCode);
}

TEST_F(TempService, JobRunsInsideTheServiceAndItsCodeComesBack)
{
    struct Case
    {
        const char* szName;
        std::string strCommand, strFile, strSeed, strAfter; // /cf's MOF, /cm's listed MOF or /sq's INI
        int nJob;
        DWORD dwExit;
        std::string strBackup; // what /sq /backup leaves in the INI's backup
    };
    const std::string strSq = "[Qualifier]\r\n1=root\\TarvosTest:Tvs_Agent.Version=\"4.0\"\r\n";
    const Case aCases[] = {
        {"compiled", "cf", VersionedAgent("2.0"), "", VersionedAgent("2.0"), 0, 0, ""},
        {"not newer", "cf", VersionedAgent("1.0"), VersionedAgent("5.0"), VersionedAgent("5.0"), 18, 0, ""},
        {"compile error", "cf", VersionedAgent("3.0", "instance of Tvs_Agent { Name = ; };\n"), "", "", 17,
         17, ""},
        {"listed", "cm", VersionedAgent("2.0"), VersionedAgent("1.0"), VersionedAgent("2.0"), 0, 0, ""},
        {"qualifier", "sq", strSq, VersionedAgent("1.0"),
         ClassMof("Tvs_Agent", "[Version(\"4.0\"):Restricted]\n"), 0, 0,
         "[Qualifier]\r\n1=root\\TarvosTest:Tvs_Agent.Version=\"1.0\"\r\n"},
    };
    CSharedCounters counters(HostExe()); // held open: the counters outlive each run
    CScratchKey key("SOFTWARE\\TarvosTestMOF_Service");
    for (const Case& c : aCases)
    {
        SCOPED_TRACE(c.szName);
        const std::string strAfter = m_world.DumpOf(c.strAfter);
        m_world.DumpOf(c.strSeed);
        const bool bSq = c.strCommand == "sq";
        const std::string strFile = m_world.WriteMof(bSq ? "agent.ini" : "agent.mof", c.strFile);
        key.SetString("agent", strFile);
        const std::string strBackup = m_world.WriteMof("agent_backup.ini", "");
        const std::string strOption = c.strCommand == "cf" ? "mof" : bSq ? "ini" : "key";
        const std::string strTarget = c.strCommand == "cm" ? key.SubKey() : strFile;
        const ServiceRun run = Run(HostExe(), "/" + c.strCommand + " \"/" + strOption + "=" + strTarget +
                                                  "\"" + (bSq ? " /backup" : "") + " /system");
        ASSERT_FALSE(run.normal.bTimedOut);
        EXPECT_EQ(c.dwExit, run.normal.dwExitCode);
        // Normal side: started, waited for, deleted; 18 becomes 0 only here.
        EXPECT_EQ(0, counters.Inst());
        EXPECT_EQ(0, counters.SystemInst());
        ExpectRecords(run.normal,
                      {{"CCTempService::StartAsService", "Leave", "", "ret=0x00000000, ", false, true},
                       {"CCTempService::WaitForServiceEnd", "Enter", "", "dwTimeOut=5000"},
                       {"CCTempService::WaitForServiceEnd", "Leave", "", "ret='true'"},
                       {"CCTempService::ServiceDelete", "Leave", "", "ret=true"},
                       {"DoTheJob", "", "", "<0 records>"}});
        EXPECT_EQ(c.nJob == 18 ? 1u : 0u, OldVersionForgiven(run.normal));
        EXPECT_EQ("", ServiceConfig()) << "the service is gone";

        // Service side: the dispatcher, the whole argument vector, the job's code unchanged.
        ExpectRecords(
            run.service,
            {{"main", "Enter", "Tarvos called",
              "bLocalSystem='true'\nargv[0]='" + HostExe() +
                  "'\nargv[1]='null'\nargv[2]='null'\nargv[3]='null'\ngg_nInst=1, gg_nSystemInst=0"},
             {"CCTempService::RegisterDispatcher", "Enter", "", "pszServiceName='Tarvos', proc=0x", false,
              true},
             {"TempServiceProc", "Enter", "",
              "\nargc=" + std::string(bSq ? "6" : "5") + "\nargv[0]='Tarvos'\nargv[1]='" + HostExe() +
                  "'\nargv[2]='/" + c.strCommand + "'"},
             {"TempServiceProc", "Leave", "", "gg_nSvcExitcode=" + std::to_string(c.nJob)},
             {"CCTempService::RegisterDispatcher", "Leave", "", "ret=0x00000000"},
             {"main", "Leave", "", "nReturn=0 '0, EXITCODE_OK'"}});
        for (const std::string& strParsed :
             {std::string("System=true"), "Backup=" + std::string(bSq ? "true" : "false"),
              (bSq || strOption == "mof" ? strOption : "reg") + "='" + strTarget + "'"})
            EXPECT_NE(std::string::npos, run.service.strTrace.find(strParsed)) << strParsed;
        EXPECT_EQ(0u, OldVersionForgiven(run.service));
        EXPECT_EQ(strAfter, m_world.Dump("root"));
        const std::vector<unsigned char> backup = ReadBytes(strBackup);
        EXPECT_EQ(c.strBackup, std::string(backup.begin(), backup.end()));
    }
}

// Wine's service control manager hands the start arguments over as a list that an empty one ends:
// the service sees "/cf /system" without the MOF and refuses the command line the normal side took.
TEST_F(TempService, CommandLineRefusedInsideTheServiceIsOne)
{
    const ServiceRun run = Run(HostExe(), "/cf /system \"\" \"/mof=" + m_world.WriteMof("a.mof", "") + "\"");
    EXPECT_EQ(1u, run.normal.dwExitCode);
    ExpectRecords(run.service,
                  {{"TempServiceProc", "Exception", "ParseCmdLine returned error", "Error ", true},
                   {"TempServiceProc", "Leave", "", "gg_nSvcExitcode=1"},
                   {"DoTheJob", "", "", "<0 records>"}});
    EXPECT_EQ("nReturn=1 '1, '", Only(run.normal, "main", "Leave"));
}

// As LocalSystem but not started as a service: beside a normal instance the dispatcher fails and
// the job runs here; beside none there is no dispatcher; a second LocalSystem instance is refused.
TEST_F(TempService, LocalSystemProcessNotStartedAsService)
{
    CSharedCounters counters(HostExe());
    ASSERT_TRUE(counters.IsMapped());
    m_world.Seed(VersionedAgent("5.0"));
    const std::string strMof = m_world.WriteMof("agent.mof", VersionedAgent("1.0"));
    const struct
    {
        int nInst, nSystemInst;
        DWORD dwExit;
        bool bDispatcher;
    } cases[] = {{1, 0, 0, true}, {0, 0, 0, false}, {1, 1, 23, false}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.nInst * 10 + c.nSystemInst);
        counters.Inst() = c.nInst; // as if a normal instance were running
        counters.SystemInst() = c.nSystemInst;
        SetEnvironmentVariableA("TVS_LOCALSYSTEM", c.nInst == 0 ? "1" : nullptr);
        const ServiceRun run = Run(HostExe(), "/cf \"/mof=" + strMof + "\"");
        EXPECT_EQ(c.nInst, counters.Inst());
        EXPECT_EQ(c.nSystemInst, counters.SystemInst()) << "counters balanced";
        EXPECT_EQ(c.dwExit, run.normal.dwExitCode);
        EXPECT_TRUE(run.normal.lines.empty()) << "the process traces as the LocalSystem one";
        EXPECT_EQ(c.bDispatcher ? "ret=0x00000427" : "<0 records>",
                  Only(run.service, "CCTempService::RegisterDispatcher", "Leave"));
        EXPECT_TRUE(run.service.Records("CCTempService::ServiceMain").empty());
        EXPECT_EQ(c.dwExit ? "<0 records>" : "nReturn=18 '18, EXITCODE_ERR_MOF_OLD_VERSION'",
                  Only(run.service, "DoTheJob", "Leave"));
        EXPECT_EQ(c.dwExit == 23 ? "gg_nSystemInst=2" : "<0 records>",
                  Only(run.service, "main", "Exception", "Too many localsystem instances"));
    }
    SetEnvironmentVariableA("TVS_LOCALSYSTEM", nullptr);
    counters.Inst() = 0;
    counters.SystemInst() = 0;
}
