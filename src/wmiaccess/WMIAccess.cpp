// CCWMIAccess: construction, destruction, the attach operations and the assignment and
// conversion operators.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

#include <cstdlib>
#include <cstring>

namespace
{
const char kCreated[] = "An instance of CCWMIAccess has been created.";
const char kDestroyed[] = "An instance of CCWMIAccess has been destroyed.";

// Stores pNew with a reference of its own in place of p. The new reference is taken before
// the old one is dropped, so that assigning the pointer already held cannot free it.
template <class T> void ReplaceRef(T*& p, T* pNew)
{
    if (pNew != nullptr)
    {
        pNew->AddRef();
    }
    ReleaseRef(p);
    p = pNew;
}

char* CopyString(const char* sz)
{
    const size_t nLen = strlen(sz) + 1;
    char* szCopy = static_cast<char*>(malloc(nLen));
    if (szCopy != nullptr)
    {
        memcpy(szCopy, sz, nLen);
    }
    return szCopy;
}
} // namespace

CCWMIAccess::CCWMIAccess()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::CCWMIAccess", "Enter", kCreated, "");
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::CCWMIAccess", "Leave", kCreated, "");
}

// Writes only its own Enter and Leave around the context records, not the default constructor's.
CCWMIAccess::CCWMIAccess(const char* szFeatureName, const char* szFeatureVersion, const char* szContextName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::CCWMIAccess", "Enter", kCreated,
                   "szFeatureName: %s, szFeatureVersion: %s, szContextName: %s", szFeatureName,
                   szFeatureVersion, szContextName);
    // Without a context the calls still work, so a failure here is left to the trace.
    SetContext(szFeatureName, szFeatureVersion, szContextName);
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::CCWMIAccess", "Leave", kCreated, "");
}

CCWMIAccess::~CCWMIAccess()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::~CCWMIAccess", "Enter", kDestroyed, "");
    ReleaseAll();
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::~CCWMIAccess", "Leave", kDestroyed, "");
}

void CCWMIAccess::ReleaseAll()
{
    ReleaseRef(m_pInstance);
    ReleaseRef(m_pContext);
    ReleaseRef(m_pAssocEnum);
    ReleaseRef(m_pInstanceEnum);
    ReleaseRef(m_pMethodInParams);
    ReleaseRef(m_pMethodOutParams);
    ReleaseRef(m_pWbemServices);
    free(m_szAssocSource);
    m_szAssocSource = nullptr;
}

long CCWMIAccess::Flags() const
{
    return m_lAmendedQualifiers != 0 ? WBEM_FLAG_USE_AMENDED_QUALIFIERS : 0;
}

HRESULT CCWMIAccess::AttachNamespace(IWbemServices* pWbemServices)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::AttachNamespace", "Enter",
                   "Method AttachNamespace has been entered.", "pWbemServices: 0x%08X",
                   PtrLow32(pWbemServices));
    HRESULT hRet = S_OK;
    if (pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::AttachNamespace", "Internal",
                       "Invalid namespace pointer specified", "");
        hRet = WMIACC_E_INVALID_PARAMETER;
    }
    else
    {
        // The caller's reference is taken over as it is.
        ReleaseRef(m_pWbemServices);
        m_szNamespace[0] = '\0';
        m_pWbemServices = pWbemServices;
    }
    return WmiAccLeave("CCWMIAccess::AttachNamespace", "Method AttachNamespace has been left.", hRet);
}

HRESULT CCWMIAccess::AttachInstanceObject(IWbemClassObject* pInstance)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::AttachInstanceObject", "Enter",
                   "Method AttachInstanceObject has been entered.", "pInstance: 0x%08X", PtrLow32(pInstance));
    HRESULT hRet = S_OK;
    if (pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::AttachInstanceObject", "Internal",
                       "Invalid instance pointer specified", "");
        hRet = WMIACC_E_INVALID_PARAMETER;
    }
    else
    {
        ReleaseRef(m_pInstance);
        m_pInstance = pInstance;
    }
    return WmiAccLeave("CCWMIAccess::AttachInstanceObject", "Method AttachInstanceObject has been left.",
                       hRet);
}

CCWMIAccess& CCWMIAccess::operator=(IWbemServices* pWbemServices)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator =", "Enter", "Operator = has been entered.",
                   "pWbemServices: 0x%08X", PtrLow32(pWbemServices));
    if (pWbemServices != nullptr)
    {
        m_szNamespace[0] = '\0';
    }
    // A null argument drops the connection: the released pointer is not kept.
    ReplaceRef(m_pWbemServices, pWbemServices);
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator =", "Leave", "Operator = has been left.", "pRet 0x%08X",
                   PtrLow32(this));
    return *this;
}

CCWMIAccess& CCWMIAccess::operator=(IWbemClassObject* pInstance)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator =", "Enter", "Operator = has been entered.",
                   "pInstance: 0x%08X", PtrLow32(pInstance));
    ReplaceRef(m_pInstance, pInstance);
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator =", "Leave", "Operator = has been left.", "pRet 0x%08X",
                   PtrLow32(this));
    return *this;
}

CCWMIAccess& CCWMIAccess::operator=(const CCWMIAccess& oOther)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator =", "Enter", "Operator = has been entered.",
                   "CCWMIAccess&");
    if (&oOther != this)
    {
        // Each reference the other object holds replaces ours. A member whose counterpart is
        // null keeps its former value; it then keeps its reference too, because releasing it
        // while keeping the pointer would release it a second time later and could crash.
        if (oOther.m_pInstance != nullptr)
            ReplaceRef(m_pInstance, oOther.m_pInstance);
        if (oOther.m_pContext != nullptr)
            ReplaceRef(m_pContext, oOther.m_pContext);
        if (oOther.m_pAssocEnum != nullptr)
            ReplaceRef(m_pAssocEnum, oOther.m_pAssocEnum);
        if (oOther.m_pInstanceEnum != nullptr)
            ReplaceRef(m_pInstanceEnum, oOther.m_pInstanceEnum);
        if (oOther.m_pMethodInParams != nullptr)
            ReplaceRef(m_pMethodInParams, oOther.m_pMethodInParams);
        if (oOther.m_pMethodOutParams != nullptr)
            ReplaceRef(m_pMethodOutParams, oOther.m_pMethodOutParams);
        if (oOther.m_pWbemServices != nullptr)
            ReplaceRef(m_pWbemServices, oOther.m_pWbemServices);
        free(m_szAssocSource);
        m_szAssocSource = oOther.m_szAssocSource != nullptr ? CopyString(oOther.m_szAssocSource) : nullptr;
        memcpy(m_szNamespace, oOther.m_szNamespace, sizeof(m_szNamespace));
        m_lAmendedQualifiers = oOther.m_lAmendedQualifiers;
    }
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator =", "Leave", "Operator = has been left.", "pRet 0x%08X",
                   PtrLow32(this));
    return *this;
}

CCWMIAccess::operator IWbemServices*()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator IWbemServices *", "Enter",
                   "Operator IWbemServices * has been entered.", "");
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator IWbemServices *", "Leave",
                   "Operator IWbemServices * has been left.", "pRet 0x%08X", PtrLow32(m_pWbemServices));
    return m_pWbemServices;
}

CCWMIAccess::operator IWbemClassObject*()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator IWbemClassObject *", "Enter",
                   "Operator IWbemClassObject * has been entered.", "");
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::operator IWbemClassObject *", "Leave",
                   "Operator IWbemClassObject * has been left.", "pRet 0x%08X", PtrLow32(m_pInstance));
    return m_pInstance;
}
