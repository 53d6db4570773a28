// The body of Tarvos's entry point, after COM is initialised and the account is known.
#pragma once

#include "WbemUtil.h"

// Sets up tracing, enforces the instance limits, runs the job in-process, as the temporary
// service's process (bLocalSystem beside a running normal instance) or through the temporary
// service (/system), and returns the process exit code. Uninitialises COM before it returns.
int RunEntryPoint(WbemUtil& util, int argc, char* argv[], bool bLocalSystem);
