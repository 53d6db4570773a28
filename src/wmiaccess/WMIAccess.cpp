// CCWMIAccess: first frame; every operation still answers E_NOTIMPL.
#include "WMIAccess.h"

CCWMIAccess::CCWMIAccess()
    : m_pAssocEnum(nullptr), m_pInstanceEnum(nullptr), m_pInstance(nullptr), m_pMethodInParams(nullptr),
      m_pMethodOutParams(nullptr), m_pWbemServices(nullptr), m_pContext(nullptr), m_szNamespace{},
      m_ulEnumTimeout(2000), m_szQueryLanguage("WQL"), m_lAmendedQualifiers(0), m_szAssocSource(nullptr)
{
}
CCWMIAccess::CCWMIAccess(const char*, const char*, const char*) : CCWMIAccess() {}
CCWMIAccess::~CCWMIAccess() {}
HRESULT CCWMIAccess::ConnectToNamespace(const char*, const char*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::ConnectToNamespace(const char*, long, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::SetProxyBlanket()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::SetContext(const char*, const char*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::SetContext(const std::map<std::string, VARIANT>&)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::AttachNamespace(IWbemServices*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::AttachInstanceObject(IWbemClassObject*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::ExecuteQuery(const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetClassInstances(const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetNextWMIInstanceInEnumerator()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::ResetInstanceEnumerator()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetObject(const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::NewInstance(const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::ReturnInstanceObject(IWbemClassObject**)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetProperty(const char*, VARIANT*, long)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::SetProperty(const char*, VARIANT*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::PutWMIInstanceProperty(const char*, VARIANT*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::PutInstance()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::BeginPropertyEnumeration()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::EndPropertyEnumeration()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetNextProperty(char*, VARIANT*, DWORD, bool, long)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetMappedProperty(const char*, VARIANT*, long)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetQualifier(const char*, VARIANT*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::SetQualifier(const char*, VARIANT*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetClassQualifier(const char*, const char*, VARIANT*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::PutClassQualifier(const char*, const char*, VARIANT*, long, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetMethodSignature(const char*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::SetMethodInputParameter(const char*, VARIANT*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::ExecuteMethod(const char*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetMethodOutputParameter(const char*, VARIANT*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetAssociatedClassInstances(const char*, const char*)
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::GetNextAssociatedClassInstances()
{
    return E_NOTIMPL;
}
HRESULT CCWMIAccess::Connect(const char*, const char*, const char*, const char*, bool, const char*)
{
    return E_NOTIMPL;
}
bool CCWMIAccess::AlreadyConnectedToNamespace(const char*)
{
    return false;
}
CCWMIAccess& CCWMIAccess::operator=(IWbemServices*)
{
    return *this;
}
CCWMIAccess& CCWMIAccess::operator=(IWbemClassObject*)
{
    return *this;
}
CCWMIAccess& CCWMIAccess::operator=(const CCWMIAccess&)
{
    return *this;
}
CCWMIAccess::operator IWbemServices*()
{
    return m_pWbemServices;
}
CCWMIAccess::operator IWbemClassObject*()
{
    return m_pInstance;
}
long CCWMIAccess::Flags() const
{
    return 0;
}
void CCWMIAccess::ReleaseMember(IUnknown**) {}
