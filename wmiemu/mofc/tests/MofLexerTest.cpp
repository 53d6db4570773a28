// MofLexerTest.cpp - literals, comments, escapes and line counting of the MOF text.
#include "MofTestUtil.h"

#include <gtest/gtest.h>

#include <climits>

using namespace mofctest;

namespace
{

// The default value of the single property of "class C { <type> P = <literal>; };".
mofc::CompileResult ParseDefault(const std::string& strType, const std::string& strLiteral)
{
    return Parse("class C {\n " + strType + " P = " + strLiteral + ";\n};\n");
}

mofc::Value DefaultOf(const std::string& strType, const std::string& strLiteral)
{
    mofc::CompileResult res = ParseDefault(strType, strLiteral);
    EXPECT_TRUE(res.ok) << strLiteral << ": " << Describe(res);
    if (!res.ok || res.decls.empty() || res.decls[0].cls.properties.empty())
        return mofc::Value();
    EXPECT_TRUE(res.decls[0].cls.properties[0].hasDefault);
    return res.decls[0].cls.properties[0].defaultValue;
}

} // namespace

TEST(MofLexer, IntegersInEveryBase)
{
    struct
    {
        const char* szLiteral;
        long long nValue;
    } cases[] = {{"42", 42},
                 {"0x2A", 42},
                 {"0X2a", 42},
                 {"052", 42},
                 {"101010b", 42},
                 {"101010B", 42},
                 {"+42", 42},
                 {"-42", -42},
                 {"0", 0},
                 {"-0x10", -16},
                 {"0b", 0},
                 {"-1b", -1},
                 {"2147483648", 2147483648LL},
                 {"9223372036854775807", LLONG_MAX}};
    for (const auto& c : cases)
    {
        mofc::Value v = DefaultOf("sint64", c.szLiteral);
        EXPECT_EQ(v.kind, mofc::Value::Kind::Int) << c.szLiteral;
        EXPECT_EQ(v.i, c.nValue) << c.szLiteral;
        EXPECT_FALSE(v.isUnsigned) << c.szLiteral;
        EXPECT_FALSE(v.isChar) << c.szLiteral;
    }
}

TEST(MofLexer, SixtyFourBitLimits)
{
    mofc::Value v = DefaultOf("uint64", "0xFFFFFFFFFFFFFFFF");
    EXPECT_TRUE(v.isUnsigned);
    EXPECT_EQ((unsigned long long)v.i, ~0ull);
    v = DefaultOf("uint64", "18446744073709551615");
    EXPECT_TRUE(v.isUnsigned);
    EXPECT_EQ((unsigned long long)v.i, ~0ull);
    v = DefaultOf("sint64", "-9223372036854775808");
    EXPECT_EQ(v.i, LLONG_MIN);
    EXPECT_FALSE(v.isUnsigned);
}

// Bad literals stop the compile at their line, in the declaration that holds them (hr 0: any code).
TEST(MofLexer, BadLiteralsAreRejectedAtTheirLine)
{
    const long RANGE = mofc::MOFC_E_OUT_OF_RANGE, CONSTANT = mofc::MOFC_E_ILLEGAL_CONSTANT_VALUE;
    const struct
    {
        const char *szType, *szLiteral;
        long hr;
    } rows[] = {{"uint64", "18446744073709551616", RANGE},
                {"uint64", "0x10000000000000000", RANGE},
                {"sint64", "-9223372036854775809", RANGE},
                {"uint32", "09", 0},
                {"uint32", "0x", 0},
                {"uint32", "12abc", 0},
                {"uint32", "0x1G", 0},
                {"uint32", "1.5x", 0},
                {"uint32", "102b", 0},
                {"uint32", "--1", 0},
                {"uint32", "- x", 0},
                {"string", "\"bad \\q escape\"", CONSTANT},
                {"string", "\"no end", CONSTANT},
                {"string", "\"\\x\"", CONSTANT},
                {"string", "\"line\nbreak\"", CONSTANT},
                {"char16", "''", 0},
                {"char16", "'ab'", 0},
                {"char16", "'a", 0},
                {"char16", "'\\z'", 0}};
    for (const auto& row : rows)
    {
        mofc::CompileResult res = ParseDefault(row.szType, row.szLiteral);
        EXPECT_FALSE(res.ok) << row.szLiteral;
        EXPECT_TRUE(row.hr == 0 || res.hr == row.hr) << row.szLiteral << ": " << Describe(res);
        EXPECT_EQ(res.lastLine, 2) << row.szLiteral << ": " << Describe(res);
        EXPECT_EQ(res.objectNumber, 1) << row.szLiteral;
    }
}

TEST(MofLexer, RealsWithFractionsAndExponents)
{
    struct
    {
        const char* szLiteral;
        double dValue;
    } cases[] = {{"1.5", 1.5},
                 {"-2.5e3", -2500.0},
                 {".5", 0.5},
                 {"1e10", 1e10},
                 {"1E-5", 1e-5},
                 {"+3.25E+2", 325.0},
                 {"0.0", 0.0},
                 {"3.402823466E+38", 3.402823466E+38},
                 {"1.7976931348623158E+308", 1.7976931348623158E+308}};
    for (const auto& c : cases)
    {
        mofc::Value v = DefaultOf("real64", c.szLiteral);
        EXPECT_EQ(v.kind, mofc::Value::Kind::Real) << c.szLiteral;
        EXPECT_DOUBLE_EQ(v.r, c.dValue) << c.szLiteral;
    }
}

TEST(MofLexer, StringEscapesAndConcatenation)
{
    mofc::Value v = DefaultOf("string", "\"a\\tb\\nc\\\\d\\\"e\\'f\\rg\\bh\\fi\"");
    EXPECT_EQ(v.s, L"a\tb\nc\\d\"e'f\rg\bh\fi");
    v = DefaultOf("string", "\"\\x41\\X42\\u0043\\U263A\\x7e!\"");
    EXPECT_EQ(v.s, L"ABC\x263A~!");
    v = DefaultOf("string", "\"\\x41424\""); // at most four hex digits
    EXPECT_EQ(v.s, std::wstring(1, (wchar_t)0x4142) + L"4");
    v = DefaultOf("string", "\"one \"\n  \"two \" /* between */ \"three\" // end\n");
    EXPECT_EQ(v.s, L"one two three");
    v = DefaultOf("string", "\"\"");
    EXPECT_EQ(v.kind, mofc::Value::Kind::String);
    EXPECT_TRUE(v.s.empty());
}

TEST(MofLexer, Char16Literals)
{
    struct
    {
        const char* szLiteral;
        long long nValue;
    } cases[] = {{"'a'", 'a'},    {"'\\n'", '\n'},       {"'\\x41'", 0x41},
                 {"'\\''", '\''}, {"'\\xFFFF'", 0xFFFF}, {"'\"'", '"'}};
    for (const auto& c : cases)
    {
        mofc::Value v = DefaultOf("char16", c.szLiteral);
        EXPECT_EQ(v.kind, mofc::Value::Kind::Int) << c.szLiteral;
        EXPECT_TRUE(v.isChar) << c.szLiteral;
        EXPECT_EQ(v.i, c.nValue) << c.szLiteral;
    }
}

TEST(MofLexer, CommentsAreSkippedAndLinesCounted)
{
    mofc::CompileResult res = Parse("// line one\r\n/* two\r\n three */ /* same line */\r\n"
                                    "class A { }; // trailing\r\n"
                                    "/* // not a line comment */ class B\r\n{\r\n // inside\r\n};\r\n");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 2u);
    EXPECT_EQ(res.decls[0].firstLine, 4);
    EXPECT_EQ(res.decls[0].lastLine, 4);
    EXPECT_EQ(res.decls[1].firstLine, 5);
    EXPECT_EQ(res.decls[1].lastLine, 8);
}

TEST(MofLexer, UnterminatedCommentReportsWhereItStarts)
{
    mofc::CompileResult res = Parse("class A { };\n\n/* never\nclosed\n");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.lastLine, 3) << Describe(res);
    EXPECT_TRUE(res.decls.empty());
}

TEST(MofLexer, StrayCharactersAreRejected)
{
    for (const char* szBad :
         {"class A { string @x; };", "class A { } ;\n`", "#define X\n", "class A { $; };"})
    {
        mofc::CompileResult res = Parse(szBad);
        EXPECT_FALSE(res.ok) << szBad;
    }
}

TEST(MofLexer, KeywordsAreNamesWhereANameIsExpected)
{
    mofc::CompileResult res = Parse("class Class { string string; uint8 Qualifier; datetime datetime;"
                                    " sint16 toinstance; boolean ref; };\n"
                                    "instance of Class { string = \"s\"; Qualifier = 1; ref = TRUE; };");
    ASSERT_TRUE(res.ok) << Describe(res);
    const mofc::ClassDecl& cls = res.decls[0].cls;
    EXPECT_EQ(cls.name, L"Class");
    ASSERT_EQ(cls.properties.size(), 5u);
    EXPECT_EQ(cls.properties[0].name, L"string");
    EXPECT_EQ(cls.properties[0].type, mofc::CimType::String);
    EXPECT_EQ(cls.properties[4].name, L"ref");
    EXPECT_EQ(cls.properties[4].type, mofc::CimType::Boolean);
    EXPECT_EQ(res.decls[1].inst.values[2].value.kind, mofc::Value::Kind::Bool);
}
