// Reading a MOF file: the lone 0xFF, line comments, the exceptions, refusals and the trace.
#include "MofScanTestSupport.h"

#include "ArcaTrace.h"

TEST_F(MofScanTest, TextAsScannedLoneFFDroppedAndLineCommentsGoneWithTheirLineFeed)
{
    const struct
    {
        std::string strFile, strContent;
    } cases[] = {
        {"\xFF"
         "A class Foo {\n};",
         "A class Foo {\n};"},
        {"\xFF", ""},
        {"\xFF/", ""},
        {"\xEF\xBB\xBFx", "\xEF\xBB\xBFx"},
        {std::string("\xFE\xFF\0x", 4), std::string("\xFE\xFF\0x", 4)},
        {"a // note\nb", "a b"},
        {"a/b/*c*/d/", "a/b/*c*/d"},
        {"x//no line end", "x"},
        {"p///q\r\nr", "pr"},
        {"instance of A\n{\n  Url = \"http://host/\";\n};\n", "instance of A\n{\n  Url = \"http:};\n"},
    };
    for (const auto& c : cases)
    {
        ASSERT_TRUE(Scan(c.strFile)) << c.strFile;
        EXPECT_EQ(c.strContent, Mp().Content()) << c.strFile;
    }
    // Positions count in the text as scanned; a comment joins the brace's line to the name.
    ASSERT_TRUE(Scan("\xFF"
                     "A class Foo // base\n{\n};"));
    ASSERT_EQ(1u, Mp().Classes().size());
    EXPECT_EQ("Foo", Mp().Classes()[0].Name);
    EXPECT_EQ(2, Mp().Classes()[0].Pos);
}

// E_INVALIDARG leaves the scan for a "#pragma" with no later "namespace" text and for a class
// with a blank-separated ":" and no "{" after it; the classes recorded otherwise.
TEST_F(MofScanTest, PragmaWithoutNamespaceAndSuperclassWithoutBraceThrowInvalidArg)
{
    const struct
    {
        const char* szText;
        HRESULT hr;
        const char* szClasses;
    } cases[] = {
        {"#pragma namespace(\"root\")\n#pragma autorecover\nclass A {\n};\n", E_INVALIDARG, nullptr},
        // "namespace" as the very last word of the text is not found either.
        {"#pragma namespace", E_INVALIDARG, nullptr},
        {"#pragma include(\"a.mof\")\n#pragma namespace(\"root\")\n", S_OK, ""},
        {"#pragma autorecover\n[Description(\"a namespace\")]\nclass A {\n};", S_OK, "A"},
        {"class A : B\n", E_INVALIDARG, nullptr},
        {"class A {\n};\nclass B\t: A;\n", E_INVALIDARG, nullptr},
        // Not blank-separated: no superclass form.
        {"class A:B\n", S_OK, ""},
        // The character right behind the name is not looked at: a line break there still counts.
        {"class A\n: B\n", E_INVALIDARG, nullptr},
        {"class A\n: B {\n};", S_OK, "A"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(c.hr, ScanThrown(c.szText)) << c.szText;
        if (c.szClasses)
        {
            EXPECT_EQ(c.szClasses, Names(Mp().Classes())) << c.szText;
        }
    }
}

// A missing and a UTF-16 file are refused with empty lists, and the UTF-16 one stays open.
TEST_F(MofScanTest, TraceRecordsOfScanAndRefusals)
{
    const std::string strTrace = m_dir.File("scan.trc");
    gg_ptrc->InitExplicit(strTrace.c_str(), 3, 0);
    ASSERT_TRUE(Scan("[Version(\"1\")]\nclass A {\n};\n"));
    EXPECT_TRUE(DeleteFileA(m_dir.File("t1.mof").c_str()));
    CMofParse absent;
    EXPECT_FALSE(absent.Parse(m_dir.File("absent.mof").c_str()));
    EXPECT_FALSE(Scan(std::string("\xFF\xFE", 2) + "#pragma namespace(\"root\")\nclass A {\n};\n"));
    gg_ptrc->Enable_Off();
    for (const CMofParse* p : {&Mp(), &absent})
        EXPECT_TRUE(p->Content().empty() && p->Namespaces().empty() && p->Classes().empty() &&
                    p->Instances().empty() && p->Versions().empty());
    EXPECT_FALSE(DeleteFileA(m_dir.File("t2.mof").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SHARING_VIOLATION), GetLastError());

    const std::string strText = testkit::ReadUtf16Text(strTrace);
    const std::string strFile = m_dir.File("t1.mof");
    EXPECT_NE(std::string::npos, strText.find("CMofParse\tParse\tEnter\t\tszFile='" + strFile + "'"));
    for (const char* szFinder : {"NamespacesFind", "ClassesFind", "InstancesFind", "VersionInfoFind"})
    {
        EXPECT_NE(std::string::npos, strText.find(std::string("CMofParse\t") + szFinder + "\tEnter\t\t"))
            << szFinder;
        EXPECT_NE(std::string::npos, strText.find(std::string("CMofParse\t") + szFinder + "\tLeave\t\t"))
            << szFinder;
    }
    const size_t nLastBlock = strText.find("QualifierBlockFind\tInternal\tNo qualifier block found");
    const size_t nParseLeave = strText.find("CMofParse\tParse\tLeave\t\tret=true");
    EXPECT_NE(std::string::npos, nLastBlock);
    EXPECT_NE(std::string::npos, nParseLeave);
    EXPECT_LT(nLastBlock, nParseLeave);
    EXPECT_NE(std::string::npos,
              strText.find("Error\tCMofParse\tParse\tInternal\tCould not open file\terr=2"));
    EXPECT_NE(std::string::npos,
              strText.find("Error\tCMofParse\tParse\tInternal\tFile has unicode signature\tname='" +
                           m_dir.File("t2.mof") + "'"));
}
