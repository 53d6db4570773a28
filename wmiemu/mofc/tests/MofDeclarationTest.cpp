// MofDeclarationTest.cpp - classes, properties, methods, instances, aliases and embedded objects.
#include "MofTestUtil.h"

#include <gtest/gtest.h>

using namespace mofctest;
using mofc::CimType;
using mofc::Value;

TEST(MofDeclaration, ClassWithSuperclassQualifiersAndProperties)
{
    mofc::CompileResult res = Parse("[Abstract, Description(\"A base\")]\n"
                                    "class Sample_Base : Parent_Class\n"
                                    "{\n"
                                    "  [key] string Name;\n"
                                    "  uint32 A = 5;\n"
                                    "  string B[] = {\"a\", \"b\"};\n"
                                    "  [Values{\"x\", \"y\"}, MaxLen(10)] uint8 C[4];\n"
                                    "};\n");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 1u);
    const mofc::Declaration& decl = res.decls[0];
    EXPECT_EQ(decl.kind, mofc::Declaration::Kind::Class);
    EXPECT_EQ(decl.ns, L"root\\default");
    EXPECT_EQ(decl.firstLine, 1);
    EXPECT_EQ(decl.lastLine, 8);
    EXPECT_EQ(decl.file, L"C:\\t\\test.mof");
    const mofc::ClassDecl& cls = decl.cls;
    EXPECT_EQ(cls.name, L"Sample_Base");
    EXPECT_EQ(cls.superclass, L"Parent_Class");
    ASSERT_EQ(cls.qualifiers.size(), 2u);
    EXPECT_EQ(cls.qualifiers[0].name, L"Abstract");
    EXPECT_EQ(cls.qualifiers[0].value.kind, Value::Kind::Bool);
    EXPECT_TRUE(cls.qualifiers[0].value.b);
    EXPECT_EQ(cls.qualifiers[1].value.s, L"A base");
    ASSERT_EQ(cls.properties.size(), 4u);
    EXPECT_EQ(cls.properties[0].name, L"Name");
    EXPECT_EQ(cls.properties[0].qualifiers.at(0).name, L"key");
    EXPECT_FALSE(cls.properties[0].hasDefault);
    EXPECT_EQ(cls.properties[1].type, CimType::Uint32);
    EXPECT_TRUE(cls.properties[1].hasDefault);
    EXPECT_EQ(cls.properties[1].defaultValue.i, 5);
    EXPECT_TRUE(cls.properties[2].isArray);
    EXPECT_EQ(cls.properties[2].arraySize, 0);
    ASSERT_EQ(cls.properties[2].defaultValue.items.size(), 2u);
    EXPECT_EQ(cls.properties[2].defaultValue.items[1].s, L"b");
    EXPECT_TRUE(cls.properties[3].isArray);
    EXPECT_EQ(cls.properties[3].arraySize, 4);
    EXPECT_EQ(cls.properties[3].qualifiers[0].value.kind, Value::Kind::Array);
    EXPECT_EQ(cls.properties[3].qualifiers[1].value.i, 10);
    EXPECT_TRUE(cls.methods.empty());
}

TEST(MofDeclaration, EveryCimTypeWord)
{
    struct
    {
        const char* szWord;
        CimType type;
    } cases[] = {{"sint8", CimType::Sint8},       {"UINT8", CimType::Uint8},     {"sint16", CimType::Sint16},
                 {"uint16", CimType::Uint16},     {"Sint32", CimType::Sint32},   {"uint32", CimType::Uint32},
                 {"sint64", CimType::Sint64},     {"uint64", CimType::Uint64},   {"real32", CimType::Real32},
                 {"Real64", CimType::Real64},     {"boolean", CimType::Boolean}, {"String", CimType::String},
                 {"DateTime", CimType::Datetime}, {"char16", CimType::Char16},   {"object", CimType::Object}};
    for (const auto& c : cases)
    {
        mofc::CompileResult res = Parse(std::string("class C { ") + c.szWord + " P; };");
        ASSERT_TRUE(res.ok) << c.szWord << ": " << Describe(res);
        EXPECT_EQ(res.decls[0].cls.properties[0].type, c.type) << c.szWord;
        EXPECT_TRUE(res.decls[0].cls.properties[0].refClass.empty()) << c.szWord;
    }
}

TEST(MofDeclaration, ReferencesAndEmbeddedObjectTypes)
{
    mofc::CompileResult res = Parse("[Association] class A {\n"
                                    " [key] Y ref R;\n"
                                    " object ref O;\n"
                                    " Y Ref D = \"Y.Name=\\\"a\\\"\";\n"
                                    " Z Embedded;\n"
                                    " Y REF Many[];\n"
                                    "};");
    ASSERT_TRUE(res.ok) << Describe(res);
    const auto& props = res.decls[0].cls.properties;
    ASSERT_EQ(props.size(), 5u);
    EXPECT_EQ(props[0].type, CimType::Reference);
    EXPECT_EQ(props[0].refClass, L"Y");
    EXPECT_EQ(props[1].type, CimType::Reference);
    EXPECT_TRUE(props[1].refClass.empty());
    EXPECT_EQ(props[2].defaultValue.kind, Value::Kind::Ref);
    EXPECT_FALSE(props[2].defaultValue.isAlias);
    EXPECT_EQ(props[2].defaultValue.s, L"Y.Name=\"a\"");
    EXPECT_EQ(props[3].type, CimType::Object);
    EXPECT_EQ(props[3].refClass, L"Z");
    EXPECT_TRUE(props[4].isArray);
    EXPECT_EQ(props[4].type, CimType::Reference);
    EXPECT_FALSE(Parse("class A { string ref R; };").ok);
}

TEST(MofDeclaration, MethodsWithParametersAndReturnTypes)
{
    mofc::CompileResult res = Parse("class C {\n"
                                    " [Static, Implemented] uint32 M([in] string p, [in, out] uint32 q[],\n"
                                    "     [out, ID(2)] Y ref r, [in] sint32 d = -1);\n"
                                    " void V();\n"
                                    " Y ref GetIt();\n"
                                    " string P;\n"
                                    "};");
    ASSERT_TRUE(res.ok) << Describe(res);
    const mofc::ClassDecl& cls = res.decls[0].cls;
    ASSERT_EQ(cls.methods.size(), 3u);
    ASSERT_EQ(cls.properties.size(), 1u);
    const mofc::Method& m = cls.methods[0];
    EXPECT_EQ(m.name, L"M");
    EXPECT_EQ(m.returnType, CimType::Uint32);
    EXPECT_FALSE(m.returnsVoid);
    EXPECT_EQ(m.qualifiers.size(), 2u);
    ASSERT_EQ(m.params.size(), 4u);
    EXPECT_EQ(m.params[0].name, L"p");
    EXPECT_EQ(m.params[0].qualifiers.at(0).name, L"in");
    EXPECT_TRUE(m.params[1].isArray);
    EXPECT_EQ(m.params[1].qualifiers.size(), 2u);
    EXPECT_EQ(m.params[2].type, CimType::Reference);
    EXPECT_EQ(m.params[2].refClass, L"Y");
    EXPECT_EQ(m.params[2].qualifiers[1].value.i, 2);
    EXPECT_TRUE(m.params[3].hasDefault);
    EXPECT_EQ(m.params[3].defaultValue.i, -1);
    EXPECT_TRUE(cls.methods[1].returnsVoid);
    EXPECT_TRUE(cls.methods[1].params.empty());
    EXPECT_EQ(cls.methods[2].returnType, CimType::Reference);
    EXPECT_EQ(cls.methods[2].returnRefClass, L"Y");
    EXPECT_FALSE(Parse("class C { void P; };").ok);
    EXPECT_FALSE(Parse("class C { uint32 M(string a, string A); };").ok);
    EXPECT_FALSE(Parse("class C { uint32 M(string a,); };").ok);
    EXPECT_FALSE(Parse("class C { uint32 M(string a) };").ok);
}

TEST(MofDeclaration, DuplicateMembersAreRejected)
{
    mofc::CompileResult res = Parse("class C {\n string A;\n uint32 a;\n};");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_DUPLICATE_PROPERTY);
    EXPECT_EQ(res.lastLine, 3) << Describe(res);
    EXPECT_FALSE(Parse("class C { string A; uint32 A(); };").ok);
    EXPECT_FALSE(Parse("instance of C { A = 1; a = 2; };").ok);
}

TEST(MofDeclaration, InstancesWithAliasesAndQualifiers)
{
    mofc::CompileResult res = Parse("instance of __Namespace { Name = \"x\"; };\n"
                                    "[Locale(1033)] instance of Sample_A as $a\n"
                                    "{\n"
                                    "  P = 1;\n"
                                    "  Q = $b;\n"
                                    "  R = \"a\" \"b\";\n"
                                    "  [Dynamic, Provider(\"p\")] S;\n"
                                    "  [Key] T = {1, 2};\n"
                                    "};\n"
                                    "instance of Sample_B as $B { Other = $A; };\n");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 3u);
    EXPECT_EQ(res.decls[0].kind, mofc::Declaration::Kind::Instance);
    EXPECT_EQ(res.decls[0].inst.className, L"__Namespace");
    EXPECT_EQ(res.decls[0].inst.values.at(0).value.s, L"x");
    const mofc::InstanceDecl& a = res.decls[1].inst;
    EXPECT_EQ(a.alias, L"a");
    EXPECT_EQ(a.qualifiers.at(0).name, L"Locale");
    ASSERT_EQ(a.values.size(), 5u);
    EXPECT_EQ(a.values[1].value.kind, Value::Kind::Ref);
    EXPECT_TRUE(a.values[1].value.isAlias);
    EXPECT_EQ(a.values[1].value.s, L"b"); // defined later in the file: still fine
    EXPECT_EQ(a.values[2].value.s, L"ab");
    EXPECT_EQ(a.values[3].value.kind, Value::Kind::Null);
    EXPECT_EQ(a.values[3].qualifiers.size(), 2u);
    EXPECT_EQ(a.values[4].qualifiers.at(0).name, L"Key");
    EXPECT_EQ(res.decls[1].firstLine, 2);
    EXPECT_EQ(res.decls[1].lastLine, 9);
    EXPECT_EQ(res.decls[2].inst.values[0].value.s, L"A");
}

TEST(MofDeclaration, AliasesMustBeDefinedExactlyOnce)
{
    mofc::CompileResult res = Parse("instance of A as $x { };\ninstance of B\n{\n P = $y;\n};");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_UNEXPECTED_ALIAS);
    EXPECT_EQ(res.objectNumber, 2);
    EXPECT_EQ(res.firstLine, 2);
    EXPECT_EQ(res.lastLine, 4) << Describe(res);
    EXPECT_TRUE(res.decls.empty());
    res = Parse("instance of A as $x { };\nclass B as $X { };");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.hr, mofc::MOFC_E_MULTIPLE_ALIASES);
    EXPECT_EQ(res.objectNumber, 2);
    EXPECT_FALSE(Parse("instance of A as x { };").ok);
}

TEST(MofDeclaration, ClassAliasesInEitherPosition)
{
    mofc::CompileResult res = Parse("class A as $ca : Base { };\nclass B : Base as $cb { };\n"
                                    "instance of C { R = {$ca, $cb}; };");
    ASSERT_TRUE(res.ok) << Describe(res);
    EXPECT_EQ(res.decls[0].cls.alias, L"ca");
    EXPECT_EQ(res.decls[0].cls.superclass, L"Base");
    EXPECT_EQ(res.decls[1].cls.alias, L"cb");
    EXPECT_EQ(res.decls[2].inst.values[0].value.items.size(), 2u);
}

TEST(MofDeclaration, EmbeddedInstances)
{
    mofc::CompileResult res =
        Parse("instance of Outer {\n"
              "  One = instance of Inner { A = \"x\"; B = instance of Deep { C = 3; }; };\n"
              "  Many = { INSTANCE OF Inner { A = \"1\"; }, instance of Inner { } };\n"
              "};");
    ASSERT_TRUE(res.ok) << Describe(res);
    const mofc::InstanceDecl& outer = res.decls[0].inst;
    ASSERT_EQ(outer.values.size(), 2u);
    const Value& one = outer.values[0].value;
    ASSERT_EQ(one.kind, Value::Kind::Object);
    ASSERT_TRUE(one.object);
    EXPECT_EQ(one.object->className, L"Inner");
    ASSERT_EQ(one.object->values.size(), 2u);
    ASSERT_EQ(one.object->values[1].value.kind, Value::Kind::Object);
    EXPECT_EQ(one.object->values[1].value.object->values.at(0).value.i, 3);
    const Value& many = outer.values[1].value;
    ASSERT_EQ(many.items.size(), 2u);
    EXPECT_EQ(many.items[0].object->values.at(0).value.s, L"1");
    EXPECT_TRUE(many.items[1].object->values.empty());
    mofc::CompileResult bad = Parse("instance of O { E = instance of I as $i { }; };");
    EXPECT_EQ(bad.hr, mofc::MOFC_E_ALIASES_IN_EMBEDDED) << Describe(bad);
}

TEST(MofDeclaration, QualifierDeclarationsAreCountedButNotKept)
{
    mofc::CompileResult res = Parse("Qualifier Key : boolean = false, Scope(property, reference),\n"
                                    "    Flavor(DisableOverride, ToSubclass);\n"
                                    "qualifier Values : string[], Scope(property);\n"
                                    "qualifier write:ToInstance ToSubClass;\n"
                                    "Qualifier Description : ToSubClass Amended;\n"
                                    "class A { };\n"
                                    "class B { string X };\n");
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.objectNumber, 6) << Describe(res);
    EXPECT_EQ(res.hr, mofc::MOFC_E_EXPECTED_SEMI);
    res = Parse("qualifier Q : uint32 = 3;\nclass A { };");
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_EQ(res.decls.size(), 1u);
    EXPECT_EQ(res.decls[0].cls.name, L"A");
    EXPECT_FALSE(Parse("qualifier Q : uint32, Scope(class;").ok);
    EXPECT_FALSE(Parse("qualifier Q : Sideways;").ok || Parse("qualifier Q;").ok);
}

TEST(MofDeclaration, ClassAndInstanceNeedTheirClosingSemicolon)
{
    for (const char* szBad :
         {"class A { }", "class A { string P; }\nclass B { };", "instance of A { P = 1; }",
          "class A string P; };", "class { };", "class A : { };", "instance A { };", "instance of { };",
          "class A { string P }; ", "[Key class A { };", "[] class A { };"})
    {
        mofc::CompileResult res = Parse(szBad);
        EXPECT_FALSE(res.ok) << szBad;
        EXPECT_EQ(res.objectNumber, 1) << szBad << ": " << Describe(res);
    }
}
