// Instances: keys and object paths, PutInstance/DeleteInstance with flags, deep enumeration.
#include "EmuTestUtil.h"

namespace
{
const char* const MOF = R"(
class Person { [key] string Name; uint32 Age; };
class Employee : Person { string Dept; };
class Pair { [key] uint32 A; [key] string B; };
class Link { [key] Person ref Who; };
[singleton] class Settings { uint32 Level; };
instance of Person { Name = "Ann \"the\" C:\\x"; Age = 30; };
instance of Employee { Name = "Bob"; Dept = "R&D"; };
instance of Pair { A = 7; B = "x"; };
instance of Settings { Level = 3; };
)";
}

TEST_F(EmuTest, InstancePathsQuoteAndEscapeKeys)
{
    CompileOk(MOF);
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> obj;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Person.Name=\"Ann \\\"the\\\" C:\\\\x\"", obj));
    EXPECT_EQ(L"Person.Name=\"Ann \\\"the\\\" C:\\\\x\"", GetStr(obj.Get(), L"__RELPATH"));
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Pair.B=\"x\",A=7", obj));
    EXPECT_EQ(L"Pair.A=7,B=\"x\"", GetStr(obj.Get(), L"__RELPATH"));
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Settings=@", obj));
    EXPECT_EQ(L"Settings=@", GetStr(obj.Get(), L"__RELPATH"));
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Person=\"bob\"", obj)); // unnamed key, any case, subclass
    EXPECT_EQ(L"Employee", GetStr(obj.Get(), L"__CLASS"));
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"\\\\.\\root\\default:Employee.Name=\"Bob\"", obj));
    EXPECT_EQ(L"R&D", GetStr(obj.Get(), L"Dept"));
    EXPECT_EQ(L"root\\default", GetStr(obj.Get(), L"__NAMESPACE"));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(svc.Get(), L"Pair.A=8,B=\"x\"", obj));
}

// "Object paths": a reference key matches every path of the same instance.
TEST_F(EmuTest, ReferenceKeysCompareAsObjectPaths)
{
    CompileOk(std::string(MOF) +
              "instance of Link { Who = \"\\\\\\\\.\\\\root\\\\default:Person.Name=\\\"Bob\\\"\"; };\n");
    wchar_t machine[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD dw = MAX_COMPUTERNAME_LENGTH + 1;
    GetComputerNameW(machine, &dw);
    for (std::wstring ref :
         {std::wstring(L"Person.Name=\\\"Bob\\\""),
          L"\\\\\\\\" + std::wstring(machine) + L"\\\\ROOT\\\\Default:Employee.Name='Bob'",
          std::wstring(L"//./root/default:person.NAME=\\\"Bob\\\""), std::wstring(L"Person=\\\"Bob\\\"")})
    {
        CComPtrT<IWbemClassObject> obj;
        EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), (L"Link.Who=\"" + ref + L"\"").c_str(), obj)) << ref;
    }
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"Link.Who=\"Person.Name=\\\"Bobby\\\"\"", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND,
              GetObj(Ns().Get(), L"Link.Who=\"\\\\\\\\.\\\\root\\\\cimv2:Person.Name=\\\"Bob\\\"\"", obj));
}

TEST_F(EmuTest, PutInstanceCreatesUpdatesAndHonoursFlags)
{
    CompileOk(MOF);
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> cls, inst;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Person", cls));
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->SpawnInstance(0, &inst));
    EXPECT_EQ(WBEM_E_ILLEGAL_NULL, svc->PutInstance(inst.Get(), 0, nullptr, nullptr));
    CVar name(L"Cy"), age(41L);
    inst->Put(L"Name", 0, &name, 0);
    inst->Put(L"Age", 0, &age, 0);
    EXPECT_EQ(WBEM_E_NOT_FOUND, svc->PutInstance(inst.Get(), WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr));
    EXPECT_EQ(WBEM_S_NO_ERROR, svc->PutInstance(inst.Get(), WBEM_FLAG_CREATE_ONLY, nullptr, nullptr));
    EXPECT_EQ(WBEM_E_ALREADY_EXISTS, svc->PutInstance(inst.Get(), WBEM_FLAG_CREATE_ONLY, nullptr, nullptr));
    CVar older(42L);
    inst->Put(L"Age", 0, &older, 0);
    EXPECT_EQ(WBEM_S_NO_ERROR, svc->PutInstance(inst.Get(), WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr));
    CComPtrT<IWbemClassObject> back;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Person.Name=\"Cy\"", back));
    CVar v;
    ASSERT_EQ(WBEM_S_NO_ERROR, back->Get(L"Age", 0, &v, nullptr, nullptr));
    EXPECT_EQ(42, v.v.lVal);
}

// "IWbemServices::DeleteInstance method": the current namespace only; a path of a class finds the
// instances of it and of its subclasses (their keys are unique), never an instance of a superclass.
TEST_F(EmuTest, DeleteInstanceFindsItsInstanceInThisNamespaceAndHierarchy)
{
    CompileOk(MOF);
    auto& svc = Ns();
    struct
    {
        const wchar_t* wszPath;
        unsigned long hr;
    } rows[] = {
        {L"Employee.Name=\"Ann \\\"the\\\" C:\\\\x\"", WBEM_E_NOT_FOUND}, // a Person only
        {L"\\\\.\\root\\cimv2:Person.Name=\"Bob\"", WBEM_E_INVALID_OBJECT_PATH},
        {L"\\\\.\\root\\NoSuchNs:Person.Name=\"Bob\"", WBEM_E_INVALID_OBJECT_PATH},
        {L"//SERVER/ROOT/default:Person.Name=\"Bob\"", WBEM_S_NO_ERROR}, // an Employee
        {L"\\\\.\\root\\default:Employee.Name=\"Bob\"", WBEM_E_NOT_FOUND},
        {L"Person.Name=\"Nobody\"", WBEM_E_NOT_FOUND},
        {L"Nope.Name=\"x\"", WBEM_E_INVALID_CLASS},
        {L"Person", WBEM_E_INVALID_OBJECT_PATH},
    };
    for (auto& row : rows)
    {
        CBstr path(row.wszPath);
        EXPECT_EQ(row.hr, (unsigned long)svc->DeleteInstance(path, 0, nullptr, nullptr)) << row.wszPath;
    }
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"Person.Name=\"Ann \\\"the\\\" C:\\\\x\"", obj));
    EXPECT_EQ(WBEM_E_INVALID_OBJECT_PATH, GetObj(svc.Get(), L"\\\\.\\root\\cimv2:Person.Name=\"Ann\"", obj));
    // An instance of a subclass cannot take the keys of its superclass's instance.
    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE, Compile("instance of Employee { Name = \"ann \\\"the\\\" c:\\\\x\"; };", &info));
    EXPECT_EQ(WBEM_E_ALREADY_EXISTS, info.hRes);
}

TEST_F(EmuTest, InstanceEnumerationIsDeepUnlessShallow)
{
    CompileOk(MOF);
    auto& svc = Ns();
    CBstr person(L"Person");
    CComPtrT<IEnumWbemClassObject> deep, shallow;
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->CreateInstanceEnum(person, 0, nullptr, &deep));
    EXPECT_EQ(2u, EnumNames(deep.Get()).size());
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->CreateInstanceEnum(person, WBEM_FLAG_SHALLOW, nullptr, &shallow));
    EXPECT_EQ((std::vector<std::wstring>{L"Person"}), EnumNames(shallow.Get(), L"__CLASS"));
}

TEST_F(EmuTest, EnumeratorNextCountsResetAndEnd)
{
    CompileOk(MOF);
    CBstr person(L"Person");
    CComPtrT<IEnumWbemClassObject> en;
    ASSERT_EQ(WBEM_S_NO_ERROR, Ns()->CreateInstanceEnum(person, WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &en));
    IWbemClassObject* objs[3] = {};
    ULONG n = 99;
    EXPECT_EQ(WBEM_E_INVALID_PARAMETER, en->Next(-5, 1, objs, &n));
    EXPECT_EQ(WBEM_S_NO_ERROR, en->Next(0, 1, objs, &n));
    EXPECT_EQ(1u, n);
    objs[0]->Release();
    EXPECT_EQ(WBEM_S_FALSE, en->Next(WBEM_INFINITE, 3, objs, &n));
    EXPECT_EQ(1u, n);
    objs[0]->Release();
    EXPECT_EQ(WBEM_S_FALSE, en->Next(WBEM_INFINITE, 1, objs, &n));
    EXPECT_EQ(0u, n);
    EXPECT_EQ(WBEM_S_NO_ERROR, en->Reset());
    EXPECT_EQ(WBEM_S_NO_ERROR, en->Next(WBEM_INFINITE, 2, objs, &n));
    EXPECT_EQ(2u, n);
    objs[0]->Release();
    objs[1]->Release();
    CComPtrT<IEnumWbemClassObject> forward, copy;
    ASSERT_EQ(WBEM_S_NO_ERROR, Ns()->CreateInstanceEnum(person, WBEM_FLAG_FORWARD_ONLY, nullptr, &forward));
    EXPECT_EQ(WBEM_E_INVALID_OPERATION, forward->Reset());
    EXPECT_EQ(WBEM_E_INVALID_OPERATION, forward->Clone(&copy));
}

TEST_F(EmuTest, CloneIsIndependentAndObjectTextShowsValues)
{
    CompileOk(MOF);
    CComPtrT<IWbemClassObject> orig, copy;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"Employee.Name=\"Bob\"", orig));
    ASSERT_EQ(WBEM_S_NO_ERROR, orig->Clone(&copy));
    CVar dept(L"Sales");
    ASSERT_EQ(WBEM_S_NO_ERROR, copy->Put(L"Dept", 0, &dept, 0));
    EXPECT_EQ(L"R&D", GetStr(orig.Get(), L"Dept"));
    EXPECT_EQ(L"Sales", GetStr(copy.Get(), L"Dept"));
    BSTR text = nullptr;
    ASSERT_EQ(WBEM_S_NO_ERROR, copy->GetObjectText(0, &text));
    std::wstring t = text;
    SysFreeString(text);
    EXPECT_NE(std::wstring::npos, t.find(L"instance of Employee"));
    EXPECT_NE(std::wstring::npos, t.find(L"Dept = \"Sales\";"));
    CComPtrT<IWbemClassObject> spawned;
    EXPECT_EQ(WBEM_E_INVALID_OPERATION, orig->SpawnInstance(0, &spawned));
    EXPECT_EQ(WBEM_E_NOT_SUPPORTED, orig->GetMethod(L"Any", 0, nullptr, nullptr));
}
