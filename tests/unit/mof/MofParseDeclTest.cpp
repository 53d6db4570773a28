// Namespace pragmas, class declarations, version qualifiers and their pairing.
#include "MofScanTestSupport.h"

// What the scan finds in each text; a null column is not looked at.
TEST_F(MofScanTest, NamespacesClassesAndVersions)
{
    const struct
    {
        const char *szText, *szNamespaces, *szClasses, *szVersions;
    } cases[] = {
        // Namespace pragmas: any case, blanks between the words and before the parenthesis.
        {"#Pragma NameSpace(\"\\\\\\\\.\\\\root\\\\x\")\n#pragma \t namespace (\"root\\\\Y\")\n"
         "#PRAGMA NAMESPACE(\"\\\\root\")\n",
         "\\\\\\\\.\\\\root\\\\x|root\\\\Y|\\\\root", "", ""},
        // A line break between the words: no pragma. The parentheses are never checked: the
        // next two double quotes anywhere count; none or one: nothing.
        {"#pragma\nnamespace(\"a\")\n", "", nullptr, nullptr},
        {"#pragma namespace root\nclass A {\n  [Description(\"x\")] string P;\n};\n", "x", "A", nullptr},
        {"#pragma namespace(root)\n", "", nullptr, nullptr},
        {"#pragma namespace(\"root)\n", "", nullptr, nullptr},
        {"#pragma namespace(\"\")\n#pragma namespace(\"a b\n;c\")\n", "|a b\n;c", nullptr, nullptr},
        // Class declarations: a blank (or line end) between name and brace or colon.
        {"class Foo {\n};\nclass Bar\n{\n};\nCLASS Baz : Foo {\n};\nclass\tQux\t:\tBar\n{\n};\n"
         "class Quux\r\n  \t{\n};\n",
         nullptr, "Foo|Bar|Baz|Qux|Quux", nullptr},
        {"class Foo{\n};\nclass Foo2:Bar {\n};\n", nullptr, "", nullptr},
        {"class Foo x {\n};\n", nullptr, "", nullptr},
        // The failed partial match "c" at 0 makes the search resume at 2, past "class".
        {"cclass Foo {\n};\n", nullptr, "", nullptr},
        {"ccclass Foo {\n};\n", nullptr, "Foo", nullptr},
        // A keyword that ends the text is not found; one inside a word is.
        {"class Foo {\n};\nclass", nullptr, "Foo", nullptr},
        {"subclass Foo {\n};\n", nullptr, "Foo", nullptr},
        {"instance of MyClassX\n{\n};\n", nullptr, "X", nullptr},
        // No identifier behind "class": the character after the empty name is passed over.
        {"Subclass (\n{\n};\n", nullptr, "", nullptr},
        // Versions from the qualifier block right before a class; nested and quoted brackets count.
        {"[Abstract, Version(\"1.2.0\"), Description(\"d\")]\nclass A\n{\n};\n", nullptr, "A", "1.2.0"},
        {"[Description(\"a[1]\"), VERSION ( \"3\" )] \t\r\n CLASS B {\n};\n", nullptr, "B", "3"},
        // Not from a property's block, a block before another block, outside a block, or a string.
        {"class A {\n  [key, Version(\"9\")] string Name;\n};\n[Version(\"1\")]\n[Abstract]\nclass B {\n};\n"
         "[Abstract] Version(\"2\")\nclass C {\n};\n[Abstract]\nclass D {\n  string S = \"version "
         "\\\"7\\\"\";\n};\n",
         nullptr, nullptr, ""},
        // A "]" inside a string ends the block early: what follows is no class keyword.
        {"[Description(\"a]\"), Version(\"3\")]\nclass E {\n};\n", nullptr, nullptr, ""},
        // The word in an earlier qualifier is taken: the text between the next two quotes,
        // which may lie behind the block.
        {"[Description(\"new version\"), Version(\"2.0\")]\nclass A {\n};\n", nullptr, nullptr,
         "), Version("},
        {"[Version(2)]\nclass A {\n  [Description(\"x\")] string P;\n};\n", nullptr, nullptr, "x"},
    };
    for (const auto& c : cases)
    {
        ASSERT_TRUE(Scan(c.szText)) << c.szText;
        const char* aszExpected[] = {c.szNamespaces, c.szClasses, c.szVersions};
        const std::vector<MofEntry>* lists[] = {&Mp().Namespaces(), &Mp().Classes(), &Mp().Versions()};
        for (int i = 0; i < 3; ++i)
        {
            if (aszExpected[i] != nullptr)
            {
                EXPECT_EQ(aszExpected[i], Names(*lists[i])) << c.szText;
            }
        }
    }
    // The empty class name of "Subclass (": recorded, with no name.
    ASSERT_TRUE(Scan("Subclass (\n{\n};\n"));
    ASSERT_EQ(1u, Mp().Classes().size());
    EXPECT_EQ("", Mp().Classes()[0].Name);
}

// The first version with the next recorded class after it, in the namespace of the last pragma
// before that class; without a namespace pragma false but class and version given; without a
// class false, nothing given.
TEST_F(MofScanTest, ClassVersionFindPairsFirstVersionWithNextClass)
{
    const struct
    {
        const char* szText;
        size_t nVersions;
        bool bFound;
        const char* szExpected; // namespace|class|version
    } cases[] = {
        {"#pragma namespace(\"\\\\\\\\.\\\\root\\\\One\")\n[Version(\"1.0\")]\nclass A {\n};\n"
         "#pragma namespace(\"root\\\\Two\")\n[Version(\"2.0\")]\nclass B {\n};\n",
         2, true, ".\\root\\One|A|1.0"},
        // The class rule refuses "A{": the version goes to B.
        {"#pragma namespace(\"root\\\\One\")\n[Version(\"1.0\")]\nclass A{\n};\n"
         "#pragma namespace(\"root\\\\Two\")\n[Version(\"2.0\")]\nclass B {\n};\n",
         2, true, "root\\Two|B|1.0"},
        {"[Version(\"1.2.0\")]\nclass A\n{\n};\n", 1, false, "|A|1.2.0"},
        // Leading backslashes go with the escapes.
        {"#pragma namespace(\"\\\\root\")\n[Version(\"3\")]\nclass C {\n};\n", 1, true, "root|C|3"},
        {"#pragma namespace(\"root\")\nclass A {\n};\n[Version(\"1\")]\nclass B{\n};\n", 1, false, "n|c|v"},
        // A class before the first pragma is in that pragma's namespace; an empty name is none.
        {"[Version(\"1\")]\nclass Early {\n};\n#pragma namespace(\"root\\\\a\")\n", 1, true,
         "root\\a|Early|1"},
        {"#pragma namespace(\"\\\\\\\\\")\n[Version(\"1\")]\nclass A {\n};\n", 1, false, "|A|1"},
    };
    for (const auto& c : cases)
    {
        ASSERT_TRUE(Scan(c.szText));
        ASSERT_EQ(c.nVersions, Mp().Versions().size()) << c.szText;
        std::string strNs = "n", strClass = "c", strVersion = "v";
        EXPECT_EQ(c.bFound, Mp().ClassVersionFind(strNs, strClass, strVersion)) << c.szText;
        EXPECT_EQ(c.szExpected, strNs + "|" + strClass + "|" + strVersion) << c.szText;
    }
}
