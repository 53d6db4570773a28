// MofValueTest.cpp - qualifier values and flavors, booleans, null and arrays.
#include "MofTestUtil.h"

#include <gtest/gtest.h>

using namespace mofctest;
using mofc::Value;

namespace
{

// The qualifiers of "[<list>] class C { };".
std::vector<mofc::Qualifier> QualifiersOf(const std::string& strList)
{
    mofc::CompileResult res = Parse("[" + strList + "] class C { };");
    EXPECT_TRUE(res.ok) << strList << ": " << Describe(res);
    return res.ok ? res.decls.at(0).cls.qualifiers : std::vector<mofc::Qualifier>();
}

} // namespace

TEST(MofValue, QualifierValueForms)
{
    auto quals =
        QualifiersOf("Key, Description(\"x\" \"y\"), Values{\"a\", \"b\"}, Version(\"1.0\"), "
                     "Flag(FALSE), Count(-3), Ratio(0.5), Letter('q'), Nothing(null), Braced({1,2})");
    ASSERT_EQ(quals.size(), 10u);
    EXPECT_EQ(quals[0].value.kind, Value::Kind::Bool);
    EXPECT_TRUE(quals[0].value.b);
    EXPECT_EQ(quals[1].value.s, L"xy");
    EXPECT_EQ(quals[2].value.kind, Value::Kind::Array);
    ASSERT_EQ(quals[2].value.items.size(), 2u);
    EXPECT_EQ(quals[2].value.items[0].s, L"a");
    EXPECT_EQ(quals[3].value.s, L"1.0");
    EXPECT_EQ(quals[4].value.kind, Value::Kind::Bool);
    EXPECT_FALSE(quals[4].value.b);
    EXPECT_EQ(quals[5].value.i, -3);
    EXPECT_DOUBLE_EQ(quals[6].value.r, 0.5);
    EXPECT_TRUE(quals[7].value.isChar);
    EXPECT_EQ(quals[8].value.kind, Value::Kind::Null);
    EXPECT_EQ(quals[9].value.items.size(), 2u);
}

TEST(MofValue, FlavorsAsWritten)
{
    auto quals =
        QualifiersOf("A(\"x\") : ToSubclass ToInstance DisableOverride Amended, B : Restricted, "
                     "C(1) : EnableOverride, D : toinstance notToInstance, E: NotToSubclass ToSubclass");
    ASSERT_EQ(quals.size(), 5u);
    EXPECT_TRUE(quals[0].flavorsWritten);
    EXPECT_TRUE(quals[0].toSubclass);
    EXPECT_TRUE(quals[0].toInstance);
    EXPECT_FALSE(quals[0].overridable);
    EXPECT_TRUE(quals[0].amended);
    EXPECT_EQ(quals[0].value.s, L"x");
    EXPECT_TRUE(quals[1].restricted);
    EXPECT_FALSE(quals[1].toSubclass);
    EXPECT_TRUE(quals[1].value.b);
    EXPECT_TRUE(quals[2].overridable);
    EXPECT_EQ(quals[2].value.i, 1);
    EXPECT_FALSE(quals[3].toInstance);
    EXPECT_TRUE(quals[4].toSubclass);
    EXPECT_FALSE(quals[4].restricted);
}

TEST(MofValue, BadQualifierListsAreRejected)
{
    struct
    {
        const char* szList;
        long hr;
    } cases[] = {{"Key, key", mofc::MOFC_E_DUPLICATE_QUALIFIER},
                 {"Key : Sideways", mofc::MOFC_E_EXPECTED_FLAVOR_TYPE},
                 {"Key :", mofc::MOFC_E_EXPECTED_FLAVOR_TYPE},
                 {"Key(1", mofc::MOFC_E_EXPECTED_CLOSE_PAREN},
                 {"Key Other", mofc::MOFC_E_EXPECTED_CLOSE_BRACKET},
                 {"Key,", mofc::MOFC_E_EXPECTED_QUALIFIER_NAME},
                 {"V{1, 2", mofc::MOFC_E_EXPECTED_CLOSE_BRACE},
                 {"V{{1}}", mofc::MOFC_E_ILLEGAL_CONSTANT_VALUE},
                 {"V{1, null}", mofc::MOFC_E_NULL_ARRAY_ELEM},
                 {"V(class)", mofc::MOFC_E_ILLEGAL_CONSTANT_VALUE}};
    for (const auto& c : cases)
    {
        mofc::CompileResult res = Parse(std::string("\n[") + c.szList + "]\nclass C { };");
        EXPECT_FALSE(res.ok) << c.szList;
        EXPECT_EQ(res.hr, c.hr) << c.szList << ": " << Describe(res);
        EXPECT_EQ(res.objectNumber, 1) << c.szList;
        EXPECT_EQ(res.firstLine, 2) << c.szList;
    }
}

TEST(MofValue, BooleansNullAndArraysInDefaults)
{
    mofc::CompileResult res =
        Parse("class C { boolean T = TRUE; boolean F = false; string N = NULL;"
              " uint32 E[] = {}; sint32 L[] = {-1, +2, 0x3}; real32 R[] = {1.5, -2}; };");
    ASSERT_TRUE(res.ok) << Describe(res);
    const auto& props = res.decls[0].cls.properties;
    EXPECT_TRUE(props[0].defaultValue.b);
    EXPECT_EQ(props[1].defaultValue.kind, Value::Kind::Bool);
    EXPECT_FALSE(props[1].defaultValue.b);
    EXPECT_TRUE(props[2].hasDefault);
    EXPECT_EQ(props[2].defaultValue.kind, Value::Kind::Null);
    EXPECT_EQ(props[3].defaultValue.kind, Value::Kind::Array);
    EXPECT_TRUE(props[3].defaultValue.items.empty());
    ASSERT_EQ(props[4].defaultValue.items.size(), 3u);
    EXPECT_EQ(props[4].defaultValue.items[0].i, -1);
    EXPECT_EQ(props[4].defaultValue.items[2].i, 3);
    EXPECT_EQ(props[5].defaultValue.items[1].kind, Value::Kind::Int);
}

TEST(MofValue, ArrayValueNeedsAnArrayProperty)
{
    mofc::CompileResult res = Parse("class C {\n uint32 A = {1};\n};");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_UNEXPECTED_ARRAY_INIT);
    EXPECT_EQ(res.lastLine, 2) << Describe(res);
}

TEST(MofValue, WordsThatAreNotValues)
{
    for (const char* szBad : {"class C { string S = hello; };", "instance of C { S = ; };",
                              "instance of C { S = $; };", "instance of C { S = instance C { }; };"})
    {
        mofc::CompileResult res = Parse(szBad);
        EXPECT_FALSE(res.ok) << szBad;
    }
}
