// Shared set-up of the WMI access tests: COM, the trace in a scratch file, and the WMI they read:
// with WMIACC_EMU the emulator seeded with the classes the read-only tests expect, else Wine's own.
#pragma once

#include "ArcaTrace.h"
#include "EmuWorld.h"
#include "TestKit.h"
#include "WMIAccess.h"

#include <windows.h>
#include <wbemcli.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using testkit::TraceRecord;

// A VARIANT cleared on scope exit.
struct CTestVariant
{
    VARIANT v;
    CTestVariant() { VariantInit(&v); }
    ~CTestVariant() { VariantClear(&v); }
    CTestVariant(const CTestVariant&) = delete;
    CTestVariant& operator=(const CTestVariant&) = delete;
    VARIANT* operator&() { return &v; }
};

class WmiAccessTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    std::vector<TraceRecord> Records() const { return testkit::TraceRecords(m_strTrace); }
    // Records of one method of CCWMIAccess ("ConnectToNamespace"), optionally of one category and text.
    std::vector<TraceRecord> Records(const std::string& strMethod, const std::string& strCategory,
                                     const std::string& strText = "") const
    {
        return testkit::TraceRecords(m_strTrace, "CCWMIAccess::" + strMethod, strCategory, strText);
    }

    testkit::CScratchDir m_dir;
    std::string m_strTrace = m_dir.File("wmiaccess.trc");
    bool m_bComInit = false;
};

// The WMI emulator with a repository and fault file of the test's own.
class EmuAccessTest : public WmiAccessTest
{
protected:
    void SetUp() override;
    void Seed(const std::string& strMof) { m_world.Seed(strMof); }
    void Fault(const std::string& strLine) { m_world.Fault(strLine); }
    std::string Repository() const;

    testkit::CEmuWorld m_world;
};

// The class and namespace the read-only tests enumerate: present in Wine's WMI, seeded into
// the emulator.
extern const char kReadNamespace[];
extern const char kReadClass[];
extern const char kReadKey[];

#ifdef WMIACC_EMU
using ReadOnlyAccessTest = EmuAccessTest;
#else
using ReadOnlyAccessTest = WmiAccessTest;
#endif
