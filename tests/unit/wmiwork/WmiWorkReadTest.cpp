// CWmiWork's property list of a class, read from the emulator and from Wine's own WMI.
#include "WmiWork.h"
#include "WmiWorkTestSupport.h"

namespace
{
using WmiWorkReadTest = ReadOnlyAccessTest;

TEST_F(WmiWorkReadTest, PropertiesOfAClassWithTheirKeys)
{
    WmiPropList list;
    ASSERT_EQ(S_OK, CWmiWork::PropNamesAndTypesGet(kReadNamespace, kReadClass, list));
    std::string strKeys;
    for (const WmiPropRecord& record : list)
    {
        EXPECT_NE(0, record.Name.compare(0, 2, "__")) << record.Name;
        strKeys += record.bKey ? record.Name + (record.Type == CIM_STRING ? " string " : " other ") : "";
    }
    EXPECT_LE(2u, list.size());
#ifdef WMIACC_EMU
    // Wine's WMI gives its properties no "key" qualifier: the keys are checked here only.
    EXPECT_EQ(std::string(kReadKey) + " string ", strKeys);
#endif
}

TEST_F(WmiWorkReadTest, MissingClassIsNotAnError)
{
    WmiPropList list(1);
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND),
              CWmiWork::PropNamesAndTypesGet(kReadNamespace, "Tv_No", list));
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(WorkTexts(Records(), "Error").empty());
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
              CWmiWork::PropNamesAndTypesGet("root\\TvNo", "Tv_No", list));
    const std::vector<std::string> errors = WorkTexts(Records(), "Error");
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(0u, errors.back().find("ConnectToNamespace failed hr=0x8004100E"));
}
} // namespace
