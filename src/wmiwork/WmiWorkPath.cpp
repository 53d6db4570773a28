// CWmiWork: a class's properties and keys, and the object path of a MOF instance.
#include "WmiWork.h"

#include "ArcaTrace.h"
#include "Bstr.h"
#include "ComPtr.h"
#include "MofParse.h"
#include "StringConversion.h"
#include "WmiErrorText.h"

#include <cstdio>
#include <cstdlib>
#include <mbstring.h>

namespace
{
// The value text the instance assigns to szName (property names in any case), or null.
const std::string* InstanceValueFind(const MofInstance& instance, const std::string& strName)
{
    for (const MofProperty& property : instance.Properties)
    {
        if (_mbsicmp(reinterpret_cast<const unsigned char*>(property.Name.c_str()),
                     reinterpret_cast<const unsigned char*>(strName.c_str())) == 0)
        {
            return &property.Value;
        }
    }
    return nullptr;
}

// The 64-bit integer of a variant. WMI hands 64-bit values over as decimal strings (VT_BSTR);
// their text is read, as the variant's 64-bit field would hold a string pointer.
LONGLONG Variant64(const VARIANT& vValue)
{
    if (vValue.vt == VT_BSTR)
    {
        return vValue.bstrVal != nullptr ? _wcstoi64(vValue.bstrVal, nullptr, 10) : 0;
    }
    return vValue.llVal;
}

// The variant's 32-bit field. A 16-bit value is widened with its sign first, so that the
// upper half of the field does not keep what an earlier value left there.
LONG Variant32(const VARIANT& vValue)
{
    return vValue.vt == VT_I2 ? vValue.iVal : vValue.lVal;
}

bool NoValue(const VARIANT& vValue)
{
    return vValue.vt == VT_EMPTY || vValue.vt == VT_NULL;
}
} // namespace

HRESULT CWmiWork::PropNamesAndTypesGet(const char* szNamespace, const char* szClass, WmiPropList& list)
{
    const char* szFunction = "CWmiWork::PropNamesAndTypesGet";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method PropNamesAndTypesGet has been entered.",
                   "szNamespace='%s', szClass='%s'", szNamespace, szClass);
    list.clear();
    CCComPtr<IWbemServices> spServices;
    CCComPtr<IWbemClassObject> spClass;
    HRESULT hRet = ConnectTraced(szFunction, szNamespace, spServices.Put());
    if (SUCCEEDED(hRet))
    {
        CCWmiBstr bstrClass(szClass);
        hRet = spServices->GetObject(bstrClass, 0, nullptr, spClass.Put(), nullptr);
        if (FAILED(hRet))
        {
            // A missing class is the caller's "nothing to delete", not an error.
            if (hRet != static_cast<HRESULT>(WBEM_E_NOT_FOUND))
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "pWbemServices->GetObject failed", "hr=0x%X '%s'",
                               static_cast<unsigned>(hRet), WmiErrorText(hRet));
            }
        }
        else if (FAILED(spClass->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY)))
        {
            hRet = S_OK;
        }
        else
        {
            hRet = S_OK;
            for (;;)
            {
                BSTR bstrName = nullptr;
                WmiPropRecord record;
                const HRESULT hr = spClass->Next(0, &bstrName, &record.vDefault, &record.Type, nullptr);
                if (hr == WBEM_S_NO_MORE_DATA)
                {
                    break;
                }
                if (FAILED(hr))
                {
                    gg_ptrc->Trace(1, szFunction, "Internal", "Get next property name and type failed",
                                   "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
                    hRet = E_FAIL;
                    break;
                }
                CCStringConversion name(bstrName != nullptr ? bstrName : L"");
                SysFreeString(bstrName);
                const char* szName = name.Convert2A();
                record.Name = szName != nullptr ? szName : "";
                VARIANT vKey;
                VariantInit(&vKey);
                record.bKey = QualifierFind(spClass.Get(), record.Name.c_str(), "key", &vKey) &&
                              vKey.vt == VT_BOOL && vKey.boolVal == VARIANT_TRUE;
                VariantClear(&vKey);
                list.push_back(record);
            }
            const HRESULT hr = spClass->EndEnumeration();
            if (FAILED(hr))
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "pIWbemClassObject->EndEnumeration failed",
                               "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
                hRet = hr;
            }
        }
    }
    spClass.Release();
    spServices.Release();
    gg_ptrc->Trace(3, szFunction, "Leave", "Method PropNamesAndTypesGet has been left.", "hRet 0x%X",
                   static_cast<unsigned>(hRet));
    return hRet;
}

bool CWmiWork::InstancePathCreate(const MofInstance& instance, const WmiPropList& list,
                                  const WmiAliasMap& aliasMap, std::string& strPath)
{
    const char* szFunction = "CWmiWork::InstancePathCreate";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method InstancePathCreate has been entered.", "class='%s'",
                   instance.ClassName.c_str());
    bool bRet = true;
    strPath.clear();
    for (const WmiPropRecord& record : list)
    {
        if (!record.bKey)
        {
            continue;
        }
        std::string strValue;
        const std::string* pstrAssigned = InstanceValueFind(instance, record.Name);
        if (pstrAssigned != nullptr)
        {
            strValue = *pstrAssigned;
        }
        else if (record.Type != CIM_EMPTY && !CimValue2Str(record.Type, record.vDefault, strValue))
        {
            // A type without path text fails as such, whether the class gives a value or not.
            gg_ptrc->Trace(1, szFunction, "Internal", "CWmiWork::CimValue2Str failed",
                           "class='%s', prop='%s'", instance.ClassName.c_str(), record.Name.c_str());
            bRet = false;
            break;
        }
        else if (record.Type == CIM_EMPTY || NoValue(record.vDefault))
        {
            // A key the class gives no value either: the instance cannot be named.
            gg_ptrc->Trace(1, szFunction, "Internal", "Key property not found and no default value set",
                           "class='%s', prop='%s'", instance.ClassName.c_str(), record.Name.c_str());
            bRet = false;
            break;
        }
        const WmiAliasMap::const_iterator itAlias = aliasMap.find(strValue);
        if (itAlias != aliasMap.end())
        {
            strValue = "\"" + itAlias->second + "\"";
        }
        strPath += strPath.empty() ? instance.ClassName + "." : std::string(",");
        strPath += record.Name + "=" + strValue;
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method InstancePathCreate has been left.", "ret='%s', path='%s'",
                   bRet ? "true" : "false", strPath.c_str());
    return bRet;
}

bool CWmiWork::CimValue2Str(CIMTYPE type, const VARIANT& vValue, std::string& strText)
{
    const char* szFunction = "CWmiWork::CimValue2Str";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method CimValue2Str has been entered.", "type=%d",
                   static_cast<int>(type));
    char szBuffer[512] = "";
    bool bRet = true;
    const char* szRefused = nullptr;
    strText.clear();
    if ((type & CIM_FLAG_ARRAY) != 0)
    {
        szRefused = "CIM_FLAG_ARRAY not supported";
    }
    else
    {
        switch (type)
        {
        case CIM_SINT8:
            // The byte types' sign handling is the reverse of their names: SINT8 prints the
            // byte unsigned, UINT8 and CHAR16 widen it with its sign.
            _snprintf(szBuffer, sizeof(szBuffer), "%d", static_cast<int>(vValue.bVal));
            break;
        case CIM_UINT8:
        case CIM_CHAR16:
            _snprintf(szBuffer, sizeof(szBuffer), "%u",
                      static_cast<unsigned>(static_cast<int>(static_cast<signed char>(vValue.bVal))));
            break;
        case CIM_SINT16:
        case CIM_SINT32:
            _snprintf(szBuffer, sizeof(szBuffer), "%ld", static_cast<long>(Variant32(vValue)));
            break;
        case CIM_UINT16:
        case CIM_UINT32:
            _snprintf(szBuffer, sizeof(szBuffer), "%lu", static_cast<unsigned long>(Variant32(vValue)));
            break;
        case CIM_SINT64:
            _snprintf(szBuffer, sizeof(szBuffer), "%lld", static_cast<long long>(Variant64(vValue)));
            break;
        case CIM_UINT64:
            _snprintf(szBuffer, sizeof(szBuffer), "%llu",
                      static_cast<unsigned long long>(vValue.vt == VT_BSTR && vValue.bstrVal != nullptr
                                                          ? _wcstoui64(vValue.bstrVal, nullptr, 10)
                                                          : vValue.ullVal));
            break;
        case CIM_REAL32:
            _snprintf(szBuffer, sizeof(szBuffer), "%f", static_cast<double>(vValue.fltVal));
            break;
        case CIM_REAL64:
            _snprintf(szBuffer, sizeof(szBuffer), "%lf", vValue.dblVal);
            break;
        case CIM_BOOLEAN:
            strText = vValue.boolVal == VARIANT_TRUE ? "TRUE" : "FALSE";
            break;
        case CIM_STRING: {
            // Only a string value has text; anything else would be read through a wrong pointer.
            CCStringConversion text(vValue.vt == VT_BSTR && vValue.bstrVal != nullptr ? vValue.bstrVal : L"");
            const char* szValue = text.Convert2A();
            strText = "\"" + std::string(szValue != nullptr ? szValue : "") + "\"";
            break;
        }
        case CIM_EMPTY:
            szRefused = "CIM_EMPTY not supported";
            break;
        case CIM_OBJECT:
            szRefused = "CIM_OBJECT not supported";
            break;
        case CIM_DATETIME:
            szRefused = "CIM_DATETIME not supported";
            break;
        case CIM_REFERENCE:
            szRefused = "CIM_REFERENCE not supported";
            break;
        case CIM_ILLEGAL:
            szRefused = "CIM_ILLEGAL not supported";
            break;
        default:
            gg_ptrc->Trace(1, szFunction, "Internal", "Type not supported", "code=0x%8.8lx",
                           static_cast<unsigned long>(type));
            bRet = false;
            break;
        }
    }
    if (szRefused != nullptr)
    {
        gg_ptrc->Trace(1, szFunction, "Internal", szRefused, "");
        bRet = false;
    }
    else if (bRet && strText.empty())
    {
        szBuffer[sizeof(szBuffer) - 1] = '\0';
        strText = szBuffer;
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method CimValue2Str has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}
