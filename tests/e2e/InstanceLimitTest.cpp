// The instance counters in Tarvos.exe's shared section.
#include "SharedCounters.h"
#include "TestKit.h"

#include <gtest/gtest.h>

TEST(InstanceLimit, SecondNormalInstanceIsRefusedAndCountersStayBalanced)
{
    testkit::CSharedCounters counters(testkit::TarvosExe());
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
