// EmuTestUtil.h - helpers for the emulator's tests: COM pointers, a private repository and fault
// file per test (through WMIEMU_REPOSITORY / WMIEMU_FAULTS), connections and MOF compiles through
// the real COM registration of the prefix.
#pragma once

#include <windows.h>
#include <wbemcli.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

template <class T> class CComPtrT
{
public:
    CComPtrT() = default;
    CComPtrT(const CComPtrT&) = delete;
    CComPtrT& operator=(const CComPtrT&) = delete;
    ~CComPtrT() { Reset(); }
    void Reset()
    {
        if (m_p)
            m_p->Release();
        m_p = nullptr;
    }
    T** operator&()
    {
        Reset();
        return &m_p;
    }
    T* operator->() const { return m_p; }
    T* Get() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }

private:
    T* m_p = nullptr;
};

// A VARIANT cleared on scope exit.
struct CVar
{
    VARIANT v;
    CVar() { VariantInit(&v); }
    explicit CVar(const wchar_t* s)
    {
        VariantInit(&v);
        v.vt = VT_BSTR;
        v.bstrVal = SysAllocString(s);
    }
    explicit CVar(long n)
    {
        VariantInit(&v);
        v.vt = VT_I4;
        v.lVal = n;
    }
    static CVar Bool(bool b)
    {
        CVar r;
        r.v.vt = VT_BOOL;
        r.v.boolVal = b ? VARIANT_TRUE : VARIANT_FALSE;
        return r;
    }
    CVar(CVar&& o) noexcept : v(o.v) { VariantInit(&o.v); }
    CVar(const CVar&) = delete;
    CVar& operator=(const CVar&) = delete;
    ~CVar() { VariantClear(&v); }
    VARIANT* operator&() { return &v; }
    std::wstring Str() const { return v.vt == VT_BSTR && v.bstrVal ? v.bstrVal : L"<not a string>"; }
};

// A BSTR freed on scope exit.
struct CBstr
{
    BSTR b;
    explicit CBstr(const wchar_t* s) : b(SysAllocString(s)) {}
    CBstr(const CBstr&) = delete;
    CBstr& operator=(const CBstr&) = delete;
    ~CBstr() { SysFreeString(b); }
    operator BSTR() const { return b; }
};

std::vector<std::wstring> SafeArrayStrings(SAFEARRAY* psa); // frees psa

class EmuTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // A connection to a namespace; failure is a test failure.
    CComPtrT<IWbemServices>& Ns(const wchar_t* wszNs = L"root\\default");
    HRESULT Connect(const wchar_t* wszNs, CComPtrT<IWbemServices>& out);
    // Writes a MOF file (8-bit) in the test's folder and compiles it through IMofCompiler (wszNs:
    // its ServerAndNamespace argument).
    HRESULT Compile(const std::string& mof, WBEM_COMPILE_STATUS_INFO* pInfo = nullptr,
                    const wchar_t* wszName = L"test.mof", const wchar_t* wszNs = nullptr);
    void CompileOk(const std::string& mof);
    void SetFaults(const std::string& text);
    std::wstring Dump(); // the repository's text, as this process reads it
    HRESULT GetObj(IWbemServices* pNs, const wchar_t* wszPath, CComPtrT<IWbemClassObject>& out);
    std::wstring GetStr(IWbemClassObject* pObj, const wchar_t* wszProp);
    std::vector<std::wstring> EnumNames(IEnumWbemClassObject* pEnum, const wchar_t* wszProp = L"__RELPATH");
    // Runs wmiemutool (beside the test program) with the test's repository; returns its exit
    // code, or 99 when it could not be started or did not end (a test failure that says why).
    int RunTool(const std::wstring& args, std::string* pOut = nullptr);
    std::wstring m_dir; // the test's own folder, with a trailing backslash

private:
    CComPtrT<IWbemLocator> m_locator;
    std::vector<std::pair<std::wstring, CComPtrT<IWbemServices>*>> m_conns;
};
