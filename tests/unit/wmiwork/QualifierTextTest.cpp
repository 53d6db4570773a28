// The qualifier type table of /SQ: new values read from text by type, old values in the
// backup file's form. VT_UI4 qualifiers cannot be stored in WMI, so these are the cases
// that only this level can reach.
#include "WmiWork.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
struct FromText
{
    VARTYPE vt;
    const char* szText;
    LONG lExpected; // lVal, or ulVal read as signed
};

class QualifierText : public ::testing::TestWithParam<FromText>
{
};

std::string BackupOf(VARTYPE vt, LONG lValue)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = vt;
    v.lVal = lValue;
    return CWmiWork::QualifierBackupText(v);
}
} // namespace

TEST_P(QualifierText, NumbersAreReadAsAtolReadsThem)
{
    VARIANT v;
    CWmiWork::QualifierValueFromText(GetParam().vt, GetParam().szText, &v);
    EXPECT_EQ(GetParam().vt, v.vt);
    EXPECT_EQ(GetParam().lExpected, v.lVal);
}

INSTANTIATE_TEST_SUITE_P(Types, QualifierText,
                         ::testing::Values(FromText{VT_UI4, "4294967295", 2147483647},
                                           FromText{VT_UI4, "12abc", 12}, FromText{VT_UI4, " +7", 7},
                                           FromText{VT_UI4, "-1", -1}, FromText{VT_UI4, "", 0},
                                           FromText{VT_I4, "-2147483649", -2147483647L - 1},
                                           FromText{VT_I4, "0x10", 0}, FromText{VT_BOOL, "true", 0},
                                           FromText{VT_R8, "1.5", 0}));

TEST(QualifierTextBackup, FormsByType)
{
    EXPECT_EQ("4294967295", BackupOf(VT_UI4, -1));
    EXPECT_EQ("-1", BackupOf(VT_I4, -1));
    EXPECT_EQ("", BackupOf(VT_BOOL, VARIANT_TRUE));
    VARIANT v;
    CWmiWork::QualifierValueFromText(VT_BSTR, "\"\"a\"b\"\"", &v);
    EXPECT_EQ(std::wstring(L"a\"b"), v.bstrVal);
    EXPECT_EQ("\"a\"b\"", CWmiWork::QualifierBackupText(v));
    VariantClear(&v);
    CWmiWork::QualifierValueFromText(VT_ARRAY | VT_BSTR, "x", &v);
    ASSERT_EQ(VT_ARRAY | VT_BSTR, v.vt);
    ASSERT_NE(nullptr, v.parray);
    EXPECT_EQ(0u, v.parray->rgsabound[0].cElements);
    VariantClear(&v);
}
