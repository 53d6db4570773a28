// Instance counters shared by every process started from this executable file.
#pragma once

extern volatile int gg_nInst;        // running normal instances
extern volatile int gg_nSystemInst;  // running LocalSystem instances
extern volatile int gg_nSvcExitcode; // the temporary service's job result
