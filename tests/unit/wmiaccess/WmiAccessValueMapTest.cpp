// Mapped property values of CCWMIAccess: integers turned into their "Values" texts.
#include "WmiAccessTestSupport.h"

#include <map>

namespace
{
const char kMappedMof[] =
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
    "class Tv_Mapped {\n"
    "  [key] string Id;\n"
    "  [ValueMap {\"1\", \"2\", \"3\"}, Values {\"One\", \"Two\", \"Three\"}] uint32 State;\n"
    "  [ValueMap {\"5\", \"7\"}, Values {\"Five\", \"Seven\", \"Extra\"}] uint32 Short;\n"
    "  uint32 Plain;\n"
    "};\n"
    "instance of Tv_Mapped { Id = \"a\"; State = 1; Short = 5; Plain = 4; };\n"
    "instance of Tv_Mapped { Id = \"b\"; State = 3; Short = 7; Plain = 4; };\n"
    "instance of Tv_Mapped { Id = \"c\"; State = 9; Short = 6; Plain = 4; };\n"
    "instance of Tv_Mapped { Id = \"d\"; State = 2; Short = 5; Plain = 4; };\n";

class ValueMapTest : public EmuAccessTest
{
protected:
    void SetUp() override
    {
        EmuAccessTest::SetUp();
        Seed(kMappedMof);
        ASSERT_EQ(S_OK, m_oAccess.ConnectToNamespace("root\\cimv2"));
    }
    // The mapped text of a property of instance szId, or the failure code as text.
    std::string Mapped(const char* szId, const char* szProperty, long lOffset)
    {
        const std::string strPath = std::string("Tv_Mapped.Id=\"") + szId + "\"";
        EXPECT_EQ(S_OK, m_oAccess.GetObject(strPath.c_str()));
        CTestVariant v;
        EXPECT_EQ(S_OK, m_oAccess.GetProperty(szProperty, &v));
        const HRESULT hr = m_oAccess.GetMappedProperty(szProperty, &v, lOffset);
        if (FAILED(hr))
        {
            char szCode[16];
            sprintf(szCode, "0x%08X", static_cast<unsigned>(hr));
            return szCode;
        }
        return v.Str();
    }
    CCWMIAccess m_oAccess;
};
} // namespace

// Failures give their code: an offset past the texts, and a property without a map.
TEST_F(ValueMapTest, ValuesMapUpToTheUpperBoundAndTheOffsetMovesTheIndex)
{
    const struct
    {
        const char *szId, *szProperty;
        long lOffset;
        const char* szExpected;
    } cases[] = {
        {"a", "State", 0, "One"},
        {"d", "State", 0, "Two"},
        {"a", "Short", 0, "Five"},
        // The element at the upper bound is never compared: 3 (only there) and 9 (nowhere) map to it.
        {"b", "State", 0, "Three"},
        {"c", "State", 0, "Three"},
        // The upper bound of the map, not of the texts: 7 and 6 both give the second text.
        {"b", "Short", 0, "Seven"},
        {"c", "Short", 0, "Seven"},
        {"a", "State", 1, "Two"},
        {"d", "State", 1, "Three"},
        {"b", "Short", 1, "Extra"},
        {"b", "State", 1, "0x8004102B"},
        {"a", "Plain", 0, "0x80041002"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.szExpected, Mapped(c.szId, c.szProperty, c.lOffset)) << c.szId << " " << c.szProperty;
    std::vector<std::string> thrown;
    for (const TraceRecord& record : Records("GetMappedProperty", "Exception"))
        thrown.push_back(record.strText + "|" + record.strMessage);
    EXPECT_EQ((std::vector<std::string>{
                  "Throwing exception because index out of range|",
                  "Throwing exception because GetClassQualifier on 'Values' failed!|hr 0x80041002"}),
              thrown);
}

TEST_F(ValueMapTest, PropertyEnumerationMapsWhatHasAMapAndKeepsTheRest)
{
    ASSERT_EQ(S_OK, m_oAccess.GetObject("Tv_Mapped.Id=\"b\""));
    ASSERT_EQ(S_OK, m_oAccess.BeginPropertyEnumeration());
    std::map<std::string, std::string> values;
    for (int n = 0; n < 100; ++n)
    {
        char szName[128];
        CTestVariant v;
        const HRESULT hr = m_oAccess.GetNextProperty(szName, &v, sizeof(szName), true, 0);
        if (hr == static_cast<HRESULT>(0x80041009))
            break;
        ASSERT_EQ(S_OK, hr) << szName;
        values[szName] = v.v.vt == VT_BSTR ? v.Str() : "vt " + std::to_string(v.v.vt);
    }
    EXPECT_EQ("Three", values["State"]);
    EXPECT_EQ("Seven", values["Short"]);
    EXPECT_EQ("vt 3", values["Plain"]); // VT_I4, not mapped
    EXPECT_EQ("b", values["Id"]);
}
