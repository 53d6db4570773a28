// CWmiWork's deletions against the WMI emulator: namespaces with and without force, classes,
// single and bulk instance deletion; the repository text shows what is left.
#include "WmiAccessTestSupport.h"
#include "WmiWork.h"

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
    bool HasNamespace(const std::string& strNs) const
    {
        return Repository().find("namespace " + strNs + "\r\n") != std::string::npos ||
               Repository().find("namespace " + strNs + "\n") != std::string::npos;
    }
    size_t Count(const std::string& strLevel, const std::string& strText) const
    {
        size_t n = 0;
        for (const TraceRecord& record : Records())
            n += record.strLevel == strLevel && record.strText == strText ? 1 : 0;
        return n;
    }
    size_t ErrorRecords() const
    {
        size_t n = 0;
        for (const TraceRecord& record : Records())
            n += record.strLevel == "Error" ? 1 : 0;
        return n;
    }
};

TEST_F(WmiWorkDeleteTest, NamespaceWithOnlySystemClassesGoesWithoutForce)
{
    // The machine prefix form names the same namespace; its parent is root.
    EXPECT_TRUE(CWmiWork::NamespaceDelete("\\\\.\\root\\TvBare", false));
    EXPECT_FALSE(HasNamespace("root\\TvBare"));
    EXPECT_TRUE(HasNamespace("root\\TvNs"));
    EXPECT_EQ(0u, ErrorRecords());
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
    const std::string strRepo = Repository();
    EXPECT_EQ(std::string::npos, strRepo.find("root\\TvNs")) << strRepo;
    EXPECT_NE(std::string::npos, strRepo.find("instance root\\cimv2 Tv_Item")) << strRepo;
    EXPECT_TRUE(HasNamespace("root\\TvBare"));
    // Gone already: the parent has no such instance.
    EXPECT_FALSE(CWmiWork::NamespaceDelete("root\\TvNs", true));
    EXPECT_EQ(1u, Count("Error", "SpecificInstanceDelete failed"));
}

TEST_F(WmiWorkDeleteTest, NamespacePathWithoutParentIsAnInvalidArgument)
{
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
    EXPECT_TRUE(HasNamespace("root\\TvNs"));
}

TEST_F(WmiWorkDeleteTest, ClassDeleteTellsNotFoundApart)
{
    EXPECT_EQ(S_OK, CWmiWork::ClassDelete("root\\TvNs", "Tv_Item"));
    EXPECT_EQ(std::string::npos, Repository().find("class root\\TvNs Tv_Item"));
    EXPECT_EQ(std::string::npos, Repository().find("instance root\\TvNs Tv_Item"));
    EXPECT_NE(std::string::npos, Repository().find("class root\\cimv2 Tv_Item"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND), CWmiWork::ClassDelete("root\\TvNs", "Tv_Item"));
    EXPECT_EQ(1u, Count("Info", "pWbemServices->DeleteClass returned WBEM_E_NOT_FOUND"));
    EXPECT_EQ(0u, ErrorRecords());
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
              CWmiWork::ClassDelete("root\\TvMissing", "Tv_Item"));
    EXPECT_EQ(1u, Count("Error", "ConnectToNamespace failed"));
}

TEST_F(WmiWorkDeleteTest, InstancesGoOneByOneOrAllOfAClass)
{
    EXPECT_EQ(S_OK, CWmiWork::SpecificInstanceDelete("\\\\.\\root\\TvNs", "Tv_Item.Name=\"a\""));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_NOT_FOUND),
              CWmiWork::SpecificInstanceDelete("root\\TvNs", "Tv_Item.Name=\"a\""));
    EXPECT_NE(std::string::npos, Repository().find("value Name = \"b\""));
    EXPECT_TRUE(CWmiWork::InstanceDelete("root\\TvNs", "Tv_Item", nullptr));
    const std::string strRepo = Repository();
    EXPECT_EQ(std::string::npos, strRepo.find("instance root\\TvNs Tv_Item"));
    EXPECT_NE(std::string::npos, strRepo.find("class root\\TvNs Tv_Item"));
    EXPECT_NE(std::string::npos, strRepo.find("instance root\\cimv2 Tv_Item"));
    // No instance left: the query finds nothing, which the bulk form reports as a failure.
    EXPECT_FALSE(CWmiWork::InstanceDelete("root\\TvNs", "Tv_Item", nullptr));
    EXPECT_EQ(1u, Count("Warning", "oAcc.ExecuteQuery failed"));
}
} // namespace
