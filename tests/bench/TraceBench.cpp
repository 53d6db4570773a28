// Cost of the trace: a call that writes nothing (tracing off, and level too high), and a
// written record. Prints the figures; not a test.
#include "ArcaTrace.h"

#include <windows.h>

#include <cstdio>
#include <string>

namespace
{
double Seconds(LARGE_INTEGER from, LARGE_INTEGER to)
{
    LARGE_INTEGER freq;
    QueryPerformanceFrequency(&freq);
    return static_cast<double>(to.QuadPart - from.QuadPart) / static_cast<double>(freq.QuadPart);
}

double TimeCalls(CCArcaTrace& trace, unsigned nLevel, int nCalls)
{
    LARGE_INTEGER t0;
    LARGE_INTEGER t1;
    QueryPerformanceCounter(&t0);
    for (int i = 0; i < nCalls; ++i)
    {
        trace.Trace(nLevel, "CCBench::Run", "Enter", "Method Run has been entered.", "i=%d, sz='%s'", i,
                    "value");
    }
    QueryPerformanceCounter(&t1);
    return Seconds(t0, t1) / nCalls;
}
} // namespace

int main()
{
    char szTemp[MAX_PATH];
    GetTempPathA(MAX_PATH, szTemp);
    const std::string strFile = std::string(szTemp) + "tarvos_trace_bench.trc";
    DeleteFileA(strFile.c_str());

    CCArcaTrace off;
    const int nDisabled = 20000000;
    printf("tracing off:        %8.2f ns/call\n", TimeCalls(off, 3, nDisabled) * 1e9);

    CCArcaTrace on;
    on.InitExplicit(strFile.c_str(), 3, TRCFLAG_CLEAR);
    printf("level too high:     %8.2f ns/call\n", TimeCalls(on, 6, nDisabled) * 1e9);
    const int nWritten = 5000;
    printf("record written:     %8.2f us/record\n", TimeCalls(on, 3, nWritten) * 1e6);
    DeleteFileA(strFile.c_str());
    return 0;
}
