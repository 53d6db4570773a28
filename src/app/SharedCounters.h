// Instance counters shared by every process started from this executable file.
#pragma once

// The shared section holds the three integers in this order.
extern volatile int gg_anSharedCounters[3];

extern volatile int& gg_nInst;        // running normal instances
extern volatile int& gg_nSystemInst;  // running LocalSystem instances
extern volatile int& gg_nSvcExitcode; // the temporary service's job result
