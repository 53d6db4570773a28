#include "PortableWorld.h"

#include "WmiText.h"

#include <gtest/gtest.h>

namespace testkit
{
namespace
{
std::wstring Wide(const std::string& str)
{
    return std::wstring(str.begin(), str.end());
}
} // namespace

CPortableWorld::CPortableWorld(const std::vector<std::string>& named) : m_owned{L"TarvosTest*"}
{
    BYTE abSid[SECURITY_MAX_SID_SIZE];
    DWORD cbSid = sizeof(abSid);
    BOOL bAdmin = FALSE;
    if (CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, abSid, &cbSid))
        CheckTokenMembership(nullptr, abSid, &bAdmin);
    EXPECT_TRUE(bAdmin) << "Not an administrator: run the cases from an administrator's command prompt.";
    m_bComInitialized = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    // Once per process; a second call is refused, and that is fine.
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    HRESULT hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_ALL, IID_IWbemLocator,
                                  reinterpret_cast<void**>(&m_pLocator));
    if (FAILED(hr))
    {
        ADD_FAILURE() << "This machine has no WMI locator (CoCreateInstance(WbemLocator) failed, "
                      << wmitext::Utf8(wmitext::Hex(hr)) << ").";
        return;
    }
    hr = CoCreateInstance(CLSID_MofCompiler, nullptr, CLSCTX_ALL, IID_IMofCompiler,
                          reinterpret_cast<void**>(&m_pCompiler));
    if (FAILED(hr))
    {
        ADD_FAILURE() << "This machine's WMI has no MOF compiler (CoCreateInstance(MofCompiler) failed, "
                      << wmitext::Utf8(wmitext::Hex(hr))
                      << "): the case cannot seed its namespaces. Run the cases on Windows as an "
                         "administrator, or under Wine in a prefix with the WMI emulator registered.";
        return;
    }
    IWbemServices* pRoot = nullptr;
    std::vector<std::wstring> names;
    std::wstring strError;
    if (SUCCEEDED(wmitext::Connect(m_pLocator, L"root", &pRoot)))
        wmitext::ChildNamespaces(pRoot, names, strError);
    if (pRoot != nullptr)
        pRoot->Release();
    for (const std::string& strName : named)
    {
        for (const std::wstring& strHas : names)
        {
            if (_wcsicmp(strHas.c_str(), Wide(strName).c_str()) == 0)
            {
                ADD_FAILURE()
                    << "This machine has the namespace root\\" << strName
                    << " of its own; the case needs it and leaves it alone: run it where it is absent.";
                m_pCompiler->Release();
                m_pCompiler = nullptr;
                return;
            }
        }
        m_owned.push_back(Wide(strName));
    }
    Reset();
}

CPortableWorld::~CPortableWorld()
{
    if (m_pCompiler != nullptr)
    {
        Reset();
        m_pCompiler->Release();
    }
    if (m_pLocator != nullptr)
        m_pLocator->Release();
    if (m_bComInitialized)
        CoUninitialize();
}

void CPortableWorld::Seed(const std::string& strText) const
{
    ASSERT_NE(nullptr, m_pCompiler) << "no MOF compiler to seed with";
    const std::wstring strPath = Wide(WriteMof("seed.mof", strText));
    WBEM_COMPILE_STATUS_INFO info = {};
    const HRESULT hr = m_pCompiler->CompileFile(const_cast<LPWSTR>(strPath.c_str()), nullptr, nullptr,
                                                nullptr, nullptr, 0, 0, 0, &info);
    EXPECT_EQ(WBEM_S_NO_ERROR, hr) << "seed does not compile: phase " << info.lPhaseError << ", hRes "
                                   << wmitext::Utf8(wmitext::Hex(info.hRes)) << ", object " << info.ObjectNum
                                   << ", lines " << info.FirstLine << "-" << info.LastLine << "\n"
                                   << strText;
}

std::string CPortableWorld::Dump(const std::string& strNamespace) const
{
    if (m_pCompiler == nullptr)
        return FailedDump(); // the constructor said why
    wmitext::DumpScope scope;
    scope.roots.push_back(Wide(strNamespace));
    if (_stricmp(strNamespace.c_str(), "root") == 0)
        scope.childNames = m_owned;
    std::wstring strText, strError;
    if (!wmitext::Dump(m_pLocator, scope, strText, strError))
    {
        ADD_FAILURE() << "dump of " << strNamespace << ": " << wmitext::Utf8(strError);
        return FailedDump();
    }
    return wmitext::Utf8(strText);
}

void CPortableWorld::Reset() const
{
    if (m_pCompiler == nullptr)
        return;
    IWbemServices* pRoot = nullptr;
    HRESULT hr = wmitext::Connect(m_pLocator, L"root", &pRoot);
    std::vector<std::wstring> names;
    std::wstring strError;
    if (FAILED(hr) || !wmitext::ChildNamespaces(pRoot, names, strError))
        ADD_FAILURE() << "cannot list the namespaces below root: " << wmitext::Utf8(wmitext::Hex(hr)) << " "
                      << wmitext::Utf8(strError);
    for (const std::wstring& strName : names)
    {
        if (!wmitext::NameMatches(strName, m_owned))
            continue;
        BSTR bstrPath = SysAllocString((L"__NAMESPACE.Name=\"" + strName + L"\"").c_str());
        hr = pRoot->DeleteInstance(bstrPath, 0, nullptr, nullptr);
        SysFreeString(bstrPath);
        EXPECT_EQ(WBEM_S_NO_ERROR, hr) << "deleting the namespace root\\" << wmitext::Utf8(strName);
    }
    if (pRoot != nullptr)
        pRoot->Release();
}
} // namespace testkit
