// CWmiWork's property list of a class, read from the emulator and from Wine's own WMI.
#include "WmiAccessTestSupport.h"
#include "WmiWork.h"

namespace
{
using WmiWorkReadTest = ReadOnlyAccessTest;

// The level word and text of every CWmiWork record of level 1.
std::vector<std::string> Errors(const std::vector<TraceRecord>& records)
{
    std::vector<std::string> errors;
    for (const TraceRecord& record : records)
        if (record.strClass == "CWmiWork" && record.strLevel == "Error")
            errors.push_back(record.strText + " " + record.strMessage);
    return errors;
}

TEST_F(WmiWorkReadTest, PropertiesOfAClassWithTheirKeys)
{
    WmiPropList list;
    ASSERT_EQ(S_OK, CWmiWork::PropNamesAndTypesGet(kReadNamespace, kReadClass, list));
    size_t nKeys = 0;
    bool bKeyFound = false;
    for (const WmiPropRecord& record : list)
    {
        EXPECT_NE(0, record.Name.compare(0, 2, "__")) << record.Name;
        nKeys += record.bKey ? 1 : 0;
        bKeyFound = bKeyFound || (record.Name == kReadKey && record.bKey && record.Type == CIM_STRING);
    }
    EXPECT_LE(2u, list.size());
#ifdef WMIACC_EMU
    EXPECT_TRUE(bKeyFound);
    EXPECT_EQ(1u, nKeys);
#else
    // Wine's WMI gives its properties no "key" qualifier: the keys are checked in the emulator only.
    (void)bKeyFound;
    (void)nKeys;
#endif
}

TEST_F(WmiWorkReadTest, MissingClassIsNotAnError)
{
    WmiPropList list(1);
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND),
              CWmiWork::PropNamesAndTypesGet(kReadNamespace, "Tv_No", list));
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(Errors(Records()).empty());
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
              CWmiWork::PropNamesAndTypesGet("root\\TvNo", "Tv_No", list));
    const std::vector<std::string> errors = Errors(Records());
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(0u, errors.back().find("ConnectToNamespace failed hr=0x8004100E"));
}
} // namespace
