// Fault switches: chosen operations fail with a chosen HRESULT or run late.
#include "EmuTestUtil.h"

TEST_F(EmuTest, FaultSwitchFailsTheChosenMethodAndClassOnly)
{
    CompileOk("class FaultA { }; class FaultB { };");
    SetFaults("# GetObject of FaultA is denied\nGetObject 0x80041003 class=FaultA\n");
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_ACCESS_DENIED, GetObj(Ns().Get(), L"FaultA", obj));
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"FaultB", obj));
    CBstr a(L"FaultA");
    EXPECT_EQ(WBEM_S_NO_ERROR, Ns()->DeleteClass(a, 0, nullptr, nullptr));
}

TEST_F(EmuTest, FaultSwitchCanFailAConnectionToOneNamespace)
{
    SetFaults("ConnectServer 0x80041003 ns=\\\\.\\root\\cimv2\n");
    CComPtrT<IWbemServices> svc;
    EXPECT_EQ(WBEM_E_ACCESS_DENIED, Connect(L"ROOT\\CIMV2", svc));
    EXPECT_EQ(WBEM_S_NO_ERROR, Connect(L"root\\default", svc));
}

TEST_F(EmuTest, DelayedNextTimesOutWithAShortTimeout)
{
    CompileOk("class Slow { [key] uint32 K; }; instance of Slow { K = 1; };");
    SetFaults("Next delay=400 class=Slow\n");
    CBstr cls(L"Slow");
    CComPtrT<IEnumWbemClassObject> en;
    ASSERT_EQ(WBEM_S_NO_ERROR, Ns()->CreateInstanceEnum(cls, 0, nullptr, &en));
    IWbemClassObject* p = nullptr;
    ULONG n = 9;
    DWORD t0 = GetTickCount();
    EXPECT_EQ(WBEM_S_TIMEDOUT, en->Next(50, 1, &p, &n));
    EXPECT_EQ(0u, n);
    EXPECT_EQ(WBEM_S_NO_ERROR, en->Next(WBEM_INFINITE, 1, &p, &n));
    EXPECT_GE(GetTickCount() - t0, 400u);
    ASSERT_EQ(1u, n);
    p->Release();
}

TEST_F(EmuTest, StoreFaultDuringCompileIsPhaseThree)
{
    SetFaults("PutInstance 0x80041001 class=Second\n");
    WBEM_COMPILE_STATUS_INFO info = {};
    EXPECT_EQ(WBEM_S_FALSE, Compile("class First { [key] string K; };\n"
                                    "class Second { [key] string K; };\n"
                                    "instance of First { K = \"x\"; };\n"
                                    "instance of Second { K = \"y\"; };\n",
                                    &info));
    EXPECT_EQ(3, info.lPhaseError);
    EXPECT_EQ(WBEM_E_FAILED, info.hRes);
    EXPECT_EQ(4, info.ObjectNum);
    EXPECT_EQ(4, info.FirstLine);
    CComPtrT<IWbemClassObject> obj; // what was stored before the failing declaration stays
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"First.K=\"x\"", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(Ns().Get(), L"Second.K=\"y\"", obj));
    SetFaults("CompileFile 0x80041003\n");
    EXPECT_EQ(WBEM_E_ACCESS_DENIED, Compile("class Third { };\n", &info));
}
