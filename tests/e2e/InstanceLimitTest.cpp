// The instance counters in Tarvos.exe's shared section. The test maps the executable's
// image itself, so it sees the very integers that a running Tarvos.exe counts in.
#include "TestKit.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
class CSharedCounters
{
public:
    CSharedCounters()
    {
        m_hImage = LoadLibraryExA(testkit::TarvosExe().c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
        if (m_hImage == nullptr)
        {
            return;
        }
        BYTE* pBase = reinterpret_cast<BYTE*>(m_hImage);
        const auto* pDos = reinterpret_cast<const IMAGE_DOS_HEADER*>(pBase);
        const auto* pNt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(pBase + pDos->e_lfanew);
        const IMAGE_SECTION_HEADER* pSection = IMAGE_FIRST_SECTION(pNt);
        for (WORD i = 0; i < pNt->FileHeader.NumberOfSections; ++i, ++pSection)
        {
            if (memcmp(pSection->Name, ".tvshare", 8) == 0)
            {
                m_bShared = (pSection->Characteristics & IMAGE_SCN_MEM_SHARED) != 0;
                m_pnCounters = reinterpret_cast<volatile int*>(pBase + pSection->VirtualAddress);
            }
        }
    }
    ~CSharedCounters()
    {
        if (m_hImage != nullptr)
        {
            FreeLibrary(m_hImage);
        }
    }
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
} // namespace

TEST(InstanceLimit, SecondNormalInstanceIsRefusedAndCountersStayBalanced)
{
    CSharedCounters counters;
    ASSERT_TRUE(counters.IsMapped());
    ASSERT_EQ(0, counters.Inst());
    ASSERT_EQ(0, counters.SystemInst());

    // As if a normal instance were running.
    counters.Inst() = 1;
    const auto refused = testkit::RunTarvos("/cf /mof=a.mof");
    EXPECT_EQ(23u, refused.dwExitCode);
    const auto limit = refused.Records("main", "Exception", "Too many normal instances");
    ASSERT_EQ(1u, limit.size());
    EXPECT_EQ("gg_nInst=2", testkit::SplitTabs(limit[0])[8]);
    EXPECT_TRUE(refused.Has("\ngg_nInst=1, gg_nSystemInst=0"));
    EXPECT_TRUE(refused.Records("WbemUtil::ParseCmdLine").empty());
    const auto leave = refused.Records("main", "Leave");
    ASSERT_EQ(1u, leave.size());
    EXPECT_EQ("nReturn=23 '23, EXITCODE_ERR_GENERAL_ERROR'", testkit::SplitTabs(leave[0])[8]);
    EXPECT_EQ(1, counters.Inst()) << "the refused run must take its count back";

    // The first instance ends: the next run passes the limit again.
    counters.Inst() = 0;
    const auto passed = testkit::RunTarvos("");
    EXPECT_EQ(7u, passed.dwExitCode);
    EXPECT_TRUE(passed.Has("\ngg_nInst=0, gg_nSystemInst=0"));
    EXPECT_EQ(0, counters.Inst());
    EXPECT_EQ(0, counters.SystemInst());
}
