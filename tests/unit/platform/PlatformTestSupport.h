// Shared set-up of the platform tests: the process's trace switched on into a scratch file,
// the records read back, and a scratch registry key of the test's own.
#pragma once

#include "ArcaTrace.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using testkit::TraceRecord;

class TracedTest : public ::testing::Test
{
protected:
    testkit::CScratchDir m_dir;
    std::string m_strTrace = m_dir.File("platform.trc");

    void SetUp() override { gg_ptrc->InitExplicit(m_strTrace.c_str(), 6, TRCFLAG_CLEAR); }
    // The records of one method (all when empty), optionally of one category only.
    std::vector<TraceRecord> Records(const std::string& strMethod = "",
                                     const std::string& strCategory = "") const
    {
        return testkit::TraceRecords(m_strTrace, strMethod, strCategory);
    }
};

// A registry key of the test under HKEY_LOCAL_MACHINE, removed with its sub-tree at the end.
class RegKeyTest : public TracedTest
{
protected:
    // Removes the common parent of the tests' keys once the key of this test is gone.
    struct ParentCleanup
    {
        ~ParentCleanup() { RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\TarvosUnitPlatform"); }
    } m_parentCleanup;
    std::string m_strSub = std::string("SOFTWARE\\TarvosUnitPlatform\\") +
                           ::testing::UnitTest::GetInstance()->current_test_info()->name();
    testkit::CScratchKey m_key{m_strSub};
    std::string m_strFull = "HKEY_LOCAL_MACHINE\\" + m_strSub;
};
