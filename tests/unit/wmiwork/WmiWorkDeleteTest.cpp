// What CWmiWork's deletions and reads trace when their namespace or class is not there: the
// level of each record (that the jobs go on, and what they delete, is proven end to end).
#include "WmiWork.h"
#include "WmiWorkTestSupport.h"

#include <functional>

namespace
{
using WmiWorkMissingTest = EmuAccessTest;

TEST_F(WmiWorkMissingTest, WhatIsNotThereIsTracedByLevel)
{
    WmiPropList list(1);
    const auto nsDelete = [](bool bForce) {
        return [bForce] { return CWmiWork::NamespaceDelete("root\\TvNo", bForce) ? S_OK : E_FAIL; };
    };
    const struct
    {
        std::function<HRESULT()> call;
        DWORD dwHr;
        const char* szLevel;
        const char* szText; // how the one record of that level begins; null: no Error record at all
    } cases[] = {
        {[] { return CWmiWork::ClassDelete("root\\cimv2", "Tv_No"); }, WBEM_E_NOT_FOUND, "Info",
         "pWbemServices->DeleteClass returned WBEM_E_NOT_FOUND class='Tv_No'"},
        {[] { return CWmiWork::ClassDelete("root\\TvNo", "Tv_No"); }, WBEM_E_INVALID_NAMESPACE, "Error",
         "ConnectToNamespace failed NS='root\\TvNo' hr=0x8004100E"},
        {[&list] { return CWmiWork::PropNamesAndTypesGet("root\\cimv2", "Tv_No", list); }, WBEM_E_NOT_FOUND,
         "Error", nullptr},
        {[&list] { return CWmiWork::PropNamesAndTypesGet("root\\TvNo", "Tv_No", list); },
         WBEM_E_INVALID_NAMESPACE, "Error", "ConnectToNamespace failed hr=0x8004100E"},
        {nsDelete(false), static_cast<DWORD>(E_FAIL), "Error", "ConnectToNamespace failed! hr=0x8004100E"},
        // Forced, the parent is asked to delete its instance of the namespace, which it has not.
        {nsDelete(true), static_cast<DWORD>(E_FAIL), "Error",
         "SpecificInstanceDelete failed szNamespace='root', csObjPath='__NAMESPACE.Name=\"TvNo\"', "
         "hr=0x80041002"},
    };
    for (const auto& c : cases)
    {
        const std::string strText = c.szText != nullptr ? c.szText : "";
        const size_t nErrors = WorkTexts(Records(), "Error").size();
        const size_t nLevel = WorkTexts(Records(), c.szLevel).size();
        EXPECT_EQ(static_cast<HRESULT>(c.dwHr), c.call()) << strText;
        const std::vector<std::string> texts = WorkTexts(Records(), c.szLevel, nLevel);
        const auto nMatches = std::count_if(texts.begin(), texts.end(), [&](const std::string& str) {
            return !strText.empty() && str.compare(0, strText.size(), strText) == 0;
        });
        EXPECT_EQ(strText.empty() ? 0 : 1, nMatches) << strText;
        const bool bErrorRow = !strText.empty() && c.szLevel == std::string("Error");
        EXPECT_TRUE(bErrorRow || WorkTexts(Records(), "Error", nErrors).empty()) << strText;
    }
    EXPECT_TRUE(list.empty());
}
} // namespace
