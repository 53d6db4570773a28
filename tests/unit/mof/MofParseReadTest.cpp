// Reading a MOF file: refusals, the lone 0xFF, line comments, the exceptions, the trace.
#include "MofScanTestSupport.h"

#include "ArcaTrace.h"

TEST_F(MofScanTest, MissingFileIsRefusedWithEmptyLists)
{
    CMofParse mp;
    EXPECT_FALSE(mp.Parse(m_dir.File("absent.mof").c_str()));
    EXPECT_TRUE(mp.Content().empty());
    EXPECT_TRUE(mp.Namespaces().empty());
    EXPECT_TRUE(mp.Classes().empty());
    EXPECT_TRUE(mp.Instances().empty());
    EXPECT_TRUE(mp.Versions().empty());
}

TEST_F(MofScanTest, Utf16LittleEndianFileIsRefusedAndStaysOpen)
{
    const std::string strBody = "#pragma namespace(\"root\")\nclass A {\n};\n";
    ASSERT_FALSE(Scan(std::string("\xFF\xFE", 2) + strBody));
    EXPECT_TRUE(Mp().Content().empty());
    EXPECT_TRUE(Mp().Classes().empty());
    EXPECT_TRUE(Mp().Namespaces().empty());
    // The refused file is still open, so it cannot be deleted; a scanned one can.
    EXPECT_FALSE(DeleteFileA(m_dir.File("t1.mof").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SHARING_VIOLATION), GetLastError());
    ASSERT_TRUE(Scan(strBody));
    EXPECT_TRUE(DeleteFileA(m_dir.File("t2.mof").c_str()));
}

TEST_F(MofScanTest, LoneFFIsDroppedOtherSignaturesStay)
{
    ASSERT_TRUE(Scan(std::string("\xFF") + "A class Foo {\n};"));
    EXPECT_EQ("A class Foo {\n};", Mp().Content());
    ASSERT_EQ(1u, Mp().Classes().size());
    EXPECT_EQ("Foo", Mp().Classes()[0].Name);
    EXPECT_EQ(2, Mp().Classes()[0].Pos);

    ASSERT_TRUE(Scan("\xFF"));
    EXPECT_TRUE(Mp().Content().empty());
    ASSERT_TRUE(Scan("\xFF/"));
    EXPECT_TRUE(Mp().Content().empty());

    const std::string strUtf8 = "\xEF\xBB\xBFx";
    ASSERT_TRUE(Scan(strUtf8));
    EXPECT_EQ(strUtf8, Mp().Content());
    const std::string strBigEndian("\xFE\xFF\0x", 4);
    ASSERT_TRUE(Scan(strBigEndian));
    EXPECT_EQ(strBigEndian, Mp().Content());
}

TEST_F(MofScanTest, LineCommentsVanishWithTheirLineFeed)
{
    ASSERT_TRUE(Scan("a // note\nb"));
    EXPECT_EQ("a b", Mp().Content());
    ASSERT_TRUE(Scan("a/b/*c*/d/"));
    EXPECT_EQ("a/b/*c*/d", Mp().Content());
    ASSERT_TRUE(Scan("x//no line end"));
    EXPECT_EQ("x", Mp().Content());
    ASSERT_TRUE(Scan("p///q\r\nr"));
    EXPECT_EQ("pr", Mp().Content());

    // Also inside a string: the rest of the line and its line feed go.
    ASSERT_TRUE(Scan("instance of A\n{\n  Url = \"http://host/\";\n  Next = 2;\n};\n"));
    EXPECT_EQ("instance of A\n{\n  Url = \"http:  Next = 2;\n};\n", Mp().Content());
    ASSERT_EQ(1u, Mp().Instances().size());
    ASSERT_EQ(1u, Mp().Instances()[0].Properties.size());
    EXPECT_EQ("Url", Mp().Instances()[0].Properties[0].Name);
    EXPECT_EQ("\"http:  Next = 2", Mp().Instances()[0].Properties[0].Value);

    // A comment between the name and the brace joins the brace's line to the name.
    ASSERT_TRUE(Scan("class Foo // base\n{\n};"));
    ASSERT_EQ(1u, Mp().Classes().size());
    EXPECT_EQ("Foo", Mp().Classes()[0].Name);
}

TEST_F(MofScanTest, PragmaWithoutLaterNamespaceThrowsInvalidArg)
{
    EXPECT_EQ(E_INVALIDARG, ScanThrown("#pragma include(\"a.mof\")\nclass A {\n};\n"));
    EXPECT_EQ(E_INVALIDARG, ScanThrown("#pragma namespace(\"root\")\n#pragma autorecover\nclass A {\n};\n"));
    // "namespace" as the very last word of the text is not found either.
    EXPECT_EQ(E_INVALIDARG, ScanThrown("#pragma namespace"));
    // Any later "namespace" text saves the non-namespace pragma.
    EXPECT_EQ(S_OK, ScanThrown("#pragma include(\"a.mof\")\n#pragma namespace(\"root\")\n"));
    EXPECT_EQ(S_OK, ScanThrown("#pragma autorecover\n[Description(\"a namespace\")]\nclass A {\n};"));
}

TEST_F(MofScanTest, SuperclassWithoutAnyBraceThrowsInvalidArg)
{
    EXPECT_EQ(E_INVALIDARG, ScanThrown("class A : B\n"));
    EXPECT_EQ(E_INVALIDARG, ScanThrown("class A {\n};\nclass B\t: A;\n"));
    // Not blank-separated: no superclass form, nothing thrown, nothing recorded.
    EXPECT_EQ(S_OK, ScanThrown("class A:B\n"));
    EXPECT_TRUE(Mp().Classes().empty());
    // The character right behind the name is not looked at, so a line break there
    // still makes a superclass form.
    EXPECT_EQ(E_INVALIDARG, ScanThrown("class A\n: B\n"));
    EXPECT_EQ(S_OK, ScanThrown("class A\n: B {\n};"));
    ASSERT_EQ(1u, Mp().Classes().size());
    EXPECT_EQ("A", Mp().Classes()[0].Name);
}

TEST_F(MofScanTest, TraceRecordsOfScanAndRefusals)
{
    const std::string strTrace = m_dir.File("scan.trc");
    gg_ptrc->InitExplicit(strTrace.c_str(), 3, 0);
    ASSERT_TRUE(Scan("[Version(\"1\")]\nclass A {\n};\n"));
    const std::string strAbsent = m_dir.File("absent.mof");
    CMofParse mpAbsent;
    EXPECT_FALSE(mpAbsent.Parse(strAbsent.c_str()));
    EXPECT_FALSE(Scan(std::string("\xFF\xFE", 2) + "x"));
    gg_ptrc->Enable_Off();

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
