// MofErrorTest.cpp - syntax errors: code, object number, lines, and nothing handed back.
#include "MofTestUtil.h"

#include <gtest/gtest.h>

using namespace mofctest;

namespace
{

const char* const g_szThreeObjects = "// header\n"
                                     "class First { };\n"
                                     "\n"
                                     "[Description(\"second\")]\n"
                                     "instance of First\n"
                                     "{\n"
                                     "};\n"
                                     "#pragma namespace(\"\\\\\\\\.\\\\root\\\\x\")\n";

} // namespace

TEST(MofError, ObjectNumberAndLinesOfTheFailingDeclaration)
{
    struct
    {
        const char* szThird;
        long hr;
        int nLastLineOffset; // from the third declaration's first line
    } cases[] = {
        {"class Third\n{\n  string A\n};\n", mofc::MOFC_E_EXPECTED_SEMI, 3},
        {"class Third\n{\n  string A;\n}\n", mofc::MOFC_E_EXPECTED_SEMI, 4}, // the next "class"
        {"class Third : \n{ };\n", mofc::MOFC_E_EXPECTED_CLASS_NAME, 1},
        {"[Key\nclass Third { };\n", mofc::MOFC_E_EXPECTED_CLOSE_BRACKET, 1},
        {"class Third\n{\n  string A;\n  uint32 B = \"x\n};\n", mofc::MOFC_E_ILLEGAL_CONSTANT_VALUE, 3},
        {"instance of Third\n{\n  A 1;\n};\n", mofc::MOFC_E_INVALID_INSTANCE_DECLARATION, 2},
        {"instance Third { };\n", mofc::MOFC_E_INVALID_INSTANCE_DECLARATION, 0},
        {"klass Third { };\n", mofc::MOFC_E_UNRECOGNIZED_TOKEN, 0},
        {"class Third\n{\n  uint32 M(\n    string a\n    string b);\n};\n", mofc::MOFC_E_EXPECTED_CLOSE_PAREN,
         4},
        {"class Third { uint32 A[x]; };\n", mofc::MOFC_E_EXPECTED_CLOSE_BRACKET, 0},
        {"class Third { 5 A; };\n", mofc::MOFC_E_EXPECTED_TYPE_IDENTIFIER, 0},
        {"class Third { string A = 1 2; };\n", mofc::MOFC_E_EXPECTED_SEMI, 0},
        {"instance of Third as $t\n{ P = $nowhere; };\n", mofc::MOFC_E_UNEXPECTED_ALIAS, 1},
    };
    for (const auto& c : cases)
    {
        std::string strText = std::string(g_szThreeObjects) + "\n" + c.szThird + "class Fourth { };\n";
        mofc::CompileResult res = Parse(strText);
        EXPECT_FALSE(res.ok) << c.szThird;
        EXPECT_EQ(res.hr, c.hr) << c.szThird << Describe(res);
        EXPECT_EQ(res.objectNumber, 3) << c.szThird;
        EXPECT_EQ(res.firstLine, 10) << c.szThird;
        EXPECT_EQ(res.lastLine, 10 + c.nLastLineOffset) << c.szThird << Describe(res);
        EXPECT_EQ(res.errorFile, L"C:\\t\\test.mof");
        EXPECT_NE(res.message.find(L"test.mof("), std::wstring::npos);
        EXPECT_TRUE(res.decls.empty()) << c.szThird;
    }
}

TEST(MofError, ErrorAtTheEndOfTheText)
{
    for (const char* szCut : {"class A {", "class A { string", "instance of A { P =", "[Key(", "class A",
                              "instance", "instance of A { P = {1,", "class A { uint32 M(", "qualifier Q :"})
    {
        mofc::CompileResult res = Parse(std::string("class Z { };\n") + szCut);
        EXPECT_FALSE(res.ok) << szCut;
        EXPECT_EQ(res.objectNumber, 2) << szCut;
        EXPECT_EQ(res.firstLine, 2) << szCut;
        EXPECT_EQ(res.lastLine, 2) << szCut << Describe(res);
    }
}

TEST(MofError, ErrorsBetweenDeclarationsHaveNoObject)
{
    mofc::CompileResult res = Parse("class A { };\n\n#pragma include(bad)\n");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_INVALID_PRAGMA);
    EXPECT_EQ(res.objectNumber, 0);
    EXPECT_EQ(res.firstLine, 3);
    EXPECT_EQ(res.lastLine, 3);
    res = Parse("class A { };\n\n\n\"stray\"");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.objectNumber, 2);
    EXPECT_EQ(res.firstLine, 4);
}
