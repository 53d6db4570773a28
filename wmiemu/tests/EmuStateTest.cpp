// Persistence and the tool: state survives in the repository file, which wmiemutool seeds, dumps
// and resets in a stable text form.
#include "EmuTestUtil.h"

#include <fstream>

TEST_F(EmuTest, ToolSeedsDumpsAndResetsTheRepository)
{
    std::wstring mof = m_dir + L"seed.mof";
    {
        std::ofstream f(mof.c_str(), std::ios::binary);
        f << "[Version(\"1.0.3\")] class Seeded { [key] string Id; uint32 N = 2; };\n"
             "instance of Seeded { Id = \"one\"; };\n";
    }
    EXPECT_EQ(2, RunTool(L"seed -N:cimv2 \"" + mof + L"\"")); // not a path from root
    ASSERT_EQ(0, RunTool(L"seed -N:\\\\.\\root\\cimv2 \"" + mof + L"\""));
    CComPtrT<IWbemClassObject> obj;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns(L"root\\cimv2").Get(), L"Seeded.Id=\"one\"", obj));

    std::string dump, again;
    ASSERT_EQ(0, RunTool(L"dump root\\cimv2", &dump));
    EXPECT_EQ("wmiemu-repository 1\n"
              "namespace root\\cimv2\n"
              "class root\\cimv2 Seeded\n"
              "  qualifier Version flavor=0x2 = \"1.0.3\"\n"
              "  property string Id\n"
              "    qualifier key flavor=0x2 = true\n"
              "  property uint32 N = 2\n"
              "instance root\\cimv2 Seeded\n"
              "  value Id = \"one\"\n",
              dump);
    ASSERT_EQ(0, RunTool(L"dump root\\cimv2", &again));
    EXPECT_EQ(dump, again);
    EXPECT_EQ(1, RunTool(L"dump root\\nosuch"));

    ASSERT_EQ(0, RunTool(L"reset"));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns(L"root\\cimv2").Get(), L"Seeded", obj));
    EXPECT_EQ(2, RunTool(L"frobnicate"));
}

TEST_F(EmuTest, ToolReportsParseErrorsWithoutStoring)
{
    std::wstring mof = m_dir + L"bad.mof";
    {
        std::ofstream f(mof.c_str(), std::ios::binary);
        f << "class Fine { };\nclass Broken {\n";
    }
    std::string out;
    EXPECT_EQ(1, RunTool(L"seed \"" + mof + L"\"", &out));
    EXPECT_NE(std::string::npos, out.find("parse error 0x8004"));
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"Fine", obj));
}

TEST_F(EmuTest, UnreadableRepositoryFileFailsInsteadOfStartingOver)
{
    CompileOk("class Precious { };");
    {
        std::ofstream f((m_dir + L"repository.txt").c_str(), std::ios::binary | std::ios::trunc);
        f << "wmiemu-repository 1\nnamespace root\nthis is not a repository line\n";
    }
    CComPtrT<IWbemServices> svc;
    EXPECT_EQ(WBEM_E_FAILED, Connect(L"root\\default", svc));
    std::string out;
    EXPECT_EQ(1, RunTool(L"dump", &out));
    EXPECT_NE(std::string::npos, out.find("line 3"));
}

// A process killed while it appends a call to the journal leaves part of a record: the repository
// loads with every complete call, whatever the length of the part, and the next write goes on from there.
TEST_F(EmuTest, WriteCutShortLeavesTheLastCompleteCall)
{
    CompileOk("class Kept { [key] string K; }; instance of Kept { K = \"1\"; };");
    CompileOk("instance of Kept { K = \"2\"; };");
    const std::wstring journal = m_dir + L"repository.txt.journal";
    std::string bytes;
    {
        std::ifstream f(journal.c_str(), std::ios::binary);
        bytes.assign((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    }
    const size_t nLast = bytes.rfind("begin\n");
    ASSERT_NE(std::string::npos, nLast);
    for (size_t n = nLast; n <= bytes.size(); ++n)
    {
        std::ofstream((journal).c_str(), std::ios::binary | std::ios::trunc) << bytes.substr(0, n);
        const std::wstring dump = Dump();
        EXPECT_NE(std::wstring::npos, dump.find(L"value K = \"1\"")) << n;
        EXPECT_EQ(n == bytes.size(), dump.find(L"value K = \"2\"") != std::wstring::npos) << n;
    }
    std::ofstream((journal).c_str(), std::ios::binary | std::ios::trunc) << bytes.substr(0, bytes.size() - 2);
    CompileOk("instance of Kept { K = \"3\"; };");
    std::string dump;
    ASSERT_EQ(0, RunTool(L"dump root\\default", &dump));
    EXPECT_NE(std::string::npos, dump.find("value K = \"1\""));
    EXPECT_EQ(std::string::npos, dump.find("value K = \"2\""));
    EXPECT_NE(std::string::npos, dump.find("value K = \"3\""));
}
