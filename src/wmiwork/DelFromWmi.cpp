// CDelFromWmi: the namespace list and the four deletion sections of the /DD INI file.
#include "DelFromWmi.h"

#include "ArcaTrace.h"
#include "Bstr.h"
#include "StringConversion.h"
#include "WmiWork.h"

#include <cstring>

namespace
{
// The non-empty values of a section's keys, in file order. The key list holds NUL-ended
// names and ends with an empty name.
template <class Fn> void ForEachValue(const CWMIHelper& helper, const char* szSection, Fn fnValue)
{
    const std::string strKeys = helper.GetKeyList(szSection);
    for (const char* szKey = strKeys.c_str(); *szKey != '\0'; szKey += strlen(szKey) + 1)
    {
        const std::string strValue = helper.GetValue(szSection, szKey);
        if (!strValue.empty())
        {
            fnValue(szKey, strValue.c_str());
        }
    }
}
} // namespace

CDelFromWmi::CDelFromWmi() : m_strNamespace("root\\VT_Eventing"), m_nPosition(-1) {}

void CDelFromWmi::ReadNamespaces()
{
    gg_ptrc->Trace(3, "CDelFromWmi::ReadNamespaces", "Enter", "Method ReadNamespaces has been entered.", "");
    m_namespaces.clear();
    ForEachValue(*this, "Namespaces",
                 [this](const char*, const char* szValue) { m_namespaces.push_back(szValue); });
    m_nPosition = m_namespaces.empty() ? -1 : 0;
    if (m_nPosition == 0)
    {
        m_strNamespace = m_namespaces[0];
    }
    gg_ptrc->Trace(3, "CDelFromWmi::ReadNamespaces", "Leave", "Method ReadNamespaces has been left.",
                   "nNamespaces=%u, szNamespace='%s'", static_cast<unsigned>(m_namespaces.size()),
                   m_strNamespace.c_str());
}

bool CDelFromWmi::NextNamespace()
{
    gg_ptrc->Trace(3, "CDelFromWmi::NextNamespace", "Enter", "Method NextNamespace has been entered.",
                   "nPosition=%d", m_nPosition);
    // From -1 (a used-up list) this starts over at the first entry.
    ++m_nPosition;
    if (static_cast<size_t>(m_nPosition) < m_namespaces.size())
    {
        m_strNamespace = m_namespaces[m_nPosition];
    }
    else
    {
        m_nPosition = -1;
    }
    const bool bRet = m_nPosition != -1;
    gg_ptrc->Trace(3, "CDelFromWmi::NextNamespace", "Leave", "Method NextNamespace has been left.",
                   "ret=%s, szNamespace='%s'", bRet ? "true" : "false", m_strNamespace.c_str());
    return bRet;
}

template <class Fn> bool CDelFromWmi::WorkOnSection(const char* szMethod, const char* szSection, Fn fnValue)
{
    const std::string strFunction = std::string("CDelFromWmi::") + szMethod;
    gg_ptrc->Trace(3, strFunction.c_str(), "Enter",
                   (std::string("Method ") + szMethod + " has been entered.").c_str(), "szNamespace='%s'",
                   m_strNamespace.c_str());
    bool bRet = static_cast<bool>(m_spWbemServices);
    if (bRet)
    {
        try
        {
            ForEachValue(*this, szSection, [&](const char* szKey, const char* szValue) {
                fnValue(strFunction.c_str(), szKey, szValue);
            });
        }
        catch (HRESULT)
        {
            // Raised after its record; the rest of the section is not carried out.
            bRet = false;
        }
    }
    gg_ptrc->Trace(3, strFunction.c_str(), "Leave",
                   (std::string("Method ") + szMethod + " has been left.").c_str(), "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

bool CDelFromWmi::RemoveInstancesByRef()
{
    // The key is the class, the value the name of its reference property.
    return WorkOnSection("RemoveInstancesByRef", "DeleteInstancesByRef",
                         [this](const char* szFunction, const char* szClass, const char* szProperty) {
                             DeleteByProperty(szClass, szProperty, szFunction);
                         });
}

bool CDelFromWmi::RemoveInstances()
{
    return WorkOnSection(
        "RemoveInstances", "DeleteInstances",
        [this](const char* szFunction, const char*, const char* szValue) {
            if (strchr(szValue, '=') == nullptr && strchr(szValue, '.') == nullptr)
            {
                gg_ptrc->Trace(3, szFunction, "Internal", "", "Deleting instances form classname='%s'",
                               szValue);
                DeleteByProperty(szValue, "__RELPATH", szFunction);
                gg_ptrc->Trace(3, szFunction, "Internal", "",
                               "Finished deleting instances from classname='%s'", szValue);
            }
            else
            {
                gg_ptrc->Trace(3, szFunction, "Internal", "", "Deleting instancename='%s'", szValue);
                CCStringConversion conv(szValue);
                CCWmiBstr bstrPath(WideName(conv, szFunction));
                const HRESULT hr = m_spWbemServices->DeleteInstance(bstrPath, 0, nullptr, nullptr);
                gg_ptrc->Trace(3, szFunction, "Internal", "",
                               "Finished deleting instancename='%s'. HRes: 0x%x", szValue,
                               static_cast<unsigned>(hr));
            }
        });
}

bool CDelFromWmi::RemoveClasses()
{
    return WorkOnSection(
        "RemoveClasses", "DeleteClasses", [this](const char* szFunction, const char*, const char* szClass) {
            gg_ptrc->Trace(3, szFunction, "Internal", "Deleting class", "name= '%s'", szClass);
            CCStringConversion conv(szClass);
            CCWmiBstr bstrClass(WideName(conv, szFunction));
            const HRESULT hr = m_spWbemServices->DeleteClass(bstrClass, 0, nullptr, nullptr);
            gg_ptrc->Trace(3, szFunction, "Internal", "Finished deleting class", "name='%s'. HRes: 0x%x",
                           szClass, static_cast<unsigned>(hr));
        });
}

int CDelFromWmi::RemoveNamespaces(bool bForce)
{
    gg_ptrc->Trace(3, "CDelFromWmi::RemoveNamespaces", "Enter", "Method RemoveNamespaces has been entered.",
                   "bForce=%s", bForce ? "true" : "false");
    ForEachValue(*this, "DeleteNamespace", [bForce](const char*, const char* szValue) {
        // \\.\root\X and root\X name the same namespace.
        const std::string strNamespace = NamespaceWithoutMachine(szValue);
        if (!CWmiWork::NamespaceDelete(strNamespace.c_str(), bForce))
        {
            gg_ptrc->Trace(2, "CDelFromWmi::RemoveNamespaces", "Internal", "CWmiWork::NamespaceDelete failed",
                           "ns='%s'", strNamespace.c_str());
        }
    });
    gg_ptrc->Trace(3, "CDelFromWmi::RemoveNamespaces", "Leave", "Method RemoveNamespaces has been left.",
                   "ret=%d", 1);
    return 1;
}

void CDelFromWmi::DeleteByProperty(const char* szClass, const char* szProperty, const char* szCaller)
{
    gg_ptrc->Trace(4, "CDelFromWmi::DeleteByProperty", "Enter", "Method DeleteByProperty has been entered.",
                   "szClass='%s', szProperty='%s'", szClass, szProperty);
    unsigned nDeleted = 0;
    CCStringConversion convClass(szClass);
    CCWmiBstr bstrClass(WideName(convClass, szCaller));
    CCStringConversion convProperty(szProperty);
    const wchar_t* wszProperty = WideName(convProperty, szCaller);
    CCComPtr<IEnumWbemClassObject> spEnum;
    if (SUCCEEDED(m_spWbemServices->CreateInstanceEnum(bstrClass, WBEM_FLAG_USE_AMENDED_QUALIFIERS, nullptr,
                                                       spEnum.Put())))
    {
        for (;;)
        {
            CCComPtr<IWbemClassObject> spObject;
            ULONG uReturned = 0;
            const HRESULT hr = spEnum->Next(static_cast<long>(WBEM_INFINITE), 1, spObject.Put(), &uReturned);
            // WBEM_S_FALSE ends the enumeration. Any other answer without an object would
            // repeat forever and ends it as well.
            if (FAILED(hr) || hr == WBEM_S_FALSE || uReturned != 1 || !spObject)
            {
                break;
            }
            VARIANT vPath;
            VariantInit(&vPath);
            if (SUCCEEDED(spObject->Get(wszProperty, 0, &vPath, nullptr, nullptr)) && vPath.vt == VT_BSTR &&
                vPath.bstrVal != nullptr &&
                SUCCEEDED(m_spWbemServices->DeleteInstance(vPath.bstrVal, 0, nullptr, nullptr)))
            {
                ++nDeleted;
            }
            VariantClear(&vPath);
        }
    }
    gg_ptrc->Trace(4, "CDelFromWmi::DeleteByProperty", "Leave", "Method DeleteByProperty has been left.",
                   "nDeleted=%u", nDeleted);
}
