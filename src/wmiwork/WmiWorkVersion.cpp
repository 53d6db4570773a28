// CWmiWork::ClassVersionCheck: the installed version of a class against a given one.
#include "WmiWork.h"

#include "ArcaTrace.h"
#include "StringConversion.h"
#include "WMIAccess.h"
#include "WmiErrorText.h"

#include <cstdlib>

const char* CWmiWork::ClassVersionText(int nCode)
{
    switch (nCode)
    {
    case CLASSVERSION_NO_QUALIFIER:
        return "-3, qualifier 'version' not found";
    case CLASSVERSION_GENERAL_ERROR:
        return "-2, general error";
    case CLASSVERSION_INSTALLED_NEWER:
        return "-1, class definition exists and installed version is newer";
    case CLASSVERSION_IDENTICAL:
        return "class definition exist and version information is identical";
    case CLASSVERSION_INSTALLED_OLDER:
        return "class definition exists in WMI, but version is older";
    case CLASSVERSION_NO_CLASS:
        return "class definition does not exist in WMI";
    case CLASSVERSION_NO_NAMESPACE:
        return "namespace does not exist";
    default:
        return nullptr;
    }
}

int CWmiWork::ClassVersionCheck(const char* szNamespace, const char* szClass, const char* szVersion)
{
    const char* szFunction = "CWmiWork::ClassVersionCheck";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method ClassVersionCheck has been entered.",
                   "\nNamespace='%s', Class='%s', Version='%s'", szNamespace, szClass, szVersion);
    int nRet = CLASSVERSION_GENERAL_ERROR;
    VARIANT vVersion;
    VariantInit(&vVersion);
    {
        CCWMIAccess oAcc;
        HRESULT hr = oAcc.ConnectToNamespace(szNamespace, -1, nullptr);
        if (FAILED(hr))
        {
            if (hr == static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE))
            {
                gg_ptrc->Trace(3, szFunction, "Internal",
                               "ConnectToNamespace failed, namespace does not exist", "hr=0x%X",
                               static_cast<unsigned>(hr));
                nRet = CLASSVERSION_NO_NAMESPACE;
            }
            else
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "ConnectToNamespace failed!", "hr=0x%X '%s'",
                               static_cast<unsigned>(hr), WmiErrorText(hr));
                nRet = CLASSVERSION_GENERAL_ERROR;
            }
        }
        else if (FAILED(hr = oAcc.GetObject(szClass)))
        {
            gg_ptrc->Trace(3, szFunction, "Internal", "GetObject failed, class might not exist!",
                           "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
            nRet = CLASSVERSION_NO_CLASS;
        }
        else if (FAILED(hr = oAcc.GetQualifier("version", &vVersion, nullptr)))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "GetQualifier failed!", "hr=0x%X '%s'",
                           static_cast<unsigned>(hr), WmiErrorText(hr));
            nRet = CLASSVERSION_NO_QUALIFIER;
        }
        else
        {
            // The value is read as a string and both sides as numbers. A qualifier that is not a
            // string (Version(2.5)) would be read through a wrong pointer: it is converted first,
            // with the invariant locale, so that its decimal point is the one atof reads
            // whatever the user's number format.
            if (vVersion.vt != VT_BSTR &&
                FAILED(VariantChangeTypeEx(&vVersion, &vVersion, LOCALE_INVARIANT, 0, VT_BSTR)))
            {
                VariantClear(&vVersion);
            }
            CCStringConversion installed(
                vVersion.vt == VT_BSTR && vVersion.bstrVal != nullptr ? vVersion.bstrVal : L"");
            const char* szInstalled = installed.Convert2A();
            const double dInstalled = atof(szInstalled != nullptr ? szInstalled : "");
            const double dGiven = atof(szVersion);
            nRet = dInstalled > dGiven    ? CLASSVERSION_INSTALLED_NEWER
                   : dInstalled == dGiven ? CLASSVERSION_IDENTICAL
                                          : CLASSVERSION_INSTALLED_OLDER;
        }
        const char* szText = ClassVersionText(nRet);
        char szUnknown[32];
        if (szText == nullptr)
        {
            _snprintf(szUnknown, sizeof(szUnknown), "%d, unknown code", nRet);
            szUnknown[sizeof(szUnknown) - 1] = '\0';
            szText = szUnknown;
        }
        // Leave first, then the value and the access object (whose release traces) go.
        gg_ptrc->Trace(3, szFunction, "Leave", "Method ClassVersionCheck has been left.", "ret=%s", szText);
        VariantClear(&vVersion);
    }
    return nRet;
}
