// The service procedure of the temporary service: the job run inside the service process.
#pragma once

#include <windows.h>

// Parses the start arguments again, runs the job and stores its exit code, unchanged, in
// gg_nSvcExitcode (1 when the command line is rejected).
void TempServiceProc(DWORD dwArgc, char** pszArgv);
