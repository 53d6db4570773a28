// Tarvos: brings the WMI schema of the management agent into shape. The only result is
// the process exit code; the story goes to the trace file.
#include "EntryPoint.h"
#include "TempService.h"
#include "WbemUtil.h"

#include <objbase.h>

int main(int argc, char* argv[])
{
    WbemUtil util;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    return RunEntryPoint(util, argc, argv, CCTempService::IsLocalSystem());
}
