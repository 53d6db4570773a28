// The counters live in their own data section, which the linker marks shared: all
// processes of the executable map the same three integers. They are changed with plain
// increments and decrements; two processes starting at the same instant may miscount.
#include "SharedCounters.h"

#if defined(_MSC_VER)
#pragma data_seg(".tvshare")
volatile int gg_nInst = 0;
volatile int gg_nSystemInst = 0;
volatile int gg_nSvcExitcode = 0;
#pragma data_seg()
#pragma comment(linker, "/SECTION:.tvshare,RWS")
#else
#define TARVOS_SHARED __attribute__((section(".tvshare"), shared))
volatile int gg_nInst TARVOS_SHARED = 0;
volatile int gg_nSystemInst TARVOS_SHARED = 0;
volatile int gg_nSvcExitcode TARVOS_SHARED = 0;
#endif
