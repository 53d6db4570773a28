// EmuQualifierSet.cpp - IWbemQualifierSet on the qualifiers of an object or of one property. A
// property's set also shows the CIMTYPE qualifier ("uint32", "ref:Class", ...) as WMI does.
#include "EmuCom.h"

#include "EmuFaults.h"

namespace wmiemu
{

namespace
{
const LONG QUAL_FLAVORS = WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE |
                          WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS | WBEM_FLAVOR_NOT_OVERRIDABLE |
                          WBEM_FLAVOR_AMENDED;

bool QualifierValueOk(const VARIANT* p)
{
    if (!p)
        return false;
    VARTYPE vt = (VARTYPE)(p->vt & ~VT_ARRAY);
    return vt == VT_I4 || vt == VT_R8 || vt == VT_BSTR || vt == VT_BOOL;
}
} // namespace

CEmuQualifierSet::CEmuQualifierSet(CEmuClassObject* pOwner, const std::wstring& prop)
    : m_pOwner(pOwner), m_prop(prop)
{
    m_pOwner->AddRef();
}

CEmuQualifierSet::~CEmuQualifierSet()
{
    m_pOwner->Release();
}

HRESULT CEmuQualifierSet::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != IID_IWbemQualifierSet)
        return E_NOINTERFACE;
    *ppv = static_cast<IWbemQualifierSet*>(this);
    AddRef();
    return S_OK;
}

std::vector<Qualifier>* CEmuQualifierSet::Quals()
{
    Object& o = m_pOwner->Data();
    if (m_prop.empty())
        return &o.quals;
    Property* p = FindProp(o.props, m_prop);
    return p ? &p->quals : nullptr;
}

std::vector<Qualifier> CEmuQualifierSet::View()
{
    std::vector<Qualifier>* pq = Quals();
    std::vector<Qualifier> r;
    if (!pq)
        return r;
    r = *pq;
    if (!m_prop.empty())
    {
        const Object& o = m_pOwner->Data();
        const Property* p = FindProp(o.props, m_prop);
        std::wstring type = CimTypeName(p->type & ~CIM_FLAG_ARRAY);
        if (type == L"ref" || type == L"object")
            type += p->refClass.empty() ? L"" : L":" + p->refClass;
        Qualifier q;
        q.name = L"CIMTYPE";
        q.value = Value::Str(type);
        bool bLocal = o.isClass && (p->origin.empty() || NameEq(p->origin, o.className));
        q.flavor = bLocal
                       ? WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE | WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS
                       : WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE |
                             WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS | WBEM_FLAVOR_ORIGIN_PROPAGATED;
        r.insert(r.begin(), q);
    }
    return r;
}

HRESULT CEmuQualifierSet::Get(LPCWSTR wszName, LONG lFlags, VARIANT* pVal, LONG* plFlavor)
{
    if (!wszName || lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    const Object& o = m_pOwner->Data();
    HRESULT hr = ApplyFault(L"QualifierGet", o.ns, o.className);
    if (FAILED(hr))
        return hr;
    std::vector<Qualifier> quals = View();
    const Qualifier* q = FindQual(quals, wszName);
    if (!q)
        return WBEM_E_NOT_FOUND;
    if (pVal)
    {
        hr = ToVariant(q->value, 0, pVal);
        if (FAILED(hr))
            return hr;
    }
    if (plFlavor)
        *plFlavor = q->flavor;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuQualifierSet::Put(LPCWSTR wszName, VARIANT* pVal, LONG lFlavor)
{
    if (!wszName || !*wszName || (lFlavor & ~QUAL_FLAVORS))
        return WBEM_E_INVALID_PARAMETER;
    const Object& o = m_pOwner->Data();
    HRESULT hr = ApplyFault(L"QualifierPut", o.ns, o.className);
    if (FAILED(hr))
        return hr;
    std::vector<Qualifier>* pq = Quals();
    if (!pq)
        return WBEM_E_NOT_FOUND;
    if (NameEq(wszName, L"CIMTYPE") && !m_prop.empty())
        return WBEM_S_NO_ERROR; // the type is the property's; nothing to keep
    if (!QualifierValueOk(pVal))
        return WBEM_E_INVALID_QUALIFIER_TYPE;
    Qualifier q;
    q.name = wszName;
    q.flavor = lFlavor;
    hr = FromVariant(pVal, 0, q.value);
    if (FAILED(hr))
        return WBEM_E_INVALID_QUALIFIER_TYPE;
    if (Qualifier* existing = FindQual(*pq, wszName))
    {
        if ((existing->flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) &&
            (existing->flavor & WBEM_FLAVOR_NOT_OVERRIDABLE))
            return WBEM_E_OVERRIDE_NOT_ALLOWED;
        q.name = existing->name;
        *existing = q;
    }
    else
        pq->push_back(q);
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuQualifierSet::Delete(LPCWSTR wszName)
{
    if (!wszName)
        return WBEM_E_INVALID_PARAMETER;
    const Object& o = m_pOwner->Data();
    HRESULT hr = ApplyFault(L"QualifierDelete", o.ns, o.className);
    if (FAILED(hr))
        return hr;
    std::vector<Qualifier>* pq = Quals();
    if (!pq)
        return WBEM_E_NOT_FOUND;
    for (auto it = pq->begin(); it != pq->end(); ++it)
    {
        if (!NameEq(it->name, wszName))
            continue;
        if (it->flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED)
            return WBEM_E_PROPAGATED_QUALIFIER;
        pq->erase(it);
        return WBEM_S_NO_ERROR;
    }
    return WBEM_E_NOT_FOUND;
}

HRESULT CEmuQualifierSet::GetNames(LONG lFlags, SAFEARRAY** pNames)
{
    if (!pNames || (lFlags != 0 && lFlags != WBEM_FLAG_LOCAL_ONLY && lFlags != WBEM_FLAG_PROPAGATED_ONLY))
        return WBEM_E_INVALID_PARAMETER;
    std::vector<std::wstring> names;
    for (auto& q : View())
    {
        bool bPropagated = (q.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
        if ((lFlags == WBEM_FLAG_LOCAL_ONLY && bPropagated) ||
            (lFlags == WBEM_FLAG_PROPAGATED_ONLY && !bPropagated))
            continue;
        names.push_back(q.name);
    }
    return MakeSafeArrayOfNames(names, pNames);
}

HRESULT CEmuQualifierSet::BeginEnumeration(LONG lFlags)
{
    if (lFlags != 0 && lFlags != WBEM_FLAG_LOCAL_ONLY && lFlags != WBEM_FLAG_PROPAGATED_ONLY)
        return WBEM_E_INVALID_PARAMETER;
    m_enum.clear();
    for (auto& q : View())
    {
        bool bPropagated = (q.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
        if ((lFlags == WBEM_FLAG_LOCAL_ONLY && bPropagated) ||
            (lFlags == WBEM_FLAG_PROPAGATED_ONLY && !bPropagated))
            continue;
        m_enum.push_back(q);
    }
    m_nEnumPos = 0;
    m_bEnumerating = true;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuQualifierSet::Next(LONG lFlags, BSTR* pstrName, VARIANT* pVal, LONG* plFlavor)
{
    if (lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    if (!m_bEnumerating)
        return WBEM_E_UNEXPECTED;
    if (m_nEnumPos >= m_enum.size())
        return WBEM_S_NO_MORE_DATA;
    const Qualifier& q = m_enum[m_nEnumPos++];
    if (pVal)
    {
        HRESULT hr = ToVariant(q.value, 0, pVal);
        if (FAILED(hr))
            return hr;
    }
    if (pstrName)
        *pstrName = SysAllocString(q.name.c_str());
    if (plFlavor)
        *plFlavor = q.flavor;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuQualifierSet::EndEnumeration()
{
    m_bEnumerating = false;
    m_enum.clear();
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
