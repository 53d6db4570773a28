// Shared set-up of the trace tests: a scratch folder, a trace object of the test's own,
// and its registry key under the tracing root.
#pragma once

#include "ArcaTrace.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class TraceTest : public ::testing::Test
{
protected:
    testkit::CScratchDir m_dir;
    std::string m_strPath = m_dir.File("t.trc");
    std::unique_ptr<CCArcaTrace> m_pTrace = std::make_unique<CCArcaTrace>();
    testkit::CScratchKey m_key{"Software\\Brevane\\Common\\Tracing\\" + AppKey()};

    std::string Text() const { return testkit::ReadUtf16Text(m_strPath); }
    std::vector<std::string> Lines() const { return testkit::SplitLines(Text()); }
    // The bytes of a file, the trace file when no path is given.
    std::string Bytes(const std::string& strPath = "") const
    {
        const auto bytes = testkit::ReadBytes(strPath.empty() ? m_strPath : strPath);
        return std::string(bytes.begin(), bytes.end());
    }
    // One column of a record line: 3 level, 4 class, 5 method, 7 text, 8 message.
    static std::string Column(const std::string& strLine, size_t nColumn)
    {
        return testkit::SplitTabs(strLine).at(nColumn);
    }
    // The application key of this test under "Software\Brevane\Common\Tracing\".
    static std::string AppKey()
    {
        return std::string("TarvosUnit\\") + ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    void SetDwords(std::initializer_list<std::pair<const char*, DWORD>> values)
    {
        for (const auto& value : values)
            m_key.SetDword(value.first, value.second);
    }
};

// A process or thread id as the trace writes it.
inline std::string Id4(DWORD dwId)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "%04lu", dwId);
    return sz;
}
