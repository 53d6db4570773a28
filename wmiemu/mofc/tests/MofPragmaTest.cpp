// MofPragmaTest.cpp - #pragma namespace, include, autorecover, classflags, deleteclass; file encodings.
#include "MofParser.h"
#include "MofTestUtil.h"

#include <gtest/gtest.h>

using namespace mofctest;

TEST(MofPragma, NamespaceForms)
{
    struct
    {
        const char* szCurrent;
        const wchar_t* wszArg;
        const char* szResult;
    } cases[] = {
        {"root\\default", L"\\\\SERVER\\Root\\X\\", "Root\\X"}, // server forms: see the compile tests
        {"root\\default", L"root\\x", "root\\x"},
        {"root\\default", L"ROOT", "ROOT"},
        {"root\\default", L"\\root\\cimv2\\Office", "root\\cimv2\\Office"},
        {"root\\cimv2", L"sub", "root\\cimv2\\sub"},
        {"root\\cimv2", L"a\\b", "root\\cimv2\\a\\b"},
        {"root", L"rooted", "root\\rooted"}};
    for (const auto& c : cases)
    {
        std::wstring wszCurrent(c.szCurrent, c.szCurrent + strlen(c.szCurrent)), wszResult;
        EXPECT_TRUE(mofc::ResolveMofNamespace(wszCurrent, c.wszArg, wszResult)) << Utf8(c.wszArg);
        EXPECT_EQ(Utf8(wszResult), c.szResult) << Utf8(c.wszArg);
    }
    std::wstring wszResult;
    for (const wchar_t* wszBad :
         {L"", L"\\\\", L"\\\\.", L"\\\\.\\", L"\\cimv2", L"\\\\.\\cimv2", L"root\\a:b"})
        EXPECT_FALSE(mofc::ResolveMofNamespace(L"root\\default", wszBad, wszResult)) << Utf8(wszBad);
}

TEST(MofPragma, NamespaceAppliesToTheFollowingDeclarations)
{
    mofc::CompileResult res = Parse("class A { };\n"
                                    "#pragma namespace(\"\\\\\\\\.\\\\root\")\n"
                                    "instance of __Namespace { Name = \"x\"; };\n"
                                    "#pragma namespace (\"x\")\n"
                                    "class B { };\n"
                                    "#PRAGMA NAMESPACE(\"\\\\\\\\.\\\\root\\\\\" \"other\")\n"
                                    "class C { };\n");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 4u);
    EXPECT_EQ(res.decls[0].ns, L"root\\default");
    EXPECT_EQ(res.decls[1].ns, L"root");
    EXPECT_EQ(res.decls[2].ns, L"root\\x");
    EXPECT_EQ(res.decls[3].ns, L"root\\other");
    mofc::CompileResult bad = Parse("class A { };\n#pragma namespace(\"\\\\\\\\\")\nclass B { };");
    EXPECT_FALSE(bad.ok);
    EXPECT_EQ(bad.hr, mofc::MOFC_E_INVALID_NAMESPACE_SYNTAX);
    EXPECT_EQ(bad.objectNumber, 0);
    EXPECT_EQ(bad.firstLine, 2);
    EXPECT_EQ(bad.lastLine, 2) << Describe(bad);
    EXPECT_FALSE(Parse("#pragma namespace(root)").ok);
    EXPECT_FALSE(Parse("#pragma namespace(\"root\"").ok);
}

TEST(MofPragma, FlagsAndDeleteClass)
{
    mofc::CompileResult res = Parse("class A { };\n"
                                    "#pragma classflags(\"updateonly\", \"forceupdate\")\n"
                                    "#pragma instanceflags(\"createonly\")\n"
                                    "class B { };\n"
                                    "#pragma deleteclass(\"Old\", NOFAIL)\n"
                                    "#pragma classflags(64)\n"
                                    "#pragma deleteclass (\"Older\",FAIL)\n"
                                    "#pragma classflags(\"safeupdate\")\n"
                                    "instance of B { };\n");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 5u);
    EXPECT_EQ(res.decls[0].classFlags, 0u);
    EXPECT_EQ(res.decls[1].classFlags, 0x41u);
    EXPECT_EQ(res.decls[1].instanceFlags, 2u);
    EXPECT_EQ(res.decls[2].kind, mofc::Declaration::Kind::DeleteClass);
    EXPECT_EQ(res.decls[2].deleteTarget, L"Old");
    EXPECT_FALSE(res.decls[2].deleteFail);
    EXPECT_EQ(res.decls[2].firstLine, 5);
    EXPECT_EQ(res.decls[3].deleteTarget, L"Older");
    EXPECT_TRUE(res.decls[3].deleteFail);
    EXPECT_EQ(res.decls[3].classFlags, 64u);
    EXPECT_EQ(res.decls[4].classFlags, 0x20u);
    EXPECT_EQ(res.decls[4].instanceFlags, 2u);

    mofc::CompileResult bad = Parse("class A { };\n#pragma classflags(\"sometimes\")\n");
    EXPECT_EQ(bad.hr, mofc::MOFC_E_INVALID_FLAGS_SYNTAX) << Describe(bad);
    bad = Parse("class A { };\n#pragma deleteclass(\"X\", MAYBE)\n");
    EXPECT_EQ(bad.hr, mofc::MOFC_E_INVALID_DELETECLASS_SYNTAX) << Describe(bad);
    EXPECT_EQ(bad.objectNumber, 2);
    EXPECT_EQ(bad.firstLine, 2);
    EXPECT_EQ(Parse("#pragma deleteclass(X, FAIL)").hr, mofc::MOFC_E_INVALID_DELETECLASS_SYNTAX);
}

TEST(MofPragma, OtherPragmasAreIgnored)
{
    mofc::CompileResult res = Parse("#pragma locale (\"en_US\")\n"
                                    "#pragma source(\"\\\\\\\\.\\\\root\\\\x\")\n"
                                    "#pragma nonlocal(\"y\")\n"
                                    "#pragma somethingnew\n"
                                    "#pragma weird(nested (parens) \"and strings\")\n"
                                    "class A { };\n");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 1u);
    EXPECT_EQ(res.decls[0].ns, L"root\\default");
    EXPECT_FALSE(Parse("#pragma\nclass A { };").ok);
    EXPECT_FALSE(Parse("#pragma weird(unclosed\nclass A { };").ok);
}

TEST(MofPragma, AutorecoverRegistersTheFullPathOnce)
{
    CScratchDir dir;
    std::wstring wszInc = dir.Write(L"sub\\inc.mof", "#pragma autorecover\nclass I { };\n");
    std::wstring wszMain = dir.Write(L"main.mof", "#PRAGMA AUTORECOVER\n#pragma autorecover\n"
                                                  "#pragma include(\"sub\\\\inc.mof\")\nclass M { };\n");
    CCurrentDir cwd(dir.Path() + L"\\sub");
    mofc::CompileResult res = mofc::ParseFile(L"..\\main.mof");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.autorecoverFiles.size(), 2u);
    EXPECT_EQ(res.autorecoverFiles[0], wszMain);
    EXPECT_EQ(res.autorecoverFiles[1], wszInc);
    EXPECT_EQ(res.decls.at(0).file, wszInc);
    EXPECT_EQ(res.decls.at(1).file, wszMain);
    EXPECT_TRUE(Parse("class A { };").autorecoverFiles.empty());
}

// (Where an include is looked for is tested through IMofCompiler by the emulator's compile tests.)
TEST(MofPragma, IncludedDeclarationsKeepTheirFileLinesAndNamespace)
{
    CScratchDir dir;
    dir.Write(L"src\\only.mof", "#pragma namespace(\"\\\\\\\\.\\\\root\\\\inc\")\nclass OnlyBeside { };\n");
    std::wstring wszMain =
        dir.Write(L"src\\main.mof", "class Before { };\n\n#include (\"only.mof\")\nclass After { };\n");
    mofc::CompileResult res = mofc::ParseFile(wszMain);
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 3u);
    EXPECT_EQ(res.decls[1].file, dir.Path() + L"\\src\\only.mof");
    EXPECT_EQ(res.decls[1].firstLine, 2);
    EXPECT_EQ(res.decls[1].ns, L"root\\inc");
    EXPECT_EQ(res.decls[2].ns, L"root\\inc"); // the namespace set in the include stays in effect
    EXPECT_EQ(res.decls[2].firstLine, 4);
}

TEST(MofPragma, IncludeWithAnAbsolutePath)
{
    CScratchDir dir;
    std::wstring wszTarget = dir.Write(L"deep\\target.mof", "class Target { };\n");
    std::string strEscaped;
    for (char ch : Utf8(wszTarget))
    {
        if (ch == '\\')
            strEscaped += '\\';
        strEscaped += ch;
    }
    std::wstring wszMain = dir.Write(L"main.mof", "#pragma include(\"" + strEscaped + "\")\n");
    mofc::CompileResult res = mofc::ParseFile(wszMain);
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 1u);
    EXPECT_EQ(res.decls[0].file, wszTarget);
}

TEST(MofPragma, ErrorInsideAnIncludedFileNamesThatFile)
{
    CScratchDir dir;
    std::wstring wszInc = dir.Write(L"inc.mof", "class I1 { };\n\nclass I2 {\n  string ;\n};\n");
    std::wstring wszMain =
        dir.Write(L"main.mof", "class M1 { };\n#pragma include(\"inc.mof\")\nclass M2 { };\n");
    mofc::CompileResult res = mofc::ParseFile(wszMain);
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.errorFile, wszInc);
    EXPECT_EQ(res.objectNumber, 3); // counted across the files
    EXPECT_EQ(res.firstLine, 3);
    EXPECT_EQ(res.lastLine, 4) << Describe(res);
    EXPECT_EQ(res.hr, mofc::MOFC_E_EXPECTED_PROPERTY_NAME);
}

TEST(MofPragma, IncludeCyclesEndWithAnError)
{
    CScratchDir dir;
    dir.Write(L"a.mof", "#pragma include(\"b.mof\")\nclass A { };\n");
    dir.Write(L"b.mof", "#pragma include(\"a.mof\")\n");
    std::wstring wszSelf =
        dir.Write(L"self.mof", "#pragma include(\"self.mof\")\n#pragma include(\"self.mof\")\n");
    mofc::CompileResult res = mofc::ParseFile(dir.Path() + L"\\a.mof");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_INVALID_FILE) << Describe(res);
    res = mofc::ParseFile(wszSelf); // twice per level: must stop long before 2^depth files
    EXPECT_FALSE(res.ok);
}

TEST(MofPragma, FileEncodings)
{
    CScratchDir dir;
    std::wstring wszText = L"// caf\x00E9 \x263A\r\nclass Enc { string S = \"\x00E9\x263A\"; };\r\n";
    std::string strLe = Utf16LeWithBom(wszText);
    std::string strLeNoBom = strLe.substr(2);
    std::string strBe("\xFE\xFF", 2);
    for (wchar_t ch : wszText)
    {
        strBe.push_back((char)((ch >> 8) & 0xFF));
        strBe.push_back((char)(ch & 0xFF));
    }
    std::string strUtf8Bom = "\xEF\xBB\xBF" + Utf8(wszText);
    struct
    {
        const wchar_t* wszName;
        std::string strBytes;
    } cases[] = {{L"le.mof", strLe},
                 {L"lenobom.mof", strLeNoBom},
                 {L"be.mof", strBe},
                 {L"u8bom.mof", strUtf8Bom},
                 {L"u8.mof", Utf8(wszText)}};
    for (const auto& c : cases)
    {
        mofc::CompileResult res = mofc::ParseFile(dir.Write(c.wszName, c.strBytes));
        ASSERT_TRUE(res.ok) << Utf8(c.wszName) << ": " << Describe(res);
        EXPECT_EQ(res.decls.at(0).firstLine, 2) << Utf8(c.wszName);
        EXPECT_EQ(res.decls[0].cls.properties.at(0).defaultValue.s, L"\x00E9\x263A") << Utf8(c.wszName);
    }
    // Bytes that are not UTF-8 are taken as Latin-1.
    mofc::CompileResult res =
        mofc::ParseFile(dir.Write(L"latin1.mof", "class L { string S = \"caf\xE9\"; };"));
    ASSERT_TRUE(res.ok) << Describe(res);
    EXPECT_EQ(res.decls[0].cls.properties.at(0).defaultValue.s, L"caf\x00E9");
    // An included UTF-16 file.
    dir.Write(L"inc16.mof", strLe);
    res = mofc::ParseFile(dir.Write(L"main.mof", "#pragma include(\"inc16.mof\")\n"));
    ASSERT_TRUE(res.ok) << Describe(res);
    EXPECT_EQ(res.decls.at(0).cls.name, L"Enc");
}

TEST(MofPragma, UnreadableFiles)
{
    CScratchDir dir;
    mofc::CompileResult res = mofc::ParseFile(dir.Path() + L"\\none.mof");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_INVALID_FILE);
    EXPECT_EQ(mofc::ParseFile(dir.Path()).hr, mofc::MOFC_E_INVALID_FILE);
    EXPECT_EQ(mofc::ParseFile(L"").hr, mofc::MOFC_E_INVALID_FILE);
    res = mofc::ParseFile(dir.Write(L"empty.mof", ""));
    EXPECT_TRUE(res.ok);
    EXPECT_TRUE(res.decls.empty());
}
