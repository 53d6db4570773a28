// IMofCompiler::CompileFile: storing, aliases, errors with phase/object/lines, what a failed compile
// leaves stored, autorecover registration.
#include "EmuTestUtil.h"

#include <fstream>

namespace
{
std::vector<std::wstring> AutorecoverList()
{
    std::vector<std::wstring> r;
    wchar_t buf[8192] = {};
    DWORD cb = sizeof(buf) - 4;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\WBEM\\CIMOM", L"Autorecover MOFs",
                     RRF_RT_REG_MULTI_SZ, nullptr, buf, &cb) == ERROR_SUCCESS)
        for (const wchar_t* p = buf; *p; p += wcslen(p) + 1)
            r.push_back(p);
    return r;
}
} // namespace

TEST_F(EmuTest, CompiledClassesAndAliasedInstancesAreStored)
{
    CompileOk(R"(// a provider registration as Windows' samples write it
#pragma namespace("\\\\.\\root\\cimv2")
class EmuProvided { [key] string Id; real64 Ratio = 1.5e1; sint64 Big = -9000000000; uint8 Bytes[] = {1, 0x2, 011}; };
instance of __Win32Provider as $Prov
{
    Name = "EmuProv";
    CLSID = "{00000000-0000-0000-0000-000000000001}";
};
instance of __InstanceProviderRegistration
{
    Provider = $Prov;
    SupportsGet = TRUE;
};
instance of __MethodProviderRegistration { Provider = $Prov; }; // below an abstract class: own keys
instance of EmuProvided { Id = "a" "b"; };
)");
    auto& svc = Ns(L"root\\cimv2");
    CComPtrT<IWbemClassObject> obj;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"EmuProvided.Id=\"ab\"", obj));
    CVar ratio, big, bytes;
    ASSERT_EQ(WBEM_S_NO_ERROR, obj->Get(L"Ratio", 0, &ratio, nullptr, nullptr));
    EXPECT_EQ(15.0, ratio.v.dblVal);
    ASSERT_EQ(WBEM_S_NO_ERROR, obj->Get(L"Big", 0, &big, nullptr, nullptr));
    EXPECT_EQ(L"-9000000000", big.Str());
    ASSERT_EQ(WBEM_S_NO_ERROR, obj->Get(L"Bytes", 0, &bytes, nullptr, nullptr));
    EXPECT_EQ(VT_ARRAY | VT_UI1, bytes.v.vt);
    CBstr reg(L"__InstanceProviderRegistration");
    CComPtrT<IEnumWbemClassObject> en;
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->CreateInstanceEnum(reg, 0, nullptr, &en));
    auto providers = EnumNames(en.Get(), L"Provider");
    ASSERT_EQ(1u, providers.size());
    EXPECT_NE(std::wstring::npos, providers[0].find(L"__Win32Provider.Name=\"EmuProv\""));
}

TEST_F(EmuTest, SyntaxErrorReportsPhaseOneWithLinesAndStoresNothing)
{
    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE, Compile("class GoodOne { string A; };\n"
                                    "\n"
                                    "class BadOne\n"
                                    "{\n"
                                    "    string B\n"
                                    "};\n",
                                    &info));
    EXPECT_EQ(1, info.lPhaseError);
    EXPECT_EQ(0x80044000, (unsigned long)info.hRes & 0xFFFFF000);
    EXPECT_EQ(2, info.ObjectNum);
    EXPECT_EQ(3, info.FirstLine);
    EXPECT_GE(info.LastLine, 5);
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"GoodOne", obj));
}

// "Handling Errors with the MOF Compiler": what was stored before the failing declaration stays.
TEST_F(EmuTest, StorageErrorReportsPhaseThreeAndKeepsWhatWasStoredBefore)
{
    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE, Compile("class Kept { [key] string A; };\n"
                                    "instance of Kept { A = \"1\"; };\n"
                                    "instance of Missing\n"
                                    "{\n"
                                    "    A = \"2\";\n"
                                    "};\n"
                                    "instance of Kept { A = \"3\"; };\n",
                                    &info));
    EXPECT_EQ(3, info.lPhaseError);
    EXPECT_EQ(WBEM_E_NOT_FOUND, info.hRes);
    EXPECT_EQ(3, info.ObjectNum);
    EXPECT_EQ(3, info.FirstLine);
    EXPECT_EQ(6, info.LastLine);
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"Kept.A=\"1\"", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"Kept.A=\"3\"", obj));

    EXPECT_EQ(WBEM_S_FALSE,
              Compile("#pragma namespace(\"\\\\\\\\.\\\\root\\\\NoSuchNs\")\nclass X { };\n", &info));
    EXPECT_EQ(3, info.lPhaseError);
    EXPECT_EQ(WBEM_E_INVALID_NAMESPACE, info.hRes);
}

// "Creating a WMI Alias": forward references resolve; circular aliases and undefined ones do not compile.
TEST_F(EmuTest, AliasesResolveForwardAndRefuseCycles)
{
    const std::string CLASSES = "class Node { [key] string Id; Node ref Next; };\n";
    CompileOk(CLASSES +
              "instance of Node { Id = \"a\"; Next = $B; };\ninstance of Node as $B { Id = \"b\"; };\n");
    CComPtrT<IWbemClassObject> obj;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"Node.Id=\"a\"", obj));
    EXPECT_EQ(L"\\\\.\\root\\default:Node.Id=\"b\"", GetStr(obj.Get(), L"Next"));
    struct
    {
        const char* mof;
        long lPhase;
        unsigned long hr;
        long lObject;
    } rows[] = {
        {"instance of Node as $C { Id = \"c\"; Next = $D; };\ninstance of Node as $D { Id = \"d\"; Next = "
         "$C; };\n",
         3, WBEM_E_CIRCULAR_REFERENCE, 2},
        {"instance of Node as $E { Id = \"e\"; Next = $E; };\n", 3, WBEM_E_CIRCULAR_REFERENCE, 2},
        {"instance of Node { Id = \"f\"; Next = $Nowhere; };\n", 1, 0x8004400eUL, 2},
    };
    for (auto& row : rows)
    {
        WBEM_COMPILE_STATUS_INFO info = {};
        EXPECT_EQ(WBEM_S_FALSE, Compile(CLASSES + row.mof, &info)) << row.mof;
        EXPECT_EQ(row.lPhase, info.lPhaseError) << row.mof;
        EXPECT_EQ(row.hr, (unsigned long)info.hRes) << row.mof;
        EXPECT_EQ(row.lObject, info.ObjectNum) << row.mof;
    }
}

TEST_F(EmuTest, AutorecoverPragmaRegistersTheFileOnce)
{
    std::string mof = "#pragma autorecover\nclass EmuRecover { };\n";
    CompileOk(mof);
    CompileOk(mof);
    std::wstring path = m_dir + L"test.mof";
    auto list = AutorecoverList();
    EXPECT_EQ(1, std::count_if(list.begin(), list.end(), [&](const std::wstring& e) {
                  return _wcsicmp(e.c_str(), path.c_str()) == 0;
              }));

    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE, Compile("#pragma autorecover\nclass Broken {\n", &info, L"broken.mof"));
    list = AutorecoverList();
    std::wstring broken = m_dir + L"broken.mof";
    EXPECT_EQ(0, std::count_if(list.begin(), list.end(), [&](const std::wstring& e) {
                  return _wcsicmp(e.c_str(), broken.c_str()) == 0;
              }));
}

TEST_F(EmuTest, ClassflagsDeleteclassAndDeleteinstancePragmasApply)
{
    CompileOk("class EmuFlagged { uint32 A; };\nclass EmuDoomed { };\n");
    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE,
              Compile("#pragma classflags(\"createonly\")\nclass EmuFlagged { uint32 A; };\n", &info));
    EXPECT_EQ(WBEM_E_ALREADY_EXISTS, info.hRes);
    // A compatible update of a class with instances is refused; "forceupdate" replaces the class and
    // drops its instances, which the file then stores again.
    CompileOk("class EmuHeld { [key] string K; }; instance of EmuHeld { K = \"1\"; };\n");
    const std::string newer =
        "class EmuHeld { [key] string K; string Added; }; instance of EmuHeld { K = \"2\"; };\n";
    EXPECT_EQ(WBEM_S_FALSE, Compile(newer, &info));
    EXPECT_EQ(WBEM_E_CLASS_HAS_INSTANCES, info.hRes);
    CompileOk("#pragma classflags(\"forceupdate\")\n" + newer);
    CComPtrT<IWbemClassObject> held;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"EmuHeld.K=\"1\"", held));
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"EmuHeld.K=\"2\"", held));
    CompileOk("#pragma deleteclass(\"EmuDoomed\", FAIL)\n#pragma deleteclass(\"EmuNeverWas\", NOFAIL)\n");
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"EmuDoomed", obj));
    EXPECT_EQ(WBEM_S_FALSE, Compile("#pragma deleteclass(\"EmuNeverWas\", FAIL)\n", &info));
    EXPECT_EQ(WBEM_E_NOT_FOUND, info.hRes);
    // "pragma deleteinstance": deletes the instance from the current namespace; FAIL stops the compile
    // when it (or its class) is not there, NOFAIL goes on.
    CompileOk("class EmuGone { [key] string K; }; instance of EmuGone { K = \"a\"; };\n"
              "instance of EmuGone { K = \"b\"; };\n#pragma deleteinstance(\"EmuGone.K=\\\"a\\\"\", FAIL)\n"
              "#pragma deleteinstance(\"EmuGone.K='zz'\", NOFAIL)\n#pragma deleteinstance(\"NoClass.K=1\", "
              "nofail)\n");
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"EmuGone.K=\"a\"", obj));
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"EmuGone.K=\"b\"", obj));
    for (const char* szMissing : {"EmuGone.K='zz'", "NoClass.K=1"})
    {
        EXPECT_EQ(WBEM_S_FALSE, Compile(std::string("class EmuBefore { };\n#pragma deleteinstance(\"") +
                                            szMissing + "\", FAIL)\nclass EmuAfter { };\n",
                                        &info));
        EXPECT_EQ(3, info.lPhaseError);
        EXPECT_EQ(2, info.ObjectNum);
        EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"EmuAfter", obj));
    }
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"EmuBefore", obj));
}

// "IMofCompiler::CompileFile": ServerAndNamespace is the default namespace, root\default when null,
// and #pragma namespace overrides it.
TEST_F(EmuTest, CompileNamespaceArgumentIsTheDefaultNamespace)
{
    const std::string OVERRIDE = "#pragma namespace(\"\\\\\\\\.\\\\root\\\\default\")\n";
    struct
    {
        const wchar_t* wszArg;
        std::string mof;
        const wchar_t* wszStoredIn; // nullptr: the compile fails
        long lPhase = 0;
        unsigned long hr = 0;
    } rows[] = {
        {nullptr, "class NsNull { };", L"root\\default"},
        {L"", "class NsEmpty { };", L"root\\default"},
        {L"root\\cimv2", "class NsPlain { };", L"root\\cimv2"},
        {L"\\\\SERVER\\ROOT\\CIMV2", "class NsServer { };", L"root\\cimv2"},
        {L"//./root/cimv2", "class NsSlashes { };", L"root\\cimv2"},
        {L"root\\cimv2", OVERRIDE + "class NsOverridden { };", L"root\\default"},
        {L"root\\cimv2", "#pragma namespace(\"Sub\")\nclass NsBelow { };", nullptr, 3,
         WBEM_E_INVALID_NAMESPACE},
        {L"cimv2", "class NsRelative { };", nullptr, 2, WBEM_E_INVALID_NAMESPACE},
        {L"root\\NoSuchNs", "class NsMissing { };", nullptr, 3, WBEM_E_INVALID_NAMESPACE},
    };
    for (auto& row : rows)
    {
        WBEM_COMPILE_STATUS_INFO info = {};
        const std::wstring cls(row.mof.begin() + row.mof.find("class ") + 6, row.mof.end() - 5);
        HRESULT hr = Compile(row.mof, &info, L"test.mof", row.wszArg);
        CComPtrT<IWbemClassObject> obj;
        if (!row.wszStoredIn)
        {
            EXPECT_EQ(WBEM_S_FALSE, hr) << row.mof;
            EXPECT_EQ(row.lPhase, info.lPhaseError) << row.mof;
            EXPECT_EQ(row.hr, (unsigned long)info.hRes) << row.mof;
            EXPECT_EQ(std::wstring::npos, Dump().find(L" " + cls + L"\n")) << row.mof;
            continue;
        }
        EXPECT_EQ(WBEM_S_NO_ERROR, hr) << row.mof;
        EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns(row.wszStoredIn).Get(), cls.c_str(), obj)) << row.mof;
        const wchar_t* wszOther =
            _wcsicmp(row.wszStoredIn, L"root\\cimv2") ? L"root\\cimv2" : L"root\\default";
        EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns(wszOther).Get(), cls.c_str(), obj)) << row.mof;
    }
}

// "#include" (compiled where it stands) is read as #pragma include: the file is looked for in the current
// folder, then beside the file that includes it (the README's choice); one found nowhere stops the compile.
TEST_F(EmuTest, IncludeDirectiveLooksInTheCurrentFolderThenBesideTheFile)
{
    CreateDirectoryW((m_dir + L"cwd").c_str(), nullptr);
    std::ofstream((m_dir + L"inc.mof").c_str(), std::ios::binary) << "class FromBeside { };\n";
    std::ofstream((m_dir + L"cwd\\inc.mof").c_str(), std::ios::binary) << "class FromCurrent { };\n";
    wchar_t wszOld[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, wszOld);
    SetCurrentDirectoryW((m_dir + L"cwd").c_str());
    CompileOk("#include (\"inc.mof\")\nclass After { };\n");
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"FromCurrent", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"FromBeside", obj));
    DeleteFileW((m_dir + L"cwd\\inc.mof").c_str());
    CompileOk("#INCLUDE(\"inc.mof\")\n");
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"FromBeside", obj));
    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE, Compile("class NotStored { };\n#include(\"absent.mof\")\n", &info));
    SetCurrentDirectoryW(wszOld);
    EXPECT_EQ(1, info.lPhaseError);
    EXPECT_EQ(0x80044030, (unsigned long)info.hRes);
    EXPECT_EQ(2, info.FirstLine);
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"NotStored", obj));
}
