// Namespace pragmas, class declarations, version qualifiers and their pairing.
#include "MofScanTestSupport.h"

#include <vector>

namespace
{
std::vector<std::string> Names(const std::vector<MofEntry>& entries)
{
    std::vector<std::string> names;
    for (const MofEntry& entry : entries)
        names.push_back(entry.Name);
    return names;
}
} // namespace

TEST_F(MofScanTest, NamespacePragmasAcceptedInAnyCaseWithBlanks)
{
    const std::string strText = "#Pragma NameSpace(\"\\\\\\\\.\\\\root\\\\x\")\n"
                                "#pragma \t namespace (\"root\\\\Y\")\n"
                                "#PRAGMA NAMESPACE(\"\\\\root\")\n";
    ASSERT_TRUE(Scan(strText));
    ASSERT_EQ(3u, Mp().Namespaces().size());
    EXPECT_EQ("\\\\\\\\.\\\\root\\\\x", Mp().Namespaces()[0].Name);
    EXPECT_EQ(PosOf("#Pragma"), Mp().Namespaces()[0].Pos);
    EXPECT_EQ(PosOf("#pragma"), Mp().Namespaces()[1].Pos);
    EXPECT_EQ(PosOf("#PRAGMA"), Mp().Namespaces()[2].Pos);

    std::string strNs = "old";
    Mp().NamespaceByIndex(0, strNs);
    EXPECT_EQ(".\\root\\x", strNs);
    Mp().NamespaceByIndex(1, strNs);
    EXPECT_EQ("root\\Y", strNs);
    Mp().NamespaceByIndex(2, strNs);
    EXPECT_EQ("root", strNs);
    Mp().NamespaceByIndex(3, strNs);
    EXPECT_EQ("", strNs);
    Mp().NamespaceByIndex(-1, strNs);
    EXPECT_EQ("", strNs);
}

TEST_F(MofScanTest, NamespacePragmaRefusedAndLooseForms)
{
    // A line break between the words: not a namespace pragma.
    ASSERT_TRUE(Scan("#pragma\nnamespace(\"a\")\n"));
    EXPECT_TRUE(Mp().Namespaces().empty());
    // The parentheses are never checked: the next two double quotes anywhere count.
    ASSERT_TRUE(Scan("#pragma namespace root\nclass A {\n  [Description(\"x\")] string P;\n};\n"));
    EXPECT_EQ(std::vector<std::string>{"x"}, Names(Mp().Namespaces()));
    // No quotes behind it, or only one: nothing.
    ASSERT_TRUE(Scan("#pragma namespace(root)\n"));
    EXPECT_TRUE(Mp().Namespaces().empty());
    ASSERT_TRUE(Scan("#pragma namespace(\"root)\n"));
    EXPECT_TRUE(Mp().Namespaces().empty());
    // The quoted name may be empty and may hold anything but a double quote.
    ASSERT_TRUE(Scan("#pragma namespace(\"\")\n#pragma namespace(\"a b\n;c\")\n"));
    EXPECT_EQ((std::vector<std::string>{"", "a b\n;c"}), Names(Mp().Namespaces()));
}

TEST_F(MofScanTest, ClassDeclarationsAccepted)
{
    ASSERT_TRUE(Scan("class Foo {\n};\n"
                     "class Bar\n{\n};\n"
                     "CLASS Baz : Foo {\n};\n"
                     "class\tQux\t:\tBar\n{\n};\n"
                     "class Quux\r\n  \t{\n};\n"));
    EXPECT_EQ((std::vector<std::string>{"Foo", "Bar", "Baz", "Qux", "Quux"}), Names(Mp().Classes()));
    EXPECT_EQ(PosOf("class Foo"), Mp().Classes()[0].Pos);
    EXPECT_EQ(PosOf("class Bar"), Mp().Classes()[1].Pos);
    EXPECT_EQ(PosOf("CLASS"), Mp().Classes()[2].Pos);
    EXPECT_EQ(PosOf("class\tQux"), Mp().Classes()[3].Pos);
}

TEST_F(MofScanTest, ClassDeclarationsRefused)
{
    // No blank between the name and the brace or colon.
    ASSERT_TRUE(Scan("class Foo{\n};\nclass Foo2:Bar {\n};\n"));
    EXPECT_TRUE(Mp().Classes().empty());
    // Something else between the name and the brace.
    ASSERT_TRUE(Scan("class Foo x {\n};\n"));
    EXPECT_TRUE(Mp().Classes().empty());
    // The failed partial match "c" at 0 makes the search resume at 2, past "class".
    ASSERT_TRUE(Scan("cclass Foo {\n};\n"));
    EXPECT_TRUE(Mp().Classes().empty());
    ASSERT_TRUE(Scan("ccclass Foo {\n};\n"));
    EXPECT_EQ(std::vector<std::string>{"Foo"}, Names(Mp().Classes()));
    // A keyword that ends the text is not found.
    ASSERT_TRUE(Scan("class Foo {\n};\nclass"));
    EXPECT_EQ(std::vector<std::string>{"Foo"}, Names(Mp().Classes()));
}

TEST_F(MofScanTest, ClassKeywordMatchesInsideWords)
{
    ASSERT_TRUE(Scan("subclass Foo {\n};\n"));
    EXPECT_EQ(std::vector<std::string>{"Foo"}, Names(Mp().Classes()));
    EXPECT_EQ(PosOf("class"), Mp().Classes()[0].Pos);
    ASSERT_TRUE(Scan("instance of MyClassX\n{\n};\n"));
    EXPECT_EQ(std::vector<std::string>{"X"}, Names(Mp().Classes()));
    // No identifier behind "class": a class without a name (the character after the
    // empty name is passed over, the brace must come behind it).
    ASSERT_TRUE(Scan("Subclass (\n{\n};\n"));
    EXPECT_EQ(std::vector<std::string>{""}, Names(Mp().Classes()));
}

TEST_F(MofScanTest, VersionOfClassQualifierBlock)
{
    ASSERT_TRUE(Scan("[Abstract, Version(\"1.2.0\"), Description(\"d\")]\nclass A\n{\n};\n"));
    ASSERT_EQ(1u, Mp().Versions().size());
    EXPECT_EQ("1.2.0", Mp().Versions()[0].Name);
    EXPECT_EQ(PosOf("Version"), Mp().Versions()[0].Pos);
    EXPECT_EQ(std::vector<std::string>{"A"}, Names(Mp().Classes()));

    // Nested and quoted brackets count; the block ends at its matching bracket.
    ASSERT_TRUE(Scan("[Description(\"a[1]\"), VERSION ( \"3\" )] \t\r\n CLASS B {\n};\n"));
    EXPECT_EQ(std::vector<std::string>{"3"}, Names(Mp().Versions()));
}

TEST_F(MofScanTest, VersionNotTakenFromOtherBlocks)
{
    // Property qualifier block, block followed by another block, version outside the block.
    ASSERT_TRUE(Scan("class A {\n  [key, Version(\"9\")] string Name;\n};\n"
                     "[Version(\"1\")]\n[Abstract]\nclass B {\n};\n"
                     "[Abstract] Version(\"2\")\nclass C {\n};\n"
                     "[Abstract]\nclass D {\n  string S = \"version \\\"7\\\"\";\n};\n"));
    EXPECT_TRUE(Mp().Versions().empty());
    // A "]" inside a string ends the block early: what follows is no class keyword.
    ASSERT_TRUE(Scan("[Description(\"a]\"), Version(\"3\")]\nclass E {\n};\n"));
    EXPECT_TRUE(Mp().Versions().empty());
}

TEST_F(MofScanTest, VersionWordInEarlierQualifierIsTaken)
{
    ASSERT_TRUE(Scan("[Description(\"new version\"), Version(\"2.0\")]\nclass A {\n};\n"));
    ASSERT_EQ(1u, Mp().Versions().size());
    // The text between the quote that ends the description and the next quote.
    EXPECT_EQ("), Version(", Mp().Versions()[0].Name);
    EXPECT_EQ(PosOf("version"), Mp().Versions()[0].Pos);
    // The quotes may lie behind the block.
    ASSERT_TRUE(Scan("[Version(2)]\nclass A {\n  [Description(\"x\")] string P;\n};\n"));
    EXPECT_EQ(std::vector<std::string>{"x"}, Names(Mp().Versions()));
}

TEST_F(MofScanTest, ClassVersionFindPairsFirstVersionWithNextClass)
{
    const std::string strText = "#pragma namespace(\"\\\\\\\\.\\\\root\\\\One\")\n"
                                "[Version(\"1.0\")]\nclass A {\n};\n"
                                "#pragma namespace(\"root\\\\Two\")\n"
                                "[Version(\"2.0\")]\nclass B {\n};\n";
    ASSERT_TRUE(Scan(strText));
    std::string strNs, strClass, strVersion;
    ASSERT_TRUE(Mp().ClassVersionFind(strNs, strClass, strVersion));
    EXPECT_EQ(".\\root\\One", strNs);
    EXPECT_EQ("A", strClass);
    EXPECT_EQ("1.0", strVersion);

    // The first version belongs to a class the class rule refuses ("A{"): it is paired
    // with the next recorded class, B, in B's namespace.
    ASSERT_TRUE(Scan("#pragma namespace(\"root\\\\One\")\n[Version(\"1.0\")]\nclass A{\n};\n"
                     "#pragma namespace(\"root\\\\Two\")\n[Version(\"2.0\")]\nclass B {\n};\n"));
    ASSERT_TRUE(Mp().ClassVersionFind(strNs, strClass, strVersion));
    EXPECT_EQ("root\\Two", strNs);
    EXPECT_EQ("B", strClass);
    EXPECT_EQ("1.0", strVersion);
}

TEST_F(MofScanTest, ClassVersionFindFailures)
{
    // No class after the version: outputs untouched.
    ASSERT_TRUE(Scan("#pragma namespace(\"root\")\nclass A {\n};\n[Version(\"1\")]\nclass B{\n};\n"));
    ASSERT_EQ(1u, Mp().Versions().size());
    std::string strNs = "n", strClass = "c", strVersion = "v";
    EXPECT_FALSE(Mp().ClassVersionFind(strNs, strClass, strVersion));
    EXPECT_EQ("n", strNs);
    EXPECT_EQ("c", strClass);
    EXPECT_EQ("v", strVersion);

    // No namespace pragma: false, but class and version are given.
    ASSERT_TRUE(Scan("[Version(\"1.2.0\")]\nclass A\n{\n};\n"));
    strNs = "n";
    EXPECT_FALSE(Mp().ClassVersionFind(strNs, strClass, strVersion));
    EXPECT_EQ("", strNs);
    EXPECT_EQ("A", strClass);
    EXPECT_EQ("1.2.0", strVersion);
}

TEST_F(MofScanTest, NamespaceForPositionUsesLastPragmaBeforeOrFirst)
{
    ASSERT_TRUE(Scan("class Early {\n};\n#pragma namespace(\"root\\\\a\")\nclass Mid {\n};\n"
                     "#pragma namespace(\"root\\\\b\")\nclass Late {\n};\n"));
    ASSERT_EQ(3u, Mp().Classes().size());
    ASSERT_EQ(2u, Mp().Namespaces().size());
    std::string strNs;
    EXPECT_TRUE(Mp().NamespaceForPosition(Mp().Classes()[0].Pos, strNs));
    EXPECT_EQ("root\\a", strNs);
    EXPECT_TRUE(Mp().NamespaceForPosition(Mp().Classes()[1].Pos, strNs));
    EXPECT_EQ("root\\a", strNs);
    EXPECT_TRUE(Mp().NamespaceForPosition(Mp().Classes()[2].Pos, strNs));
    EXPECT_EQ("root\\b", strNs);
    EXPECT_TRUE(Mp().NamespaceForPosition(Mp().Namespaces()[1].Pos, strNs));
    EXPECT_EQ("root\\b", strNs);
    EXPECT_TRUE(Mp().NamespaceForPosition(Mp().Namespaces()[1].Pos - 1, strNs));
    EXPECT_EQ("root\\a", strNs);

    // An empty namespace name counts as not found; so does a file without pragmas.
    ASSERT_TRUE(Scan("#pragma namespace(\"\\\\\\\\\")\nclass A {\n};\n"));
    EXPECT_FALSE(Mp().NamespaceForPosition(Mp().Classes()[0].Pos, strNs));
    EXPECT_EQ("", strNs);
    ASSERT_TRUE(Scan("class A {\n};\n"));
    strNs = "x";
    EXPECT_FALSE(Mp().NamespaceForPosition(Mp().Classes()[0].Pos, strNs));
    EXPECT_EQ("", strNs);
}
