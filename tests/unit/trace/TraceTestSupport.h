// Shared set-up of the trace tests: a scratch folder, a trace object of the test's own,
// and its registry key under the tracing root.
#pragma once

#include "ArcaTrace.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

class TraceTest : public ::testing::Test
{
protected:
    testkit::CScratchDir m_dir;
    std::string m_strPath = m_dir.File("t.trc");
    std::unique_ptr<CCArcaTrace> m_pTrace = std::make_unique<CCArcaTrace>();

    std::string Text() const { return testkit::ReadUtf16Text(m_strPath); }
    std::vector<std::string> Lines() const { return testkit::SplitLines(Text()); }
    std::vector<unsigned char> Bytes() const { return testkit::ReadBytes(m_strPath); }
    // The application key of this test under "Software\Brevane\Common\Tracing\".
    static std::string AppKey()
    {
        return std::string("TarvosUnit\\") + ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    static std::string FullKey() { return "Software\\Brevane\\Common\\Tracing\\" + AppKey(); }
};
