// CWmiWork's deletions against the WMI emulator: namespaces with and without force, classes,
// single and bulk instance deletion; the repository text shows what is left.
#include "WmiWork.h"
#include "WmiWorkTestSupport.h"

namespace
{
// root\TvNs with one child namespace, one class with two instances and one system-class
// instance (an event filter), and a class with an instance outside it in root\cimv2.
const char kWorldMof[] =
    "#pragma namespace(\"\\\\\\\\.\\\\root\")\n"
    "instance of __Namespace { Name = \"TvNs\"; };\n"
    "instance of __Namespace { Name = \"TvBare\"; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvNs\")\n"
    "instance of __Namespace { Name = \"Child\"; };\n"
    "class Tv_Item { [key] string Name; };\n"
    "instance of Tv_Item { Name = \"a\"; };\n"
    "instance of Tv_Item { Name = \"b\"; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvBare\")\n"
    "instance of __EventFilter { Name = \"f\"; Query = \"SELECT * FROM __InstanceCreationEvent\";"
    " QueryLanguage = \"WQL\"; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
    "class Tv_Item { [key] string Name; };\n"
    "instance of Tv_Item { Name = \"a\"; };\n";

class WmiWorkDeleteTest : public EmuAccessTest
{
protected:
    void SetUp() override
    {
        EmuAccessTest::SetUp();
        Seed(kWorldMof);
    }
    bool Holds(const std::string& strName) const { return Repository().find(strName) != std::string::npos; }
    // CWmiWork records of the level whose text begins with strText.
    size_t Count(const std::string& strLevel, const std::string& strText = "") const
    {
        const std::vector<std::string> texts = WorkTexts(Records(), strLevel);
        return static_cast<size_t>(std::count_if(texts.begin(), texts.end(), [&](const std::string& str) {
            return str.compare(0, strText.size(), strText) == 0;
        }));
    }
};

TEST_F(WmiWorkDeleteTest, NamespaceWithOnlySystemClassesGoesWithoutForce)
{
    // The machine prefix form names the same namespace; its parent is root.
    EXPECT_TRUE(CWmiWork::NamespaceDelete("\\\\.\\root\\TvBare", false));
    EXPECT_FALSE(Holds("root\\TvBare"));
    EXPECT_TRUE(Holds("namespace root\\TvNs"));
    EXPECT_EQ(0u, Count("Error"));
    // Without a backslash there is no parent: an invalid argument, thrown.
    HRESULT hr = S_OK;
    try
    {
        CWmiWork::NamespaceDelete("root", true);
    }
    catch (HRESULT hrThrown)
    {
        hr = hrThrown;
    }
    EXPECT_EQ(E_INVALIDARG, hr);
    EXPECT_TRUE(Holds("namespace root\\TvNs"));
}

TEST_F(WmiWorkDeleteTest, NamespaceThatIsNotEmptyIsKeptWithoutForce)
{
    struct Case
    {
        const char* szNamespace;
        const char* szLevel;
        const char* szText;
    } cases[] = {
        {"root\\TvNs", "Warning", "There are child namespaces available"},
        {"root\\TvNs\\Child", "Info",
         "There are non system classes available, skipping deletion of namespace"},
        {"root\\TvMissing", "Error", "ConnectToNamespace failed!"},
    };
    Seed("#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvNs\\\\Child\")\nclass Tv_Other { [key] string N; };\n");
    const std::string strBefore = Repository();
    for (const Case& c : cases)
    {
        EXPECT_FALSE(CWmiWork::NamespaceDelete(c.szNamespace, false)) << c.szNamespace;
        EXPECT_EQ(1u, Count(c.szLevel, c.szText)) << c.szNamespace;
    }
    EXPECT_EQ(strBefore, Repository());
}

TEST_F(WmiWorkDeleteTest, ForcedNamespaceGoesWithEverythingInIt)
{
    EXPECT_TRUE(CWmiWork::NamespaceDelete("root\\TvNs", true));
    EXPECT_FALSE(Holds("root\\TvNs"));
    EXPECT_TRUE(Holds("instance root\\cimv2 Tv_Item"));
    EXPECT_TRUE(Holds("namespace root\\TvBare"));
    // Gone already: the parent has no such instance.
    EXPECT_FALSE(CWmiWork::NamespaceDelete("root\\TvNs", true));
    EXPECT_EQ(1u, Count("Error", "SpecificInstanceDelete failed"));
}

TEST_F(WmiWorkDeleteTest, ClassDeleteTellsNotFoundApart)
{
    EXPECT_EQ(S_OK, CWmiWork::ClassDelete("root\\TvNs", "Tv_Item"));
    EXPECT_FALSE(Holds("root\\TvNs Tv_Item"));
    EXPECT_TRUE(Holds("class root\\cimv2 Tv_Item"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND), CWmiWork::ClassDelete("root\\TvNs", "Tv_Item"));
    EXPECT_EQ(1u, Count("Info", "pWbemServices->DeleteClass returned WBEM_E_NOT_FOUND"));
    EXPECT_EQ(0u, Count("Error"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
              CWmiWork::ClassDelete("root\\TvMissing", "Tv_Item"));
    EXPECT_EQ(1u, Count("Error", "ConnectToNamespace failed"));
}

TEST_F(WmiWorkDeleteTest, InstancesGoOneByOneOrAllOfAClass)
{
    EXPECT_EQ(S_OK, CWmiWork::SpecificInstanceDelete("\\\\.\\root\\TvNs", "Tv_Item.Name=\"a\""));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND),
              CWmiWork::SpecificInstanceDelete("root\\TvNs", "Tv_Item.Name=\"a\""));
    EXPECT_TRUE(Holds("value Name = \"b\""));
    EXPECT_TRUE(CWmiWork::InstanceDelete("root\\TvNs", "Tv_Item", nullptr));
    EXPECT_FALSE(Holds("instance root\\TvNs Tv_Item"));
    EXPECT_TRUE(Holds("class root\\TvNs Tv_Item"));
    EXPECT_TRUE(Holds("instance root\\cimv2 Tv_Item"));
    // No instance left: the query finds nothing, which the bulk form reports as a failure.
    EXPECT_FALSE(CWmiWork::InstanceDelete("root\\TvNs", "Tv_Item", nullptr));
    EXPECT_EQ(1u, Count("Warning", "oAcc.ExecuteQuery failed"));
}
} // namespace
