// CCWMIAccess: an integer property value turned into its text by the class's "ValueMap" and
// "Values" qualifiers.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

#include <cstdlib>
#include <cwchar>

namespace
{
// A VARIANT cleared on scope exit.
class CCVariant
{
public:
    CCVariant() { VariantInit(&m_v); }
    ~CCVariant() { VariantClear(&m_v); }
    CCVariant(const CCVariant&) = delete;
    CCVariant& operator=(const CCVariant&) = delete;
    VARIANT* operator&() { return &m_v; }
    VARIANT m_v;
};

// The value's 32-bit integer: the value converted to a signed 32-bit number where it has one,
// otherwise the bits the VARIANT holds in its 32-bit field.
long ValueAsLong(VARIANT* pvValue)
{
    CCVariant vLong;
    if (SUCCEEDED(VariantChangeType(&vLong.m_v, pvValue, 0, VT_I4)))
    {
        return vLong.m_v.lVal;
    }
    return pvValue->lVal;
}
} // namespace

HRESULT CCWMIAccess::GetMappedProperty(const char* szPropertyName, VARIANT* pvValue, long lMapOffset)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetMappedProperty", "Enter",
                   "Method GetMappedProperty has been entered.",
                   "szPropertyName: %s, pvValue: 0x%08X, lMapOffset: %d", szPropertyName, PtrLow32(pvValue),
                   static_cast<int>(lMapOffset));
    HRESULT hRet = S_OK;
    CCVariant vClass;
    CCVariant vValues;
    CCVariant vValueMap;
    try
    {
        if (m_pWbemServices == nullptr)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because namespace pointer member invalid!", "");
            throw WMIACC_E_INITIALIZATION_FAILURE;
        }
        // Without a current instance or a value there is nothing to map.
        if (m_pInstance == nullptr || pvValue == nullptr)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because class instance pointer invalid.", "");
            throw WMIACC_E_UNEXPECTED;
        }
        hRet = m_pInstance->Get(L"__CLASS", 0, &vClass, nullptr, nullptr);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because Get (native) on '__CLASS' failed!", "hr 0x%X",
                           static_cast<unsigned>(hRet));
            throw hRet;
        }
        CCStringConversion className(vClass.m_v.vt == VT_BSTR ? vClass.m_v.bstrVal : nullptr);
        const char* szClassName = vClass.m_v.vt == VT_BSTR ? className.Convert2A() : nullptr;
        if (szClassName == nullptr)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because classname should be BSTR, but isn't", "");
            throw WMIACC_E_TYPE_MISMATCH;
        }

        hRet = GetClassQualifier(szClassName, "Values", &vValues, szPropertyName);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because GetClassQualifier on 'Values' failed!", "hr 0x%X",
                           static_cast<unsigned>(hRet));
            throw hRet;
        }
        if ((vValues.m_v.vt & VT_ARRAY) == 0 || vValues.m_v.parray == nullptr)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because 'Values' is not an array, but should be!", "");
            throw WMIACC_E_TYPE_MISMATCH;
        }
        hRet = GetClassQualifier(szClassName, "ValueMap", &vValueMap, szPropertyName);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because GetClassQualifier on 'ValueMap' failed!", "hr 0x%X",
                           static_cast<unsigned>(hRet));
            throw hRet;
        }
        if ((vValueMap.m_v.vt & VT_ARRAY) == 0 || vValueMap.m_v.parray == nullptr)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because 'ValueMap' is not an array, but should be!", "");
            throw WMIACC_E_TYPE_MISMATCH;
        }

        wchar_t wszValue[MAX_PATH] = {};
        if (_ltow_s(ValueAsLong(pvValue), wszValue, MAX_PATH, 10) != 0)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because _ltow_s failed!", "");
            throw WMIACC_E_UNEXPECTED;
        }

        // The element at the upper bound is never compared: a value that no other element
        // holds maps to the entry at the upper bound.
        SAFEARRAY* psaMap = vValueMap.m_v.parray;
        LONG lMapLower = 0;
        LONG lMapUpper = -1;
        SafeArrayGetLBound(psaMap, 1, &lMapLower);
        SafeArrayGetUBound(psaMap, 1, &lMapUpper);
        LONG lIndex = lMapUpper;
        if (vValueMap.m_v.vt == (VT_ARRAY | VT_BSTR))
        {
            for (LONG l = lMapLower; l < lMapUpper; ++l)
            {
                BSTR bstrElement = nullptr;
                const bool bEqual = SUCCEEDED(SafeArrayGetElement(psaMap, &l, &bstrElement)) &&
                                    bstrElement != nullptr && _wcsicmp(bstrElement, wszValue) == 0;
                SysFreeString(bstrElement);
                if (bEqual)
                {
                    lIndex = l;
                    break;
                }
            }
        }

        SAFEARRAY* psaValues = vValues.m_v.parray;
        LONG lValuesLower = 0;
        LONG lValuesUpper = -1;
        SafeArrayGetLBound(psaValues, 1, &lValuesLower);
        SafeArrayGetUBound(psaValues, 1, &lValuesUpper);
        lIndex += lMapOffset;
        // Below the lower bound (an empty map, a negative offset) there is no entry either.
        if (lIndex > lValuesUpper || lIndex < lValuesLower)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because index out of range", "");
            throw WMIACC_E_VALUE_OUT_OF_RANGE;
        }
        if (vValues.m_v.vt != (VT_ARRAY | VT_BSTR))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because 'Values' does not hold strings", "");
            throw WMIACC_E_TYPE_MISMATCH;
        }
        BSTR bstrText = nullptr;
        hRet = SafeArrayGetElement(psaValues, &lIndex, &bstrText);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMappedProperty", "Exception",
                           "Throwing exception because SafeArrayGetElement failed!", "hr 0x%X",
                           static_cast<unsigned>(hRet));
            throw hRet;
        }
        VariantClear(pvValue);
        pvValue->vt = VT_BSTR;
        pvValue->bstrVal = bstrText;
        hRet = S_OK;
    }
    catch (HRESULT hrCaught)
    {
        hRet = hrCaught;
    }
    return WmiAccLeave("CCWMIAccess::GetMappedProperty", "Method GetMappedProperty has been left.", hRet);
}
