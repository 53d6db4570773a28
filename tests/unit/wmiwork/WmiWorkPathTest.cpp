// CWmiWork's property lists (against the WMI emulator), object paths and value texts.
#include "MofParse.h"
#include "WmiAccessTestSupport.h"
#include "WmiWork.h"

#include <algorithm>
#include <cstddef>

namespace
{
VARIANT Var(VARTYPE vt, LONGLONG llValue)
{
    VARIANT v;
    VariantInit(&v);
    v.llVal = 0;
    v.vt = vt;
    switch (vt)
    {
    case VT_UI1:
        v.bVal = static_cast<BYTE>(llValue);
        break;
    case VT_I2:
        v.iVal = static_cast<SHORT>(llValue);
        break;
    case VT_BOOL:
        v.boolVal = static_cast<VARIANT_BOOL>(llValue);
        break;
    default:
        v.lVal = static_cast<LONG>(llValue);
        break;
    }
    return v;
}

VARIANT Text(const wchar_t* wsz)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_BSTR;
    v.bstrVal = SysAllocString(wsz);
    return v;
}

VARIANT Real(double d, bool b32)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = b32 ? VT_R4 : VT_R8;
    if (b32)
        v.fltVal = static_cast<float>(d);
    else
        v.dblVal = d;
    return v;
}

WmiPropRecord Record(const char* szName, CIMTYPE type, VARIANT v, bool bKey = true)
{
    WmiPropRecord record;
    record.Name = szName;
    record.Type = type;
    record.bKey = bKey;
    VariantCopy(&record.vDefault, &v);
    VariantClear(&v);
    return record;
}

class WmiWorkPathTest : public EmuAccessTest
{
protected:
    // The texts of the CWmiWork records of a level, from record nFrom of that level on.
    std::vector<std::string> Texts(const std::string& strLevel, size_t nFrom = 0) const
    {
        std::vector<std::string> texts;
        for (const TraceRecord& record : Records())
            if (record.strLevel == strLevel && record.strClass == "CWmiWork")
                texts.push_back(record.strText + (record.strMessage.empty() ? "" : " " + record.strMessage));
        texts.erase(texts.begin(),
                    texts.begin() + static_cast<std::ptrdiff_t>(std::min(nFrom, texts.size())));
        return texts;
    }
};

TEST_F(WmiWorkPathTest, ValueTextsFollowTheTypeTable)
{
    struct Case
    {
        CIMTYPE type;
        VARIANT v;
        const char* szText; // null: refused
        const char* szError;
    } cases[] = {
        // The byte types print with the sign handling reversed.
        {CIM_SINT8, Var(VT_I2, -1), "255", nullptr},
        {CIM_UINT8, Var(VT_UI1, 200), "4294967240", nullptr},
        {CIM_UINT8, Var(VT_UI1, 100), "100", nullptr},
        {CIM_CHAR16, Var(VT_I2, 0xC8), "4294967240", nullptr},
        {CIM_SINT16, Var(VT_I2, -5), "-5", nullptr},
        {CIM_UINT16, Var(VT_I4, 65535), "65535", nullptr},
        {CIM_SINT32, Var(VT_I4, -7), "-7", nullptr},
        {CIM_UINT32, Var(VT_I4, -1), "4294967295", nullptr},
        {CIM_SINT64, Text(L"-9000000000"), "-9000000000", nullptr},
        {CIM_UINT64, Text(L"18446744073709551615"), "18446744073709551615", nullptr},
        {CIM_REAL32, Real(1.5, true), "1.500000", nullptr},
        {CIM_REAL64, Real(-2.25, false), "-2.250000", nullptr},
        {CIM_BOOLEAN, Var(VT_BOOL, VARIANT_TRUE), "TRUE", nullptr},
        {CIM_BOOLEAN, Var(VT_BOOL, 1), "FALSE", nullptr},
        {CIM_STRING, Text(L"a \"b\""), "\"a \"b\"\"", nullptr},
        {CIM_STRING | CIM_FLAG_ARRAY, Text(L"x"), nullptr, "CIM_FLAG_ARRAY not supported"},
        {CIM_EMPTY, Var(VT_I4, 1), nullptr, "CIM_EMPTY not supported"},
        {CIM_OBJECT, Var(VT_I4, 1), nullptr, "CIM_OBJECT not supported"},
        {CIM_DATETIME, Text(L"20200101000000.000000+000"), nullptr, "CIM_DATETIME not supported"},
        {CIM_REFERENCE, Text(L"A.B=1"), nullptr, "CIM_REFERENCE not supported"},
        {CIM_ILLEGAL, Var(VT_I4, 1), nullptr, "CIM_ILLEGAL not supported"},
        {0x99, Var(VT_I4, 1), nullptr, "Type not supported code=0x00000099"},
    };
    for (Case& c : cases)
    {
        const size_t nErrors = Texts("Error").size();
        std::string strText = "<untouched>";
        EXPECT_EQ(c.szText != nullptr, CWmiWork::CimValue2Str(c.type, c.v, strText)) << c.type;
        EXPECT_EQ(c.szText != nullptr ? c.szText : "", strText) << c.type;
        EXPECT_EQ(c.szError != nullptr ? std::vector<std::string>{c.szError} : std::vector<std::string>{},
                  Texts("Error", nErrors))
            << c.type;
        VariantClear(&c.v);
    }
}

TEST_F(WmiWorkPathTest, PathTakesKeysInClassOrderWithDefaultsAndAliases)
{
    Seed("#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
         "class Tv_Path { [key] string Name; [key(false)] uint32 NotKey; string Other = \"o\";"
         " [key] sint32 Id = -4; [key] string Ref; };\n");
    WmiPropList list;
    ASSERT_EQ(S_OK, CWmiWork::PropNamesAndTypesGet("root\\cimv2", "Tv_Path", list));
    std::string strProps;
    for (const WmiPropRecord& record : list)
        strProps += record.Name + (record.bKey ? "*" : "") + " ";
    EXPECT_EQ("Name* NotKey Other Id* Ref* ", strProps);

    MofInstance instance;
    instance.ClassName = "Tv_Path";
    instance.Properties = {{"ref", "$A"}, {"NAME", "\"x\\\"y\""}, {"Other", "\"p\""}};
    const WmiAliasMap aliases = {{"$A", "\\\\\\\\.\\\\root:Tv_A.K=\\\"1\\\""}};
    std::string strPath;
    EXPECT_TRUE(CWmiWork::InstancePathCreate(instance, list, aliases, strPath));
    EXPECT_EQ("Tv_Path.Name=\"x\\\"y\",Id=-4,Ref=\"\\\\\\\\.\\\\root:Tv_A.K=\\\"1\\\"\"", strPath);

    // Without Name the path cannot be made: the class gives it no value.
    instance.Properties.erase(instance.Properties.begin() + 1);
    EXPECT_FALSE(CWmiWork::InstancePathCreate(instance, list, aliases, strPath));
    EXPECT_EQ(
        std::vector<std::string>{
            "Key property not found and no default value set class='Tv_Path', prop='Name'"},
        Texts("Error"));
}

TEST_F(WmiWorkPathTest, DefaultsWithoutPathTextFailThePath)
{
    const WmiPropList lists[] = {
        {Record("When", CIM_DATETIME, Text(L"20200101000000.000000+000"))},
        {Record("R", CIM_REFERENCE, Text(L"Tv_A.K=1"))},
        {Record("L", CIM_SINT32 | CIM_FLAG_ARRAY, Var(VT_I4, 1))},
    };
    const char* szTexts[] = {"CIM_DATETIME not supported", "CIM_REFERENCE not supported",
                             "CIM_FLAG_ARRAY not supported"};
    MofInstance instance;
    instance.ClassName = "Tv_Any";
    for (size_t i = 0; i < 3; ++i)
    {
        const size_t nErrors = Texts("Error").size();
        std::string strPath;
        EXPECT_FALSE(CWmiWork::InstancePathCreate(instance, lists[i], WmiAliasMap(), strPath));
        const std::vector<std::string> texts = Texts("Error", nErrors);
        ASSERT_EQ(2u, texts.size());
        EXPECT_EQ(szTexts[i], texts[0]);
        EXPECT_EQ("CWmiWork::CimValue2Str failed class='Tv_Any', prop='" + lists[i][0].Name + "'", texts[1]);
    }
}

TEST_F(WmiWorkPathTest, MissingClassIsNotAnError)
{
    WmiPropList list = {Record("Stale", CIM_SINT32, Var(VT_I4, 1))};
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND),
              CWmiWork::PropNamesAndTypesGet("root\\cimv2", "Tv_No", list));
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(Texts("Error").empty());
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
              CWmiWork::PropNamesAndTypesGet("root\\TvNo", "Tv_No", list));
    const std::vector<std::string> errors = Texts("Error");
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(0u, errors.back().find("ConnectToNamespace failed hr=0x8004100E"));
}
} // namespace
