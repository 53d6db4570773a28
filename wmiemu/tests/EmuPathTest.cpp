// Object paths and namespace names, parsed and formatted as WMI writes them.
#include "EmuPath.h"

#include <gtest/gtest.h>

using namespace wmiemu;

TEST(EmuPath, ParsesServerNamespaceClassAndKeys)
{
    ObjectPath p;
    ASSERT_TRUE(ParseObjectPath(L"\\\\SRV\\root\\cimv2:Win32_Thing.Name=\"a\\\"b\\\\c\",Id=-5,On=TRUE", p));
    EXPECT_EQ(L"SRV", p.server);
    EXPECT_EQ(L"root\\cimv2", p.ns);
    EXPECT_EQ(L"Win32_Thing", p.className);
    ASSERT_EQ(3u, p.keys.size());
    EXPECT_EQ(L"a\"b\\c", p.keys[0].second.s);
    EXPECT_EQ(-5, p.keys[1].second.i);
    EXPECT_TRUE(p.keys[2].second.b);
}

TEST(EmuPath, SingletonUnnamedKeyAndClassForms)
{
    ObjectPath p;
    ASSERT_TRUE(ParseObjectPath(L"Cfg=@", p));
    EXPECT_TRUE(p.singleton);
    ASSERT_TRUE(ParseObjectPath(L"Thing=\"x\"", p));
    ASSERT_EQ(1u, p.keys.size());
    EXPECT_TRUE(p.keys[0].first.empty());
    ASSERT_TRUE(ParseObjectPath(L"root:JustAClass", p));
    EXPECT_TRUE(p.IsClass());
    EXPECT_EQ(L"root", p.ns);
    // A colon inside a key value is no namespace separator.
    ASSERT_TRUE(ParseObjectPath(L"File.Name=\"C:\\\\x\"", p));
    EXPECT_EQ(L"C:\\x", p.keys[0].second.s);
}

TEST(EmuPath, RejectsMalformedPaths)
{
    ObjectPath p;
    for (const wchar_t* bad :
         {L"", L".Name=1", L"C.Name=", L"C.Name=\"open", L"C.=1", L"C.A=1,", L"C=@x", L"C D"})
        EXPECT_FALSE(ParseObjectPath(bad, p)) << std::wstring(bad).size();
}

TEST(EmuPath, FormatsRelativePathsWithSortedKeys)
{
    EXPECT_EQ(L"C.A=1,b=\"q\\\"\"", FormatRelPath(L"C", {{L"b", Value::Str(L"q\"")}, {L"A", Value::Int(1)}}));
    EXPECT_EQ(L"C=@", FormatRelPath(L"C", {}));
    EXPECT_EQ(L"R.Ref=\"X.K=\\\"v\\\"\"", FormatRelPath(L"R", {{L"Ref", Value::Str(L"X.K=\"v\"")}}));
}

TEST(EmuPath, NamespaceFormsAreNormalized)
{
    std::wstring ns;
    ASSERT_TRUE(NormalizeNamespace(L"\\\\.\\ROOT\\CimV2\\", ns));
    EXPECT_EQ(L"ROOT\\CimV2", ns);
    ASSERT_TRUE(NormalizeNamespace(L"//server/root/x", ns));
    EXPECT_EQ(L"root\\x", ns);
    EXPECT_FALSE(NormalizeNamespace(L"", ns));
    EXPECT_FALSE(NormalizeNamespace(L"root\\\\x", ns));
    EXPECT_FALSE(NormalizeNamespace(L"\\\\", ns));
}
