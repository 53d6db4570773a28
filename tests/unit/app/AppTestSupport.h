// A trace of the test's own that the product's code writes into while the test runs.
#pragma once

#include "ArcaTrace.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class CapturedTraceTest : public ::testing::Test
{
protected:
    testkit::CScratchDir m_dir;
    std::string m_strPath = m_dir.File("app.trc");
    CCArcaTrace m_trace;

    void SetUp() override
    {
        m_trace.InitExplicit(m_strPath.c_str(), 6, 0);
        ASSERT_EQ(&m_trace, gg_ptrc);
    }
    std::vector<std::string> Lines() const
    {
        return testkit::SplitRecords(testkit::ReadUtf16Text(m_strPath));
    }
    // The records of one category and text, as their message column.
    std::vector<std::string> Messages(const std::string& strCategory, const std::string& strText) const
    {
        std::vector<std::string> found;
        for (const testkit::TraceRecord& record : testkit::TraceRecords(m_strPath, "", strCategory, strText))
            found.push_back(record.strMessage);
        return found;
    }
};
