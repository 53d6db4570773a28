// TarvosSvcHost.exe: Tarvos's own entry point (src/app/main.cpp, compiled in here unchanged) for
// the service side of /system under Wine's service control manager. Under Wine no process runs
// as LocalSystem, so in this program the account test answers true whenever a normal instance
// of it is running: that is the process the service control manager starts from it for the
// temporary service, and also when TVS_LOCALSYSTEM is set (a LocalSystem run beside no normal
// instance). The real account test still runs first, so the trace is the product's.
#include "ArcaTrace.h"
#include "DoTheJob.h"
#include "ExitCode.h"
#include "SharedCounters.h"
#include "TempService.h"
#include "TempServiceProc.h"
#include "WbemUtil.h"

#include <objbase.h>

namespace
{
class CCTempServiceHost : public CCTempService
{
public:
    static bool IsLocalSystem()
    {
        CCTempService::IsLocalSystem();
        return gg_nInst > 0 || GetEnvironmentVariableA("TVS_LOCALSYSTEM", nullptr, 0) != 0;
    }
};
} // namespace

#define CCTempService CCTempServiceHost
#include "main.cpp"
