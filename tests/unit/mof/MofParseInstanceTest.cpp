// Instance declarations: class, alias and the "name = value" lines of the body.
#include "MofScanTestSupport.h"

TEST_F(MofScanTest, InstanceDeclarations)
{
    const struct
    {
        const char *szText, *szInstances;
    } cases[] = {
        // Values trimmed, a leading sign dropped, "(" passed over like a sign.
        {"instance of Foo\n{\n    Name = \"x\";\n    Count = -1;\n    Ratio = +2.5  ;\n    Arr = {1, 2};\n"
         "    Paren = (a);\n};\n",
         "Foo{Name=\"x\";Count=1;Ratio=2.5;Arr={1, 2};Paren=a);}"},
        // A key in column 0 loses its first character.
        {"instance of Foo\n{\nName = 1;\nValue = 2;\n};\n", "Foo{Name=1;alue=2;}"},
        // A value ends at the line end or a semicolon: the array's second line is read as key "2".
        {"instance of A {\n  Arr = {1,\n    2};\n  S = \"a;b\";\n};\n", "A{Arr={1,;2=\"a;}"},
        // No value on the line of the "=": the search goes on behind it.
        {"instance of A {\n  x =\n  y = 2;\n};\n", "A{y=2;}"},
        // Without ";" behind the closing brace the body runs on into the next declaration.
        {"instance of A {\n  x = 1;\n}\ninstance of B {\n  y = 2;\n};\n", "A{x=1;instance=2;}"},
        // Aliases; "as" on the next line is none, and the one before is not kept.
        {"instance of Foo as $F\n{\n  Id = 1;\n};\nInstance Of Bar AS $Ref_2 {\n  P = $F;\n};\n"
         "instance of Baz\nas $G {\n};\n",
         "Foo$F{Id=1;} Bar$Ref_2{P=$F;} Baz{}"},
        // "instance" and "of" on two lines, no brace, or a brace right behind the name: refused.
        {"instance\nof Foo {\n  a = 1;\n};\ninstance of Bar;\n", ""},
        {"instance of Foo{\n  a = 1;\n};\n", ""},
        {"instance of __Namespace\n{\n};\n", "__Namespace{}"},
        // A key without "=" behind it ends its list; the next declaration is still found.
        {"instance of A {\n  x = 1;\n  flag\n};\ninstance of B {\n};\n", "A{x=1;} B{}"},
        // The text ends behind the value's line end, or inside the value (no property then).
        {"#pragma namespace(\"root\")\ninstance of A {\n  x = 1;\n", "A{x=1;}"},
        {"instance of A {\n  x = 1", "A{}"},
        {"instance of A {\n  a = 1;\n};\ninstance of B {\n  b = 2;\n  c\n", "A{a=1;} B{b=2;}"},
        // A line comment goes with its line feed, also inside a string.
        {"instance of A\n{\n  Url = \"http://host/\";\n  Next = 2;\n};\n", "A{Url=\"http:  Next = 2;}"},
    };
    for (const auto& c : cases)
    {
        ASSERT_TRUE(Scan(c.szText)) << c.szText;
        EXPECT_EQ(c.szInstances, Instances()) << c.szText;
    }
}
