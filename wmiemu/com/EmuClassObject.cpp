// EmuClassObject.cpp - IWbemClassObject over a flattened class or instance.
#include "EmuCom.h"

#include "EmuFaults.h"

namespace wmiemu
{

namespace
{
const LONG ORIGIN_MASK = 0x70; // WBEM_FLAG_LOCAL_ONLY .. WBEM_FLAG_NONSYSTEM_ONLY
const LONG ENUM_FLAGS = WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY | ORIGIN_MASK |
                        WBEM_FLAG_CLASS_OVERRIDES_ONLY | WBEM_FLAG_CLASS_LOCAL_AND_OVERRIDES;

bool IsLocal(const Object& o, const Property& p)
{
    return p.origin.empty() || NameEq(p.origin, o.className);
}

bool IsSystemProperty(const std::wstring& name)
{
    for (auto* s : g_systemPropertyNames)
        if (NameEq(name, s))
            return true;
    return false;
}

std::wstring MofValue(const Value& v)
{
    if (v.kind == Value::Kind::Object)
        return L"instance of " + (v.obj ? v.obj->className : std::wstring()) + L" {}";
    if (v.kind != Value::Kind::Array)
        return FormatKeyValue(v); // literals are written as in object paths
    std::wstring r = L"{";
    for (size_t n = 0; n < v.items.size(); ++n)
        r += (n ? L", " : L"") + MofValue(v.items[n]);
    return r + L"}";
}

std::wstring MofQualifiers(const std::vector<Qualifier>& qs)
{
    std::wstring r;
    for (auto& q : qs)
    {
        if (q.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED)
            continue;
        r += (r.empty() ? L"[" : L", ") + q.name;
        if (!(q.value.kind == Value::Kind::Bool && q.value.b))
            r += L"(" + MofValue(q.value) + L")";
    }
    return r.empty() ? r : r + L"] ";
}
} // namespace

HRESULT CEmuClassObject::Create(const Object& obj, IWbemClassObject** pp)
{
    if (!pp)
        return WBEM_E_INVALID_PARAMETER;
    *pp = new CEmuClassObject(obj);
    return WBEM_S_NO_ERROR;
}

CEmuClassObject* CEmuClassObject::From(IWbemClassObject* p)
{
    CEmuClassObject* pEmu = nullptr;
    if (p && SUCCEEDED(p->QueryInterface(IID_IEmuClassObject, (void**)&pEmu)))
        pEmu->Release(); // the caller holds p
    return pEmu;
}

HRESULT CEmuClassObject::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IWbemClassObject)
        *ppv = static_cast<IWbemClassObject*>(this);
    else if (riid == IID_IEmuClassObject)
        *ppv = this;
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT CEmuClassObject::GetQualifierSet(IWbemQualifierSet** ppQualSet)
{
    if (!ppQualSet)
        return WBEM_E_INVALID_PARAMETER;
    *ppQualSet = nullptr;
    HRESULT hr = ApplyFault(L"GetQualifierSet", m_obj.ns, m_obj.className);
    if (FAILED(hr))
        return hr;
    *ppQualSet = new CEmuQualifierSet(this, L"");
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::Get(LPCWSTR wszName, LONG lFlags, VARIANT* pVal, CIMTYPE* pType, LONG* plFlavor)
{
    if (!wszName || lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    HRESULT hr = ApplyFault(L"Get", m_obj.ns, m_obj.className);
    if (FAILED(hr))
        return hr;
    Value v;
    CIMTYPE type = 0;
    LONG lFlavor = 0;
    if (GetSystemProperty(m_obj, wszName, v, type))
        lFlavor = WBEM_FLAVOR_ORIGIN_SYSTEM;
    else if (const Property* p = FindProp(m_obj.props, wszName))
    {
        v = p->value;
        type = p->type;
        lFlavor =
            (m_obj.isClass && !IsLocal(m_obj, *p)) ? WBEM_FLAVOR_ORIGIN_PROPAGATED : WBEM_FLAVOR_ORIGIN_LOCAL;
    }
    else
        return WBEM_E_NOT_FOUND;
    if (pVal)
    {
        hr = ToVariant(v, type, pVal);
        if (FAILED(hr))
            return hr;
    }
    if (pType)
        *pType = type;
    if (plFlavor)
        *plFlavor = lFlavor;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::Put(LPCWSTR wszName, LONG lFlags, VARIANT* pVal, CIMTYPE Type)
{
    if (!wszName || !*wszName || lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    HRESULT hr = ApplyFault(L"Put", m_obj.ns, m_obj.className);
    if (FAILED(hr))
        return hr;
    if (IsSystemProperty(wszName))
    {
        if (!NameEq(wszName, L"__CLASS") || !m_obj.isClass)
            return WBEM_E_READ_ONLY;
        Value v;
        if (FAILED(FromVariant(pVal, CIM_STRING, v)) || v.kind != Value::Kind::String || v.s.empty())
            return WBEM_E_TYPE_MISMATCH;
        for (auto& p : m_obj.props)
            if (IsLocal(m_obj, p))
                p.origin = v.s;
        m_obj.className = v.s;
        return WBEM_S_NO_ERROR;
    }
    if (Property* p = FindProp(m_obj.props, wszName))
    {
        if (Type != 0 && Type != p->type)
            return WBEM_E_TYPE_MISMATCH;
        Value v;
        hr = FromVariant(pVal, p->type, v);
        if (FAILED(hr))
            return hr;
        p->value = v;
        return WBEM_S_NO_ERROR;
    }
    if (!m_obj.isClass)
        return WBEM_E_NOT_FOUND;
    CIMTYPE type = Type ? Type : (pVal ? CimTypeOfVariant(pVal->vt) : 0);
    if (type == 0 || CimTypeName(type) == L"unknown")
        return WBEM_E_INVALID_PROPERTY_TYPE;
    Property p;
    p.name = wszName;
    p.type = type;
    p.origin = m_obj.className;
    hr = FromVariant(pVal, type, p.value);
    if (FAILED(hr))
        return hr;
    m_obj.props.push_back(p);
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::Delete(LPCWSTR wszName)
{
    if (!wszName)
        return WBEM_E_INVALID_PARAMETER;
    if (IsSystemProperty(wszName))
        return WBEM_E_SYSTEM_PROPERTY;
    for (auto it = m_obj.props.begin(); it != m_obj.props.end(); ++it)
    {
        if (!NameEq(it->name, wszName))
            continue;
        if (!m_obj.isClass)
        {
            it->value = Value();
            return WBEM_S_RESET_TO_DEFAULT;
        }
        if (!IsLocal(m_obj, *it))
            return WBEM_E_PROPAGATED_PROPERTY;
        m_obj.props.erase(it);
        return WBEM_S_NO_ERROR;
    }
    return WBEM_E_NOT_FOUND;
}

std::vector<std::wstring> CEmuClassObject::Names(LONG lFlags) const
{
    std::vector<std::wstring> names;
    LONG lOrigin = lFlags & ORIGIN_MASK;
    bool bSystem = lOrigin == 0 || lOrigin == WBEM_FLAG_SYSTEM_ONLY;
    bool bKeysOrRefs = (lFlags & (WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY)) != 0;
    if (bSystem && !bKeysOrRefs)
        for (auto* s : g_systemPropertyNames)
            names.push_back(s);
    if (lOrigin == WBEM_FLAG_SYSTEM_ONLY)
        return names;
    for (auto& p : m_obj.props)
    {
        bool bLocal = IsLocal(m_obj, p);
        if ((lOrigin == WBEM_FLAG_LOCAL_ONLY && !bLocal) || (lOrigin == WBEM_FLAG_PROPAGATED_ONLY && bLocal))
            continue;
        if ((lFlags & WBEM_FLAG_KEYS_ONLY) && !QualIsTrue(p.quals, L"key"))
            continue;
        if ((lFlags & WBEM_FLAG_REFS_ONLY) && (p.type & ~CIM_FLAG_ARRAY) != CIM_REFERENCE)
            continue;
        names.push_back(p.name);
    }
    return names;
}

HRESULT CEmuClassObject::GetNames(LPCWSTR wszQualifierName, LONG lFlags, VARIANT* pQualifierVal,
                                  SAFEARRAY** pNames)
{
    if (!pNames || (lFlags & ~(ENUM_FLAGS | WBEM_FLAG_ONLY_IF_IDENTICAL)))
        return WBEM_E_INVALID_PARAMETER;
    LONG lOrigin = lFlags & ORIGIN_MASK;
    if (lOrigin != 0 && lOrigin != WBEM_FLAG_LOCAL_ONLY && lOrigin != WBEM_FLAG_PROPAGATED_ONLY &&
        lOrigin != WBEM_FLAG_SYSTEM_ONLY && lOrigin != WBEM_FLAG_NONSYSTEM_ONLY)
        return WBEM_E_INVALID_PARAMETER;
    LONG lCond = lFlags & WBEM_FLAG_ONLY_IF_IDENTICAL;
    if (lCond != WBEM_FLAG_ALWAYS && !wszQualifierName)
        return WBEM_E_INVALID_PARAMETER;
    Value want;
    if (lCond == WBEM_FLAG_ONLY_IF_IDENTICAL && FAILED(FromVariant(pQualifierVal, 0, want)))
        return WBEM_E_INVALID_PARAMETER;
    std::vector<std::wstring> names;
    for (auto& n : Names(lFlags & ~WBEM_FLAG_ONLY_IF_IDENTICAL))
    {
        const Property* p = FindProp(m_obj.props, n);
        const Qualifier* q = (p && wszQualifierName) ? FindQual(p->quals, wszQualifierName) : nullptr;
        bool bTake = lCond == WBEM_FLAG_ALWAYS || (lCond == WBEM_FLAG_ONLY_IF_TRUE && q) ||
                     (lCond == WBEM_FLAG_ONLY_IF_FALSE && p && !q) ||
                     (lCond == WBEM_FLAG_ONLY_IF_IDENTICAL && q && ValueEquals(q->value, want));
        if (bTake)
            names.push_back(n);
    }
    return MakeSafeArrayOfNames(names, pNames);
}

HRESULT CEmuClassObject::BeginEnumeration(LONG lEnumFlags)
{
    LONG lOrigin = lEnumFlags & ORIGIN_MASK;
    if ((lEnumFlags & ~ENUM_FLAGS) ||
        (lOrigin != 0 && lOrigin != WBEM_FLAG_LOCAL_ONLY && lOrigin != WBEM_FLAG_PROPAGATED_ONLY &&
         lOrigin != WBEM_FLAG_SYSTEM_ONLY && lOrigin != WBEM_FLAG_NONSYSTEM_ONLY))
        return WBEM_E_INVALID_PARAMETER;
    m_enumNames = Names(lEnumFlags);
    m_nEnumPos = 0;
    m_bEnumerating = true;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::Next(LONG lFlags, BSTR* strName, VARIANT* pVal, CIMTYPE* pType, LONG* plFlavor)
{
    if (lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    if (!m_bEnumerating)
        return WBEM_E_UNEXPECTED;
    // A property deleted since BeginEnumeration is skipped.
    while (m_nEnumPos < m_enumNames.size())
    {
        const std::wstring& name = m_enumNames[m_nEnumPos++];
        HRESULT hr = Get(name.c_str(), 0, pVal, pType, plFlavor);
        if (hr == (HRESULT)WBEM_E_NOT_FOUND)
            continue;
        if (SUCCEEDED(hr) && strName)
            *strName = SysAllocString(name.c_str());
        return hr;
    }
    if (strName)
        *strName = nullptr;
    if (pVal)
        VariantInit(pVal);
    return WBEM_S_NO_MORE_DATA;
}

HRESULT CEmuClassObject::EndEnumeration()
{
    m_bEnumerating = false;
    m_enumNames.clear();
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::GetPropertyQualifierSet(LPCWSTR wszProperty, IWbemQualifierSet** ppQualSet)
{
    if (!wszProperty || !ppQualSet)
        return WBEM_E_INVALID_PARAMETER;
    *ppQualSet = nullptr;
    HRESULT hr = ApplyFault(L"GetPropertyQualifierSet", m_obj.ns, m_obj.className);
    if (FAILED(hr))
        return hr;
    if (IsSystemProperty(wszProperty))
        return WBEM_E_SYSTEM_PROPERTY;
    if (!FindProp(m_obj.props, wszProperty))
        return WBEM_E_NOT_FOUND;
    *ppQualSet = new CEmuQualifierSet(this, wszProperty);
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::Clone(IWbemClassObject** ppCopy)
{
    return Create(m_obj, ppCopy);
}

HRESULT CEmuClassObject::GetObjectText(LONG, BSTR* pstrObjectText)
{
    if (!pstrObjectText)
        return WBEM_E_INVALID_PARAMETER;
    std::wstring t = MofQualifiers(m_obj.quals);
    if (m_obj.isClass)
        t += L"class " + m_obj.className + (m_obj.superclass.empty() ? L"" : L" : " + m_obj.superclass);
    else
        t += L"instance of " + m_obj.className;
    t += L"\n{\n";
    for (auto& p : m_obj.props)
    {
        if (m_obj.isClass && !IsLocal(m_obj, p))
            continue;
        if (!m_obj.isClass && p.value.IsNull())
            continue;
        t += L"\t" + MofQualifiers(p.quals);
        if (m_obj.isClass)
        {
            std::wstring type = CimTypeName(p.type & ~CIM_FLAG_ARRAY);
            t += (type == L"ref" ? p.refClass + L" ref" : type) + L" ";
        }
        t += p.name + ((p.type & CIM_FLAG_ARRAY) && m_obj.isClass ? L"[]" : L"");
        if (!p.value.IsNull())
            t += L" = " + MofValue(p.value);
        t += L";\n";
    }
    t += L"};\n";
    *pstrObjectText = SysAllocString(t.c_str());
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::SpawnDerivedClass(LONG lFlags, IWbemClassObject** ppNewClass)
{
    if (!ppNewClass || lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    *ppNewClass = nullptr;
    if (!m_obj.isClass || m_obj.className.empty())
        return WBEM_E_INVALID_OPERATION;
    Object d = m_obj;
    d.superclass = m_obj.className;
    d.derivation.insert(d.derivation.begin(), m_obj.className);
    d.className.clear();
    d.fromRepository = false;
    auto propagate = [](std::vector<Qualifier>& qs) {
        std::vector<Qualifier> r;
        for (auto q : qs)
            if (q.flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS)
            {
                q.flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
                r.push_back(q);
            }
        qs = r;
    };
    propagate(d.quals);
    for (auto& p : d.props)
    {
        propagate(p.quals);
        if (p.origin.empty())
            p.origin = m_obj.className;
    }
    return Create(d, ppNewClass);
}

HRESULT CEmuClassObject::SpawnInstance(LONG lFlags, IWbemClassObject** ppNewInstance)
{
    if (!ppNewInstance || lFlags != 0)
        return WBEM_E_INVALID_PARAMETER;
    *ppNewInstance = nullptr;
    HRESULT hr = ApplyFault(L"SpawnInstance", m_obj.ns, m_obj.className);
    if (FAILED(hr))
        return hr;
    if (!m_obj.isClass)
        return WBEM_E_INVALID_OPERATION;
    if (m_obj.className.empty())
        return WBEM_E_INCOMPLETE_CLASS;
    Object i = m_obj;
    i.isClass = false;
    i.fromRepository = false;
    auto propagate = [](std::vector<Qualifier>& qs) {
        std::vector<Qualifier> r;
        for (auto q : qs)
            if ((q.flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) || NameEq(q.name, L"key"))
            {
                q.flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
                r.push_back(q);
            }
        qs = r;
    };
    propagate(i.quals);
    for (auto& p : i.props)
        propagate(p.quals);
    return Create(i, ppNewInstance);
}

HRESULT CEmuClassObject::GetPropertyOrigin(LPCWSTR wszName, BSTR* pstrClassName)
{
    if (!wszName || !pstrClassName)
        return WBEM_E_INVALID_PARAMETER;
    const Property* p = FindProp(m_obj.props, wszName);
    if (!p)
        return WBEM_E_NOT_FOUND;
    *pstrClassName = SysAllocString((p->origin.empty() ? m_obj.className : p->origin).c_str());
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuClassObject::InheritsFrom(LPCWSTR strAncestor)
{
    if (!strAncestor)
        return WBEM_E_INVALID_PARAMETER;
    for (auto& d : m_obj.derivation)
        if (NameEq(d, strAncestor))
            return WBEM_S_NO_ERROR;
    return WBEM_S_FALSE;
}

} // namespace wmiemu
