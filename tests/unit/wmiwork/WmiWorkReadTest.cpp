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
} // namespace
