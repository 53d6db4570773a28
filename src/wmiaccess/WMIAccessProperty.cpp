// CCWMIAccess: properties of the current instance and their enumeration.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

#include <cstring>
#include <cwchar>

HRESULT CCWMIAccess::GetProperty(const char* szPropertyName, VARIANT* pvPropertyValue, long lMapOffset)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetProperty", "Enter", "Method GetProperty has been entered.",
                   "szPropertyName: %s, pvPropertyValue: 0x%08X, lMapOffset: %d", szPropertyName,
                   PtrLow32(pvPropertyValue), static_cast<int>(lMapOffset));
    HRESULT hRet = S_OK;
    try
    {
        if (m_pInstance == nullptr)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetProperty", "Exception",
                           "Throwing exception because class instance pointer invalid.", "");
            throw WMIACC_E_UNEXPECTED;
        }
        CCWmiBstr bstrName(szPropertyName);
        hRet = m_pInstance->Get(bstrName, 0, pvPropertyValue, nullptr, nullptr);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetProperty", "Exception",
                           "Throwing exception because Get (native) failed!", "hr 0x%X",
                           static_cast<unsigned>(hRet));
            throw hRet;
        }
    }
    catch (HRESULT hrCaught)
    {
        hRet = hrCaught;
    }
    return WmiAccLeave("CCWMIAccess::GetProperty", "Method GetProperty has been left.", hRet);
}

HRESULT CCWMIAccess::SetProperty(const char* szPropertyName, VARIANT* pvPropertyValue)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::SetProperty", "Enter", "Method SetProperty has been entered.",
                   "szPropertyName: %s, pvPropertyValue: 0x%08X", szPropertyName, PtrLow32(pvPropertyValue));
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetProperty", "Internal", "Instance pointer member invalid,",
                       "");
    }
    else
    {
        CCWmiBstr bstrName(szPropertyName);
        hRet = m_pInstance->Put(bstrName, 0, pvPropertyValue, 0);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetProperty", "Internal", "Error calling Put (native)",
                           "hr 0x%X", static_cast<unsigned>(hRet));
        }
    }
    return WmiAccLeave("CCWMIAccess::SetProperty", "Method SetProperty has been left.", hRet);
}

HRESULT CCWMIAccess::PutWMIInstanceProperty(const char* szPropertyname, VARIANT* pvPropertyValue)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::PutWMIInstanceProperty", "Enter",
                   "Method PutWMIInstanceProperty has been entered.",
                   "szPropertyname: %s, pvPropertyValue: 0x%08X", szPropertyname, PtrLow32(pvPropertyValue));
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutWMIInstanceProperty", "Internal",
                       "class instance pointer member invalid.", "");
    }
    else
    {
        CCWmiBstr bstrName(szPropertyname);
        hRet = m_pInstance->Put(bstrName, 0, pvPropertyValue, 0);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutWMIInstanceProperty", "Internal",
                           "Error calling Put (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
        else
        {
            hRet = PutInstance();
        }
    }
    return WmiAccLeave("CCWMIAccess::PutWMIInstanceProperty", "Method PutWMIInstanceProperty has been left.",
                       hRet);
}

HRESULT CCWMIAccess::PutInstance()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::PutInstance", "Enter", "Method PutInstance has been entered.",
                   "");
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr || m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutInstance", "Internal",
                       "class instance pointer member or namespace pointer member invalid.", "");
    }
    else
    {
        hRet = m_pWbemServices->PutInstance(m_pInstance, WBEM_FLAG_CREATE_OR_UPDATE | Flags(), m_pContext,
                                            nullptr);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutInstance", "Internal",
                           "Error calling PutInstance (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
    }
    return WmiAccLeave("CCWMIAccess::PutInstance", "Method PutInstance has been left.", hRet);
}

HRESULT CCWMIAccess::BeginPropertyEnumeration()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::BeginPropertyEnumeration", "Enter",
                   "Method BeginPropertyEnumeration has been entered.", "");
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::BeginPropertyEnumeration", "Internal",
                       "Class instance invalid, but shouldn't be.", "");
    }
    else
    {
        // All properties, the system properties included.
        hRet = m_pInstance->BeginEnumeration(0);
    }
    return WmiAccLeave("CCWMIAccess::BeginPropertyEnumeration",
                       "Method BeginPropertyEnumeration has been left.", hRet);
}

HRESULT CCWMIAccess::EndPropertyEnumeration()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::EndPropertyEnumeration", "Enter",
                   "Method EndPropertyEnumeration has been entered.", "");
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::EndPropertyEnumeration", "Internal",
                       "Class instance invalid, but shouldn't be.", "");
    }
    else
    {
        hRet = m_pInstance->EndEnumeration();
    }
    return WmiAccLeave("CCWMIAccess::EndPropertyEnumeration", "Method EndPropertyEnumeration has been left.",
                       hRet);
}

namespace
{
// Copies the UTF-16 name as 8-bit text into a buffer of dwSize bytes; false when it does not
// fit or cannot be converted. A plain bounded copy: a null buffer is refused, never handed to
// a library routine whose failure would end the process.
bool CopyPropertyName(const wchar_t* wszName, char* szBuffer, DWORD dwSize)
{
    if (szBuffer == nullptr || dwSize == 0)
    {
        return false;
    }
    const char* szName = "";
    CCStringConversion conv(wszName);
    if (wszName[0] != L'\0')
    {
        szName = conv.Convert2A();
        if (szName == nullptr)
        {
            return false;
        }
    }
    const size_t nLen = strlen(szName);
    if (nLen + 1 > dwSize)
    {
        return false;
    }
    memcpy(szBuffer, szName, nLen + 1);
    return true;
}
} // namespace

HRESULT CCWMIAccess::GetNextProperty(char* szPropertyName, VARIANT* pvPropertyValue,
                                     DWORD dwBufferSizePropName, bool bMappedValue, long lMapOffset)
{
    gg_ptrc->Trace(
        TRC_INFOCC, "CCWMIAccess::GetNextProperty", "Enter", "Method GetNextProperty has been entered.",
        "szPropertyName: 0x%08X, pvPropertyValue: 0x%08X, dwBufferSizePropName: %d, bMappedValue: %d, "
        "lMapOffset: %d",
        PtrLow32(szPropertyName), PtrLow32(pvPropertyValue), static_cast<int>(dwBufferSizePropName),
        bMappedValue ? 1 : 0, static_cast<int>(lMapOffset));
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetNextProperty", "Internal",
                       "Instance pointer member invalid.", "");
        return WmiAccLeave("CCWMIAccess::GetNextProperty", "Method GetNextProperty has been left.",
                           WMIACC_E_UNEXPECTED);
    }
    BSTR bstrName = nullptr;
    HRESULT hRet = m_pInstance->Next(0, &bstrName, pvPropertyValue, nullptr, nullptr);
    if (hRet == WMIACC_S_NO_MORE_DATA)
    {
        gg_ptrc->Trace(TRC_VERBOSECC, "CCWMIAccess::GetNextProperty", "Internal",
                       "No data available or end of enumeration reached.", "");
        hRet = WMIACC_E_NOT_AVAILABLE;
    }
    else if (SUCCEEDED(hRet))
    {
        const wchar_t* wszName = bstrName != nullptr ? bstrName : L"";
        if (dwBufferSizePropName < wcslen(wszName) + 1)
        {
            if (pvPropertyValue != nullptr)
                VariantClear(pvPropertyValue);
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetNextProperty", "Internal",
                           "Supplied buffer to small, return emtpy variant!", "");
            hRet = WMIACC_E_OUT_OF_MEMORY;
        }
        else if (!CopyPropertyName(wszName, szPropertyName, dwBufferSizePropName))
        {
            if (pvPropertyValue != nullptr)
                VariantClear(pvPropertyValue);
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetNextProperty", "Internal",
                           "Error copying the propertyname with _tcscpy_s. Return an empty variant!", "");
            hRet = WMIACC_E_UNEXPECTED;
        }
        else
        {
            gg_ptrc->Trace(TRC_VERBOSECC, "CCWMIAccess::GetNextProperty", "Internal",
                           "If raw data is required (not mapped), we are done here.", "");
            if (bMappedValue)
            {
                const HRESULT hrMap = GetMappedProperty(szPropertyName, pvPropertyValue, lMapOffset);
                // A property without a value map, and a system property, keep their raw value.
                if (FAILED(hrMap) && hrMap != WMIACC_E_NOT_FOUND && hrMap != WMIACC_E_SYSTEM_PROPERTY)
                {
                    if (pvPropertyValue != nullptr)
                        VariantClear(pvPropertyValue);
                    gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetNextProperty", "Internal",
                                   "Error getting the mapped property. Return an empty variant!", "hr 0x%X",
                                   static_cast<unsigned>(hrMap));
                    hRet = hrMap;
                }
            }
        }
    }
    SysFreeString(bstrName);
    return WmiAccLeave("CCWMIAccess::GetNextProperty", "Method GetNextProperty has been left.", hRet);
}
