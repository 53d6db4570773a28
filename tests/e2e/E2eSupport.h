// Shared by the end-to-end tests: MOF and trace helpers.
#pragma once

#include "EmuWorld.h"
#include "PortableWorld.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace e2e
{
using namespace testkit;

// The version check of /CF and the function that runs it and the compiler.
const char kCheck[] = "CWmiWork::ClassVersionCheck";
const char kCompile[] = "CCompMof::CheckVersionAndCompile";

// Records of main turning the job's 18 (file not newer) into 0.
inline size_t OldVersionForgiven(const TarvosRun& run)
{
    return run.Records("main", "Internal", "Changing EXITCODE_ERR_MOF_OLD_VERSION to EXITCODE_OK").size();
}

// Class Tvs_Agent in root\TarvosTest with a Version qualifier, and strMore after it.
inline std::string VersionedAgent(const std::string& strVersion, const std::string& strMore = "")
{
    return ClassMof("Tvs_Agent", "[Version(\"" + strVersion + "\")]\n") + strMore;
}

// The single record of a method, category and text must read strExpected: its message, or with
// bLevel "level message"; with bPrefix only its start (of the one record). "<0 records>": none.
struct Record
{
    std::string strMethod, strCategory, strText, strExpected;
    bool bLevel = false;
    bool bPrefix = false;
};
inline void ExpectRecords(const TarvosRun& run, const std::vector<Record>& records)
{
    for (const Record& r : records)
    {
        std::string strActual = Only(run, r.strMethod, r.strCategory, r.strText, r.bLevel);
        if (r.bPrefix && run.Records(r.strMethod, r.strCategory, r.strText).size() == 1)
            strActual = strActual.substr(0, r.strExpected.size());
        EXPECT_EQ(r.strExpected, strActual) << r.strMethod << " " << r.strCategory << " " << r.strText;
    }
}
} // namespace e2e
