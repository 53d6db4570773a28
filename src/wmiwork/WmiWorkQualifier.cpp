// CWmiWork::QualifierSet: one class qualifier set from text, keeping its type.
#include "WmiWork.h"

#include "ArcaTrace.h"
#include "StringConversion.h"
#include "WMIAccess.h"
#include "WmiErrorText.h"

#include <cstdio>
#include <cstdlib>

namespace
{
// Removes every cTrim at both ends of strText.
std::string TrimBoth(const std::string& strText, char cTrim)
{
    const size_t nFirst = strText.find_first_not_of(cTrim);
    if (nFirst == std::string::npos)
    {
        return std::string();
    }
    return strText.substr(nFirst, strText.find_last_not_of(cTrim) - nFirst + 1);
}

// atol's reading: base 10, leading white space skipped, the longest valid prefix, 0 without
// a number; a number beyond the signed 32-bit range (long on Windows) gives its nearer end.
long AtolClamped(const char* szValue)
{
    return strtol(szValue, nullptr, 10);
}
} // namespace

std::string CWmiWork::QualifierBackupText(const VARIANT& vValue)
{
    char szNumber[32];
    switch (vValue.vt)
    {
    case VT_BSTR: {
        CCStringConversion text(vValue.bstrVal != nullptr ? vValue.bstrVal : L"");
        const char* szText = text.Convert2A();
        return "\"" + std::string(szText != nullptr ? szText : "") + "\"";
    }
    case VT_I4:
        _snprintf(szNumber, sizeof(szNumber), "%ld", static_cast<long>(vValue.lVal));
        break;
    case VT_UI4:
        _snprintf(szNumber, sizeof(szNumber), "%lu", static_cast<unsigned long>(vValue.ulVal));
        break;
    default:
        return std::string();
    }
    szNumber[sizeof(szNumber) - 1] = '\0';
    return szNumber;
}

void CWmiWork::QualifierValueFromText(VARTYPE vt, const char* szValue, VARIANT* pvValue)
{
    VariantInit(pvValue);
    if (vt == VT_BSTR)
    {
        CCStringConversion text(TrimBoth(szValue, '"').c_str());
        const wchar_t* wszText = text.Convert2W();
        pvValue->bstrVal = SysAllocString(wszText != nullptr ? wszText : L"");
    }
    else if (vt == VT_I4)
    {
        pvValue->lVal = AtolClamped(szValue);
    }
    else if (vt == VT_UI4)
    {
        pvValue->ulVal = static_cast<ULONG>(AtolClamped(szValue));
    }
    else if ((vt & VT_ARRAY) != 0)
    {
        // An array keeps its element type and holds no elements.
        pvValue->parray = SafeArrayCreateVector(static_cast<VARTYPE>(vt & VT_TYPEMASK), 0, 0);
    }
    else
    {
        // Any other type: the type with a zero value (also a null pointer); the text is not read.
        pvValue->llVal = 0;
    }
    pvValue->vt = vt;
}

bool CWmiWork::QualifierSet(const char* szQualifierPath, const char* szValue, std::string* pstrOldValue)
{
    const char* szFunction = "CWmiWork::QualifierSet";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method QualifierSet has been entered.", "QualifierPath: %s",
                   szQualifierPath);
    const auto traceLeave = [szFunction](bool bResult) {
        gg_ptrc->Trace(3, szFunction, "Leave", "Method QualifierSet has been left.", "ret='%s'",
                       bResult ? "true" : "false");
    };
    const std::string strPath = szQualifierPath;
    const size_t nColon = strPath.find(':');
    const std::string strRest = nColon == std::string::npos ? std::string() : strPath.substr(nColon + 1);
    const size_t nDot = strRest.rfind('.');
    if (nColon == std::string::npos || nColon == 0)
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "Namespace separator not found in path", "");
        traceLeave(false);
        return false;
    }
    if (nDot == std::string::npos || nDot == 0)
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "Qualifier separator not found in path", "");
        traceLeave(false);
        return false;
    }
    const std::string strNamespace = TrimBoth(strPath.substr(0, nColon), '\\');
    const std::string strClass = strRest.substr(0, nDot);
    const std::string strQualifier = strRest.substr(nDot + 1);
    bool bRet = false;
    VARIANT vValue;
    VariantInit(&vValue);
    CCWMIAccess oAcc;
    HRESULT hr = oAcc.ConnectToNamespace(strNamespace.c_str(), -1, nullptr);
    if (FAILED(hr))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "Could not connect to namespaceh", "ns=%s, hr=0x%8.8lx, %s",
                       strNamespace.c_str(), static_cast<unsigned long>(hr), WmiErrorText(hr));
    }
    else if (FAILED(hr = oAcc.GetClassQualifier(strClass.c_str(), strQualifier.c_str(), &vValue)))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "oAcc.GetQualifier failed!", "hr=0x%8.8lx, %s",
                       static_cast<unsigned long>(hr), WmiErrorText(hr));
    }
    else
    {
        if (pstrOldValue != nullptr)
        {
            *pstrOldValue = QualifierBackupText(vValue);
        }
        const VARTYPE vt = vValue.vt;
        VariantClear(&vValue);
        QualifierValueFromText(vt, szValue, &vValue);
        hr = oAcc.PutClassQualifier(strClass.c_str(), strQualifier.c_str(), &vValue, 0);
        if (FAILED(hr))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "oAcc.SetQualifier failed!", "hr=0x%8.8lx, %s",
                           static_cast<unsigned long>(hr), WmiErrorText(hr));
        }
        else
        {
            bRet = true;
        }
    }
    // Leave first, then the value and the access object (whose release traces) go.
    traceLeave(bRet);
    VariantClear(&vValue);
    return bRet;
}
