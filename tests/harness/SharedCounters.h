// The instance counters in the shared section of a Tarvos build (Tarvos.exe or a test program
// made from its sources). The test maps the executable's image itself, so it sees the very
// integers that its running processes count in.
#pragma once

#include <windows.h>

#include <string>

namespace testkit
{
class CSharedCounters
{
public:
    explicit CSharedCounters(const std::string& strExe);
    ~CSharedCounters();
    CSharedCounters(const CSharedCounters&) = delete;
    CSharedCounters& operator=(const CSharedCounters&) = delete;
    bool IsMapped() const { return m_pnCounters != nullptr && m_bShared; }
    volatile int& Inst() { return m_pnCounters[0]; }
    volatile int& SystemInst() { return m_pnCounters[1]; }

private:
    HMODULE m_hImage = nullptr;
    volatile int* m_pnCounters = nullptr;
    bool m_bShared = false;
};
} // namespace testkit
