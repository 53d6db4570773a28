// CWmiWork's value texts and object paths; the property list read from the WMI emulator.
#include "MofParse.h"
#include "WmiWork.h"
#include "WmiWorkTestSupport.h"

namespace
{
// A variant of type vt holding d (a string variant holds wsz).
VARIANT Var(VARTYPE vt, double d, const wchar_t* wsz = nullptr)
{
    VARIANT v;
    VariantInit(&v);
    v.llVal = static_cast<LONGLONG>(d);
    if (vt == VT_R4)
        v.fltVal = static_cast<float>(d);
    if (vt == VT_R8)
        v.dblVal = d;
    if (vt == VT_BSTR)
        v.bstrVal = SysAllocString(wsz);
    v.vt = vt;
    return v;
}

using WmiWorkPathTest = EmuAccessTest;

TEST_F(WmiWorkPathTest, ValueTextsFollowTheTypeTable)
{
    struct Case
    {
        CIMTYPE type;
        VARIANT v;
        const char* szText; // null: refused with szError
        const char* szError;
    } cases[] = {
        // The byte types print with the sign handling reversed.
        {CIM_SINT8, Var(VT_I2, -1), "255", nullptr},
        {CIM_UINT8, Var(VT_UI1, 200), "4294967240", nullptr},
        {CIM_UINT8, Var(VT_UI1, 100), "100", nullptr},
        {CIM_CHAR16, Var(VT_I2, 0xC8), "4294967240", nullptr},
        // The whole 32-bit field, signed and unsigned: not its low 16 bits, not the other sign.
        {CIM_SINT16, Var(VT_I4, -70000), "-70000", nullptr},
        {CIM_UINT16, Var(VT_I4, -70000), "4294897296", nullptr},
        {CIM_SINT32, Var(VT_I4, -7), "-7", nullptr},
        {CIM_UINT32, Var(VT_I4, -1), "4294967295", nullptr},
        {CIM_SINT64, Var(VT_BSTR, 0, L"-9000000000"), "-9000000000", nullptr},
        {CIM_UINT64, Var(VT_BSTR, 0, L"18446744073709551615"), "18446744073709551615", nullptr},
        {CIM_REAL32, Var(VT_R4, 1.5), "1.500000", nullptr},
        {CIM_REAL64, Var(VT_R8, -2.25), "-2.250000", nullptr},
        {CIM_BOOLEAN, Var(VT_BOOL, VARIANT_TRUE), "TRUE", nullptr},
        {CIM_BOOLEAN, Var(VT_BOOL, 1), "FALSE", nullptr},
        {CIM_STRING, Var(VT_BSTR, 0, L"a \"b\""), "\"a \"b\"\"", nullptr},
        {CIM_STRING | CIM_FLAG_ARRAY, Var(VT_BSTR, 0, L"x"), nullptr, "CIM_FLAG_ARRAY not supported"},
        {CIM_EMPTY, Var(VT_I4, 1), nullptr, "CIM_EMPTY not supported"},
        {CIM_OBJECT, Var(VT_I4, 1), nullptr, "CIM_OBJECT not supported"},
        {CIM_DATETIME, Var(VT_BSTR, 0, L"20200101000000.000000+000"), nullptr, "CIM_DATETIME not supported"},
        {CIM_REFERENCE, Var(VT_BSTR, 0, L"A.B=1"), nullptr, "CIM_REFERENCE not supported"},
        {CIM_ILLEGAL, Var(VT_I4, 1), nullptr, "CIM_ILLEGAL not supported"},
        {0x99, Var(VT_I4, 1), nullptr, "Type not supported code=0x00000099"},
    };
    for (Case& c : cases)
    {
        const size_t nErrors = WorkTexts(Records(), "Error").size();
        std::string strText = "<untouched>";
        EXPECT_EQ(c.szText != nullptr, CWmiWork::CimValue2Str(c.type, c.v, strText)) << c.type;
        EXPECT_EQ(c.szText != nullptr ? c.szText : "", strText) << c.type;
        EXPECT_EQ(c.szError != nullptr ? std::vector<std::string>{c.szError} : std::vector<std::string>(),
                  WorkTexts(Records(), "Error", nErrors))
            << c.type;
        VariantClear(&c.v);
    }
    // A key the instance leaves out of a type without a value text fails the path as such,
    // before its missing default would.
    WmiPropList list(1);
    list[0].Name = "K";
    list[0].Type = CIM_DATETIME;
    list[0].bKey = true;
    MofInstance instance;
    instance.ClassName = "Tv_Any";
    std::string strPath;
    EXPECT_FALSE(CWmiWork::InstancePathCreate(instance, list, WmiAliasMap(), strPath));
    EXPECT_EQ("CWmiWork::CimValue2Str failed class='Tv_Any', prop='K'", WorkTexts(Records(), "Error").back());
}

TEST_F(WmiWorkPathTest, PathTakesKeysInClassOrderWithDefaults)
{
    Seed("#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
         "class Tv_Path { [key] string Name; [key(false)] uint32 NotKey; string Other = \"o\";"
         " [key] sint32 Id = -4; [key] string Ref; };\n");
    WmiPropList list;
    ASSERT_EQ(S_OK, CWmiWork::PropNamesAndTypesGet("root\\cimv2", "Tv_Path", list));
    std::string strProps;
    for (const WmiPropRecord& record : list)
        strProps += record.Name + (record.bKey ? "* " : " ");
    EXPECT_EQ("Name* NotKey Other Id* Ref* ", strProps);

    MofInstance instance;
    instance.ClassName = "Tv_Path";
    instance.Properties = {{"ref", "\"r\""}, {"NAME", "\"x\\\"y\""}, {"Other", "\"p\""}};
    std::string strPath;
    EXPECT_TRUE(CWmiWork::InstancePathCreate(instance, list, WmiAliasMap(), strPath));
    EXPECT_EQ("Tv_Path.Name=\"x\\\"y\",Id=-4,Ref=\"r\"", strPath);
}
} // namespace
