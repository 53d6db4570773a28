// The counters live in their own data section, which the linker marks shared: all
// processes of the executable map the same three integers. They are changed with plain
// increments and decrements; two processes starting at the same instant may miscount.
// One array keeps their order in the section fixed, whatever order the compiler emits
// separate variables in.
#include "SharedCounters.h"

#if defined(_MSC_VER)
#pragma data_seg(".tvshare")
volatile int gg_anSharedCounters[3] = {0, 0, 0};
#pragma data_seg()
#pragma comment(linker, "/SECTION:.tvshare,RWS")
#else
volatile int gg_anSharedCounters[3] __attribute__((section(".tvshare"), shared)) = {0, 0, 0};
#endif

volatile int& gg_nInst = gg_anSharedCounters[0];
volatile int& gg_nSystemInst = gg_anSharedCounters[1];
volatile int& gg_nSvcExitcode = gg_anSharedCounters[2];
