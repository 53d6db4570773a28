// TarvosSvcHost.exe: Tarvos's own sources with only this entry point, for the service side of
// /system under Wine's service control manager. Under Wine no process runs as LocalSystem, so
// this program counts as the LocalSystem process whenever a normal instance of it is running:
// that is the process the service control manager starts from it for the temporary service.
// Everything after the account test is the product's entry point unchanged.
#include "EntryPoint.h"
#include "SharedCounters.h"
#include "WbemUtil.h"

#include <objbase.h>

int main(int argc, char* argv[])
{
    WbemUtil util;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    return RunEntryPoint(util, argc, argv, gg_nInst > 0);
}
