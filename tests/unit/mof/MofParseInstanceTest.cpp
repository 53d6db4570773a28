// Instance declarations: class, alias and the "name = value" lines of the body.
#include "MofScanTestSupport.h"

#include <utility>
#include <vector>

namespace
{
using Props = std::vector<std::pair<std::string, std::string>>;

Props PropsOf(const MofInstance& instance)
{
    Props props;
    for (const MofProperty& prop : instance.Properties)
        props.emplace_back(prop.Name, prop.Value);
    return props;
}
} // namespace

TEST_F(MofScanTest, InstanceValuesTrimmedAndSignsDropped)
{
    ASSERT_TRUE(Scan("instance of Foo\n{\n    Name = \"x\";\n    Count = -1;\n    Ratio = +2.5  ;\n"
                     "    Arr = {1, 2};\n    Paren = (a);\n};\n"));
    ASSERT_EQ(1u, Mp().Instances().size());
    const MofInstance& inst = Mp().Instances()[0];
    EXPECT_EQ("Foo", inst.ClassName);
    EXPECT_EQ(PosOf("instance"), inst.Pos);
    EXPECT_EQ("", inst.Alias);
    EXPECT_EQ(
        (Props{{"Name", "\"x\""}, {"Count", "1"}, {"Ratio", "2.5"}, {"Arr", "{1, 2}"}, {"Paren", "a)"}}),
        PropsOf(inst));
}

TEST_F(MofScanTest, InstanceKeysInColumnZeroLoseFirstCharacter)
{
    ASSERT_TRUE(Scan("instance of Foo\n{\nName = 1;\nValue = 2;\n};\n"));
    ASSERT_EQ(1u, Mp().Instances().size());
    EXPECT_EQ((Props{{"Name", "1"}, {"alue", "2"}}), PropsOf(Mp().Instances()[0]));
}

TEST_F(MofScanTest, InstanceValueEndsAtLineEndOrSemicolon)
{
    // The array's second line is read as a key "2" with the next "=" behind it.
    ASSERT_TRUE(Scan("instance of A {\n  Arr = {1,\n    2};\n  S = \"a;b\";\n};\n"));
    ASSERT_EQ(1u, Mp().Instances().size());
    EXPECT_EQ((Props{{"Arr", "{1,"}, {"2", "\"a"}}), PropsOf(Mp().Instances()[0]));

    // No value on the line of the "=": the search goes on behind the "=".
    ASSERT_TRUE(Scan("instance of A {\n  x =\n  y = 2;\n};\n"));
    EXPECT_EQ((Props{{"y", "2"}}), PropsOf(Mp().Instances()[0]));
}

TEST_F(MofScanTest, InstanceWithoutSemicolonAfterBraceRunsOn)
{
    ASSERT_TRUE(Scan("instance of A {\n  x = 1;\n}\ninstance of B {\n  y = 2;\n};\n"));
    ASSERT_EQ(1u, Mp().Instances().size());
    EXPECT_EQ("A", Mp().Instances()[0].ClassName);
    EXPECT_EQ((Props{{"x", "1"}, {"instance", "2"}}), PropsOf(Mp().Instances()[0]));

    ASSERT_TRUE(Scan("instance of A {\n  x = 1;\n};\ninstance of B {\n  y = 2;\n};\n"));
    ASSERT_EQ(2u, Mp().Instances().size());
    EXPECT_EQ((Props{{"x", "1"}}), PropsOf(Mp().Instances()[0]));
    EXPECT_EQ("B", Mp().Instances()[1].ClassName);
    EXPECT_EQ(PosOf("instance", 1), Mp().Instances()[1].Pos);
    EXPECT_EQ((Props{{"y", "2"}}), PropsOf(Mp().Instances()[1]));
}

TEST_F(MofScanTest, InstanceAliasCaptured)
{
    ASSERT_TRUE(Scan("instance of Foo as $F\n{\n  Id = 1;\n};\n"
                     "Instance Of Bar AS $Ref_2 {\n  P = $F;\n};\n"
                     "instance of Baz\nas $G {\n};\n"));
    ASSERT_EQ(3u, Mp().Instances().size());
    EXPECT_EQ("$F", Mp().Instances()[0].Alias);
    EXPECT_EQ((Props{{"Id", "1"}}), PropsOf(Mp().Instances()[0]));
    EXPECT_EQ("Bar", Mp().Instances()[1].ClassName);
    EXPECT_EQ("$Ref_2", Mp().Instances()[1].Alias);
    EXPECT_EQ((Props{{"P", "$F"}}), PropsOf(Mp().Instances()[1]));
    // "as" on the next line is no alias, and the alias of the one before is not kept.
    EXPECT_EQ("Baz", Mp().Instances()[2].ClassName);
    EXPECT_EQ("", Mp().Instances()[2].Alias);
}

TEST_F(MofScanTest, InstanceDeclarationsRefusedOrEmpty)
{
    // "instance" and "of" separated by a line break, and no brace at all.
    ASSERT_TRUE(Scan("instance\nof Foo {\n  a = 1;\n};\ninstance of Bar;\n"));
    EXPECT_TRUE(Mp().Instances().empty());
    // The character right behind the class name is passed over: "Foo{" needs a later brace.
    ASSERT_TRUE(Scan("instance of Foo{\n  a = 1;\n};\n"));
    EXPECT_TRUE(Mp().Instances().empty());
    // A body without assignments still makes an instance.
    ASSERT_TRUE(Scan("instance of __Namespace\n{\n};\n"));
    ASSERT_EQ(1u, Mp().Instances().size());
    EXPECT_EQ("__Namespace", Mp().Instances()[0].ClassName);
    EXPECT_TRUE(Mp().Instances()[0].Properties.empty());
}

TEST_F(MofScanTest, InstancePropertyScanEndsWhereTheRuleWouldRestart)
{
    // "flag" has no "=" anywhere behind it: its instance's list ends there, and the
    // next declaration is still found.
    ASSERT_TRUE(Scan("instance of A {\n  x = 1;\n  flag\n};\ninstance of B {\n};\n"));
    ASSERT_EQ(2u, Mp().Instances().size());
    EXPECT_EQ((Props{{"x", "1"}}), PropsOf(Mp().Instances()[0]));
    EXPECT_EQ("B", Mp().Instances()[1].ClassName);
    EXPECT_TRUE(Mp().Instances()[1].Properties.empty());

    // The text ends behind the value's line end.
    ASSERT_TRUE(Scan("#pragma namespace(\"root\")\ninstance of A {\n  x = 1;\n"));
    ASSERT_EQ(1u, Mp().Instances().size());
    EXPECT_EQ((Props{{"x", "1"}}), PropsOf(Mp().Instances()[0]));

    // The value runs to the end of the text: no property.
    ASSERT_TRUE(Scan("instance of A {\n  x = 1"));
    ASSERT_EQ(1u, Mp().Instances().size());
    EXPECT_TRUE(Mp().Instances()[0].Properties.empty());

    // Last key of a file whose first declaration has assignments.
    ASSERT_TRUE(Scan("instance of A {\n  a = 1;\n};\ninstance of B {\n  b = 2;\n  c\n"));
    ASSERT_EQ(2u, Mp().Instances().size());
    EXPECT_EQ((Props{{"a", "1"}}), PropsOf(Mp().Instances()[0]));
    EXPECT_EQ((Props{{"b", "2"}}), PropsOf(Mp().Instances()[1]));
}
