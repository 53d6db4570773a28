// EmuMofStore.cpp - turning the MOF front end's declarations into repository objects.
#include "EmuMofStore.h"

#include "EmuFaults.h"

#include <map>
#include <set>

namespace wmiemu
{

namespace
{

CIMTYPE ToCimType(mofc::CimType t)
{
    switch (t)
    {
    case mofc::CimType::Sint8:
        return CIM_SINT8;
    case mofc::CimType::Uint8:
        return CIM_UINT8;
    case mofc::CimType::Sint16:
        return CIM_SINT16;
    case mofc::CimType::Uint16:
        return CIM_UINT16;
    case mofc::CimType::Sint32:
        return CIM_SINT32;
    case mofc::CimType::Uint32:
        return CIM_UINT32;
    case mofc::CimType::Sint64:
        return CIM_SINT64;
    case mofc::CimType::Uint64:
        return CIM_UINT64;
    case mofc::CimType::Real32:
        return CIM_REAL32;
    case mofc::CimType::Real64:
        return CIM_REAL64;
    case mofc::CimType::Boolean:
        return CIM_BOOLEAN;
    case mofc::CimType::String:
        return CIM_STRING;
    case mofc::CimType::Datetime:
        return CIM_DATETIME;
    case mofc::CimType::Char16:
        return CIM_CHAR16;
    case mofc::CimType::Reference:
        return CIM_REFERENCE;
    case mofc::CimType::Object:
        return CIM_OBJECT;
    }
    return CIM_STRING;
}

class CMofStorer
{
public:
    CMofStorer(Repository& repo, const std::vector<mofc::Declaration>& decls) : m_repo(repo), m_decls(decls)
    {
    }

    HRESULT StoreClass(const mofc::Declaration& d, long lFlags);
    HRESULT StoreInstance(const mofc::Declaration& d, long lFlags);

private:
    HRESULT ConvertValue(const std::wstring& ns, const mofc::Value& in, CIMTYPE type, Value& out, int nDepth);
    HRESULT BuildInstance(const std::wstring& ns, const mofc::InstanceDecl& decl, Object& out, int nDepth);
    Qualifier ConvertQualifier(const mofc::Qualifier& q);
    Property ConvertProperty(const std::wstring& ns, const mofc::Property& p, const std::wstring& origin,
                             HRESULT& hr);

    HRESULT ResolveAlias(const std::wstring& alias, std::wstring& path);

    Repository& m_repo;
    const std::vector<mofc::Declaration>& m_decls;
    std::map<std::wstring, std::wstring> m_aliases; // lower-case alias -> object path
    std::set<std::wstring> m_resolving;             // aliases whose path is being built
};

Value PlainValue(const mofc::Value& in)
{
    Value v;
    switch (in.kind)
    {
    case mofc::Value::Kind::Bool:
        v = Value::Bool(in.b);
        break;
    case mofc::Value::Kind::Int:
        v = Value::Int(in.i);
        break;
    case mofc::Value::Kind::Real:
        v.kind = Value::Kind::Real;
        v.r = in.r;
        break;
    case mofc::Value::Kind::String:
    case mofc::Value::Kind::Ref:
        v = Value::Str(in.isAlias ? L"$" + in.s : in.s);
        break;
    case mofc::Value::Kind::Array:
        v.kind = Value::Kind::Array;
        for (auto& item : in.items)
            v.items.push_back(PlainValue(item));
        break;
    default:
        break;
    }
    return v;
}

Qualifier CMofStorer::ConvertQualifier(const mofc::Qualifier& q)
{
    Qualifier r;
    r.name = q.name;
    r.value = PlainValue(q.value);
    r.flavor = (q.toInstance ? WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE : 0) |
               (q.toSubclass && !q.restricted ? WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS : 0) |
               (q.overridable ? 0 : WBEM_FLAVOR_NOT_OVERRIDABLE) | (q.amended ? WBEM_FLAVOR_AMENDED : 0);
    return r;
}

HRESULT CMofStorer::ConvertValue(const std::wstring& ns, const mofc::Value& in, CIMTYPE type, Value& out,
                                 int nDepth)
{
    out = Value();
    CIMTYPE base = type & ~CIM_FLAG_ARRAY;
    if (in.kind == mofc::Value::Kind::Null)
        return WBEM_S_NO_ERROR;
    if (in.kind == mofc::Value::Kind::Array)
    {
        if (!(type & CIM_FLAG_ARRAY))
            return WBEM_E_TYPE_MISMATCH;
        out.kind = Value::Kind::Array;
        for (auto& item : in.items)
        {
            Value v;
            HRESULT hr = ConvertValue(ns, item, base, v, nDepth);
            if (FAILED(hr))
                return hr;
            out.items.push_back(v);
        }
        return WBEM_S_NO_ERROR;
    }
    if (type & CIM_FLAG_ARRAY)
    {
        // A single value given for an array property makes a one-element array.
        Value v;
        HRESULT hr = ConvertValue(ns, in, base, v, nDepth);
        out.kind = Value::Kind::Array;
        out.items.push_back(v);
        return hr;
    }
    switch (base)
    {
    case CIM_BOOLEAN:
        if (in.kind != mofc::Value::Kind::Bool)
            return WBEM_E_TYPE_MISMATCH;
        out = Value::Bool(in.b);
        return WBEM_S_NO_ERROR;
    case CIM_REAL32:
    case CIM_REAL64:
        if (in.kind != mofc::Value::Kind::Real && in.kind != mofc::Value::Kind::Int)
            return WBEM_E_TYPE_MISMATCH;
        out.kind = Value::Kind::Real;
        out.r = in.kind == mofc::Value::Kind::Real
                    ? in.r
                    : (in.isUnsigned ? (double)(unsigned long long)in.i : (double)in.i);
        return WBEM_S_NO_ERROR;
    case CIM_STRING:
    case CIM_DATETIME:
        if (in.kind != mofc::Value::Kind::String)
            return WBEM_E_TYPE_MISMATCH;
        out = Value::Str(in.s);
        return WBEM_S_NO_ERROR;
    case CIM_REFERENCE:
        if (in.kind == mofc::Value::Kind::Ref && in.isAlias)
        {
            std::wstring path;
            HRESULT hr = ResolveAlias(in.s, path);
            out = Value::Str(path);
            return hr;
        }
        if (in.kind != mofc::Value::Kind::String && in.kind != mofc::Value::Kind::Ref)
            return WBEM_E_TYPE_MISMATCH;
        out = Value::Str(in.s);
        return WBEM_S_NO_ERROR;
    case CIM_OBJECT: {
        if (in.kind != mofc::Value::Kind::Object || !in.object)
            return WBEM_E_TYPE_MISMATCH;
        if (nDepth > 32)
            return WBEM_E_FAILED; // embedded objects nested this deep are taken as a loop
        auto obj = std::make_shared<Object>();
        HRESULT hr = BuildInstance(ns, *in.object, *obj, nDepth + 1);
        if (FAILED(hr))
            return hr;
        out.kind = Value::Kind::Object;
        out.obj = obj;
        return WBEM_S_NO_ERROR;
    }
    default: // integers and char16
        if (in.kind == mofc::Value::Kind::Int)
        {
            out = Value::Int(in.i);
            return WBEM_S_NO_ERROR;
        }
        if (in.kind == mofc::Value::Kind::String && (base == CIM_SINT64 || base == CIM_UINT64))
        {
            wchar_t* end = nullptr;
            long long n =
                in.s[0] == L'-' ? wcstoll(in.s.c_str(), &end, 0) : (long long)wcstoull(in.s.c_str(), &end, 0);
            if (in.s.empty() || !end || *end)
                return WBEM_E_TYPE_MISMATCH;
            out = Value::Int(n);
            return WBEM_S_NO_ERROR;
        }
        return WBEM_E_TYPE_MISMATCH;
    }
}

Property CMofStorer::ConvertProperty(const std::wstring& ns, const mofc::Property& p,
                                     const std::wstring& origin, HRESULT& hr)
{
    Property r;
    r.name = p.name;
    r.type = ToCimType(p.type) | (p.isArray ? CIM_FLAG_ARRAY : 0);
    r.refClass = p.refClass;
    r.origin = origin;
    for (auto& q : p.qualifiers)
        r.quals.push_back(ConvertQualifier(q));
    hr = WBEM_S_NO_ERROR;
    if (p.hasDefault)
        hr = ConvertValue(ns, p.defaultValue, r.type, r.value, 0);
    return r;
}

// "Creating a WMI Alias": forward references are allowed, circular aliases are not. An alias not
// stored yet is resolved from its declaration further on (its class must be stored by then); an
// alias whose path needs itself, directly or through other aliases, is WBEM_E_CIRCULAR_REFERENCE.
HRESULT CMofStorer::ResolveAlias(const std::wstring& alias, std::wstring& path)
{
    const std::wstring key = Lower(alias);
    auto it = m_aliases.find(key);
    if (it != m_aliases.end())
    {
        path = it->second;
        return WBEM_S_NO_ERROR;
    }
    if (m_resolving.count(key))
        return WBEM_E_CIRCULAR_REFERENCE;
    for (auto& d : m_decls)
    {
        const Namespace* pNs = m_repo.FindNs(d.ns);
        if (d.kind == mofc::Declaration::Kind::Class && NameEq(d.cls.alias, alias))
        {
            if (!pNs)
                return WBEM_E_INVALID_NAMESPACE;
            path = m_aliases[key] = L"\\\\.\\" + pNs->path + L":" + d.cls.name;
            return WBEM_S_NO_ERROR;
        }
        if (d.kind != mofc::Declaration::Kind::Instance || !NameEq(d.inst.alias, alias))
            continue;
        if (!pNs)
            return WBEM_E_INVALID_NAMESPACE;
        m_resolving.insert(key);
        Object obj;
        HRESULT hr = BuildInstance(d.ns, d.inst, obj, 0);
        m_resolving.erase(key);
        if (FAILED(hr))
            return hr;
        std::wstring rel = RelPath(obj);
        if (rel.empty())
            return WBEM_E_ILLEGAL_NULL;
        path = m_aliases[key] = L"\\\\.\\" + pNs->path + L":" + rel;
        return WBEM_S_NO_ERROR;
    }
    return WBEM_E_NOT_FOUND;
}

HRESULT CMofStorer::StoreClass(const mofc::Declaration& d, long lFlags)
{
    const mofc::ClassDecl& c = d.cls;
    HRESULT hr = ApplyFault(L"PutClass", d.ns, c.name);
    if (FAILED(hr))
        return hr;
    if (!m_repo.FindNs(d.ns))
        return WBEM_E_INVALID_NAMESPACE;
    Object obj;
    obj.className = c.name;
    obj.superclass = c.superclass;
    for (auto& q : c.qualifiers)
        obj.quals.push_back(ConvertQualifier(q));
    for (auto& p : c.properties)
    {
        Property prop = ConvertProperty(d.ns, p, c.name, hr);
        if (FAILED(hr))
            return hr;
        obj.props.push_back(prop);
    }
    for (auto& m : c.methods)
    {
        Method meth;
        meth.name = m.name;
        meth.returnType = ToCimType(m.returnType);
        meth.returnsVoid = m.returnsVoid;
        meth.origin = c.name;
        for (auto& q : m.qualifiers)
            meth.quals.push_back(ConvertQualifier(q));
        for (auto& p : m.params)
        {
            meth.params.push_back(ConvertProperty(d.ns, p, c.name, hr));
            if (FAILED(hr))
                return hr;
        }
        obj.methods.push_back(meth);
    }
    return m_repo.PutClass(d.ns, obj, lFlags);
}

HRESULT CMofStorer::BuildInstance(const std::wstring& ns, const mofc::InstanceDecl& decl, Object& out,
                                  int nDepth)
{
    InstData empty;
    empty.className = decl.className;
    HRESULT hr = m_repo.MakeInstance(ns, empty, out);
    if (FAILED(hr))
        return hr == (HRESULT)WBEM_E_INVALID_NAMESPACE ? hr : (HRESULT)WBEM_E_NOT_FOUND;
    out.fromRepository = false;
    for (auto& q : decl.qualifiers)
        out.quals.push_back(ConvertQualifier(q));
    for (auto& pv : decl.values)
    {
        Property* pp = FindProp(out.props, pv.name);
        if (!pp)
            return WBEM_E_NOT_FOUND;
        hr = ConvertValue(ns, pv.value, pp->type, pp->value, nDepth);
        if (FAILED(hr))
            return hr;
        for (auto& q : pv.qualifiers)
            pp->quals.push_back(ConvertQualifier(q));
    }
    return WBEM_S_NO_ERROR;
}

HRESULT CMofStorer::StoreInstance(const mofc::Declaration& d, long lFlags)
{
    HRESULT hr = ApplyFault(L"PutInstance", d.ns, d.inst.className);
    if (FAILED(hr))
        return hr;
    if (!m_repo.FindNs(d.ns))
        return WBEM_E_INVALID_NAMESPACE;
    Object obj;
    hr = BuildInstance(d.ns, d.inst, obj, 0);
    if (FAILED(hr))
        return hr;
    std::wstring rel;
    hr = m_repo.PutInstance(d.ns, obj, lFlags, &rel);
    if (SUCCEEDED(hr) && !d.inst.alias.empty())
    {
        const Namespace* pNs = m_repo.FindNs(d.ns);
        m_aliases[Lower(d.inst.alias)] = L"\\\\.\\" + pNs->path + L":" + rel;
    }
    return hr;
}

} // namespace

HRESULT StoreDeclarations(Repository& repo, const std::vector<mofc::Declaration>& decls, long lClassFlags,
                          long lInstanceFlags, size_t& nFailed)
{
    CMofStorer storer(repo, decls);
    for (nFailed = 0; nFailed < decls.size(); ++nFailed)
    {
        const mofc::Declaration& d = decls[nFailed];
        HRESULT hr = WBEM_S_NO_ERROR;
        switch (d.kind)
        {
        case mofc::Declaration::Kind::Class:
            hr = storer.StoreClass(d, lClassFlags | (long)d.classFlags);
            break;
        case mofc::Declaration::Kind::Instance:
            hr = storer.StoreInstance(d, lInstanceFlags | (long)d.instanceFlags);
            break;
        case mofc::Declaration::Kind::DeleteClass:
            hr = repo.DeleteClass(d.ns, d.deleteTarget);
            if (hr == (HRESULT)WBEM_E_NOT_FOUND && !d.deleteFail)
                hr = WBEM_S_NO_ERROR;
            break;
        case mofc::Declaration::Kind::DeleteInstance:
            // "pragma deleteinstance": FAIL stops the compile when the instance (or its class) is not
            // there, NOFAIL goes on; any other failure stops it either way.
            hr = repo.DeleteInstance(d.ns, d.deleteTarget);
            if ((hr == (HRESULT)WBEM_E_NOT_FOUND || hr == (HRESULT)WBEM_E_INVALID_CLASS) && !d.deleteFail)
                hr = WBEM_S_NO_ERROR;
            break;
        }
        if (FAILED(hr))
            return hr;
    }
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
