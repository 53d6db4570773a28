// CWmiWork's deletions against the WMI emulator, where they decide more than the /DD end-to-end
// tests see: which namespaces go without force, and the records of what is refused or not found.
#include "WmiWork.h"
#include "WmiWorkTestSupport.h"

namespace
{
// root\TvNs with a child namespace holding a class, and a class with two instances;
// root\TvBare with only a system-class instance (an event filter).
const char kWorldMof[] =
    "#pragma namespace(\"\\\\\\\\.\\\\root\")\n"
    "instance of __Namespace { Name = \"TvNs\"; };\n"
    "instance of __Namespace { Name = \"TvBare\"; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvNs\")\n"
    "instance of __Namespace { Name = \"Child\"; };\n"
    "class Tv_Item { [key] string Name; };\n"
    "instance of Tv_Item { Name = \"a\"; };\n"
    "instance of Tv_Item { Name = \"b\"; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvNs\\\\Child\")\n"
    "class Tv_Other { [key] string N; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvBare\")\n"
    "instance of __EventFilter { Name = \"f\"; Query = \"SELECT * FROM __InstanceCreationEvent\";"
    " QueryLanguage = \"WQL\"; };\n";

class WmiWorkDeleteTest : public EmuAccessTest
{
protected:
    void SetUp() override
    {
        EmuAccessTest::SetUp();
        Seed(kWorldMof);
    }
    // CWmiWork records of the level whose "text message" begins with strText.
    size_t Count(const std::string& strLevel, const std::string& strText = "") const
    {
        const std::vector<std::string> texts = WorkTexts(Records(), strLevel);
        return static_cast<size_t>(std::count_if(texts.begin(), texts.end(), [&](const std::string& str) {
            return str.compare(0, strText.size(), strText) == 0;
        }));
    }
};

TEST_F(WmiWorkDeleteTest, NamespaceGoesWithoutForceOnlyWhenItHoldsNothingButSystemClasses)
{
    const std::string strBefore = Repository();
    EXPECT_FALSE(CWmiWork::NamespaceDelete("root\\TvNs", false));
    EXPECT_FALSE(CWmiWork::NamespaceDelete("root\\TvNs\\Child", false));
    EXPECT_FALSE(CWmiWork::NamespaceDelete("root\\TvMissing", false));
    EXPECT_EQ(strBefore, Repository());
    EXPECT_EQ(1u, Count("Warning", "There are child namespaces available"));
    EXPECT_EQ(1u, Count("Info", "There are non system classes available, skipping deletion of namespace"));
    EXPECT_EQ(1u, Count("Error", "ConnectToNamespace failed!"));
    EXPECT_TRUE(CWmiWork::NamespaceDelete("root\\TvBare", false));
    EXPECT_EQ(std::string::npos, Repository().find("root\\TvBare"));
    EXPECT_EQ(1u, Count("Error"));
}

TEST_F(WmiWorkDeleteTest, WhatIsNotThereIsReportedByLevel)
{
    EXPECT_TRUE(CWmiWork::InstanceDelete("root\\TvNs", "Tv_Item", nullptr));
    EXPECT_EQ(std::string::npos, Repository().find("instance root\\TvNs Tv_Item"));
    // No instance left: the query finds nothing, which the bulk form reports as a failure.
    EXPECT_FALSE(CWmiWork::InstanceDelete("root\\TvNs", "Tv_Item", nullptr));
    EXPECT_EQ(1u, Count("Warning", "oAcc.ExecuteQuery failed"));
    EXPECT_EQ(S_OK, CWmiWork::ClassDelete("root\\TvNs", "Tv_Item"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND), CWmiWork::ClassDelete("root\\TvNs", "Tv_Item"));
    EXPECT_EQ(1u, Count("Info", "pWbemServices->DeleteClass returned WBEM_E_NOT_FOUND"));
    EXPECT_EQ(0u, Count("Error"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
              CWmiWork::ClassDelete("root\\TvMissing", "Tv_Item"));
    EXPECT_EQ(1u, Count("Error", "ConnectToNamespace failed"));
    // Gone already: the parent has no such instance.
    EXPECT_TRUE(CWmiWork::NamespaceDelete("root\\TvNs", true));
    EXPECT_FALSE(CWmiWork::NamespaceDelete("root\\TvNs", true));
    EXPECT_EQ(1u, Count("Error", "SpecificInstanceDelete failed"));
}
} // namespace
