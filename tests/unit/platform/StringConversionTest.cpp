// CCStringConversion: conversions in both directions, the fallback, and their trace records.
#include "PlatformTestSupport.h"
#include "StringConversion.h"

#include <cwchar>

using StringConversionTest = TracedTest;

// A null source gives nothing, without errors; any other gives each form once, as it is.
TEST_F(StringConversionTest, NullSourceGivesNothingAndEachFormIsMadeOnce)
{
    {
        CCStringConversion fromWide(static_cast<const wchar_t*>(nullptr));
        EXPECT_EQ(nullptr, fromWide.Convert2A());
        EXPECT_EQ(nullptr, fromWide.Convert2W());
        CCStringConversion fromAnsi(static_cast<const char*>(nullptr));
        EXPECT_EQ(nullptr, fromAnsi.Convert2W());
        EXPECT_EQ(nullptr, static_cast<const char*>(fromAnsi));
        CCStringConversion empty;
        EXPECT_EQ(nullptr, static_cast<const wchar_t*>(empty));
    }
    for (const TraceRecord& record : Records())
        EXPECT_NE("Internal", record.strCategory) << record.strText;
    const auto ctor = Records("CCStringConversion", "Enter");
    ASSERT_EQ(3u, ctor.size());
    EXPECT_EQ("szwSrc: 0x00000000", ctor[0].strMessage);
    EXPECT_EQ("szSrc: (null)", ctor[1].strMessage);
    EXPECT_EQ("", ctor[2].strMessage);
    EXPECT_EQ(3u, Records("~CCStringConversion", "Leave").size());

    CCStringConversion wide(L"W\u00e4rme");
    const char* sz = wide.Convert2A();
    ASSERT_NE(nullptr, sz);
    EXPECT_STREQ("W\xe4rme", sz);
    EXPECT_EQ(sz, wide.Convert2A());
    EXPECT_STREQ(L"W\u00e4rme", wide.Convert2W());
    EXPECT_EQ(wide.Convert2W(), static_cast<const wchar_t*>(wide));
    CCStringConversion emptyText("");
    ASSERT_NE(nullptr, emptyText.Convert2W());
    EXPECT_STREQ(L"", emptyText.Convert2W());
}

TEST_F(StringConversionTest, CharacterOutsideCodePageGoesThroughFallback)
{
    // U+4E2D has no form in the prefix's single-byte ANSI code page; the runtime refuses it and
    // the system's conversion puts the code page's default character in its place.
    CCStringConversion wide(L"x\u4e2dy");
    const char* sz = wide.Convert2A();
    ASSERT_NE(nullptr, sz);
    EXPECT_STREQ("x?y", sz);

    const auto internal = Records("Convert2A", "Internal");
    ASSERT_EQ(1u, internal.size());
    EXPECT_EQ("VerboseCC", internal[0].strLevel);
    EXPECT_EQ(
        "Could not convert unicode to ansi string because of unrecognized character, using different api",
        internal[0].strText);
    // The fallback's result is the held string now.
    EXPECT_STREQ(L"x?y", wide.Convert2W());
}

TEST_F(StringConversionTest, OperatorsTraceBeforeConverting)
{
    {
        CCStringConversion text("abc");
        const wchar_t* szw = text;
        ASSERT_NE(nullptr, szw);
        EXPECT_STREQ(L"abc", szw);
        const char* sz = text;
        ASSERT_NE(nullptr, sz);
        EXPECT_STREQ("abc", sz);
    }
    const auto records = Records();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ("szSrc: abc", records[0].strMessage);
    std::vector<std::string> seen;
    for (const TraceRecord& record : records)
    {
        EXPECT_EQ("InfoCC", record.strLevel);
        EXPECT_EQ("CCStringConversion", record.strClass);
        seen.push_back(record.strMethod + "|" + record.strCategory + "|" + record.strText);
    }
    const std::vector<std::string> expected = {
        "CCStringConversion|Enter|An instance of CCStringConversion has been created.",
        "CCStringConversion|Leave|An instance of CCStringConversion has been created.",
        "operator const wchar_t *|Enter|Method operator LPCWSTR has been entered.",
        "operator const wchar_t *|Leave|Method operator LPCWSTR has been left.",
        "Convert2W|Enter|Method Convert2W has been entered.",
        "Convert2W|Leave|Method Convert2W has been left.",
        "operator const char *|Enter|Method operator LPCSTR has been entered.",
        "operator const char *|Leave|Method operator LPCSTR has been left.",
        "Convert2A|Enter|Method Convert2A has been entered.",
        "Convert2A|Leave|Method Convert2A has been left.",
        "~CCStringConversion|Enter|An instance of CCStringConversion has been destroyed.",
        "~CCStringConversion|Leave|An instance of CCStringConversion has been destroyed.",
    };
    EXPECT_EQ(expected, seen);
}
