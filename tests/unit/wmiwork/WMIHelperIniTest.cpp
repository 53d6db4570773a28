// CWMIHelper's INI reads (the growing buffer and the read limit, key order) and the namespace list.
#include "ArcaTrace.h"
#include "DelFromWmi.h"
#include "TestKit.h"

#include <gtest/gtest.h>

TEST(WMIHelperIni, ValuesAndKeyListsUpToTheReadLimit)
{
    testkit::CScratchDir dir;
    CCArcaTrace trace;
    trace.InitExplicit(dir.File("t.trc").c_str(), 1, 0);
    // 64509 characters still fit the last buffer (65535 - 1023 bytes); one more does not.
    const std::string strFits(64509, 'f'), strGrown(1022, 'g');
    const std::string strLongKey(64508, 'k');
    testkit::WriteBytes(dir.File("v.ini"), "[S]\r\nz=" + strGrown + "\r\na=" + strFits + "\r\nc=" + strFits +
                                               "x\r\nd=\r\n[K1]\r\n" + strLongKey + "=1\r\n[K2]\r\n" +
                                               strLongKey +
                                               "k=1\r\n[Namespaces]\r\na=root\\A\r\nb=root\\B\r\n");
    CDelFromWmi helper;
    ASSERT_TRUE(helper.OpenIni(dir.File("v.ini").c_str()));
    EXPECT_EQ(std::string("z\0a\0c\0d\0", 8), helper.GetKeyList("s"));
    EXPECT_EQ(strGrown, helper.GetValue("S", "Z"));
    EXPECT_EQ(strFits, helper.GetValue("S", "a"));
    EXPECT_EQ("", helper.GetValue("S", "c"));
    EXPECT_EQ("", helper.GetValue("S", "d"));
    EXPECT_EQ("", helper.GetValue("S", "missing"));
    EXPECT_EQ(strLongKey + std::string(1, '\0'), helper.GetKeyList("K1"));
    EXPECT_EQ("", helper.GetKeyList("K2"));
    EXPECT_EQ("", helper.GetKeyList("Missing"));
    // The list starts over after its end; a name that cannot be converted is no connection.
    helper.ReadNamespaces();
    EXPECT_TRUE(helper.NextNamespace() && !helper.NextNamespace() && helper.NextNamespace());
    EXPECT_STREQ("root\\A", helper.CurrentNamespace());
    EXPECT_FALSE(helper.ConnectToNamespace(nullptr));
    EXPECT_EQ("hr=0x8007000E 'Out of memory.'", testkit::TraceRecords(dir.File("t.trc")).at(0).strMessage);
}
