// The qualifier type table of /SQ for the types that WMI never stores in a qualifier
// (VT_UI4) or that hold no text (arrays); the stored types are tested end to end.
#include "WmiWork.h"

#include <gtest/gtest.h>

TEST(QualifierText, Ui4IsReadAsAtolReadsItAndKeptUnsigned)
{
    const struct
    {
        const char* szText;
        ULONG ulValue;
        const char* szBackup;
    } rows[] = {
        {"4294967295", 2147483647, "2147483647"}, {"12abc", 12, "12"}, {"-1", 0xFFFFFFFF, "4294967295"}};
    for (const auto& row : rows)
    {
        VARIANT v;
        CWmiWork::QualifierValueFromText(VT_UI4, row.szText, &v);
        EXPECT_EQ(VT_UI4, v.vt);
        EXPECT_EQ(row.ulValue, v.ulVal) << row.szText;
        EXPECT_EQ(row.szBackup, CWmiWork::QualifierBackupText(v));
    }
    VARIANT v;
    CWmiWork::QualifierValueFromText(VT_ARRAY | VT_BSTR, "x", &v);
    ASSERT_EQ(VT_ARRAY | VT_BSTR, v.vt);
    EXPECT_EQ(0u, v.parray->rgsabound[0].cElements);
    EXPECT_EQ("", CWmiWork::QualifierBackupText(v));
    VariantClear(&v);
}
