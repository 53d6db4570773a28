// EmuRepository.cpp - namespaces, classes and instances with WMI's rules and error codes.
#include "EmuRepository.h"

#include <algorithm>
#include <cwctype>
#include <iterator>
#include <set>

namespace wmiemu
{

namespace
{
const int MAX_DEPTH = 64; // deeper class chains are taken as a cycle

bool Local(const Qualifier& q)
{
    return (q.flavor & (WBEM_FLAVOR_ORIGIN_PROPAGATED | WBEM_FLAVOR_ORIGIN_SYSTEM)) == 0;
}

std::vector<Qualifier> LocalQuals(const std::vector<Qualifier>& qs)
{
    std::vector<Qualifier> r;
    for (auto& q : qs)
        if (Local(q))
            r.push_back(q);
    return r;
}

// Qualifiers passed on to a subclass or an instance, marked as propagated.
std::vector<Qualifier> Propagate(const std::vector<Qualifier>& qs, long lFlag)
{
    std::vector<Qualifier> r;
    for (auto q : qs)
        if ((q.flavor & lFlag) || (lFlag == WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE && NameEq(q.name, L"key")))
        {
            q.flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
            r.push_back(q);
        }
    return r;
}

void MergeQuals(std::vector<Qualifier>& target, const std::vector<Qualifier>& local)
{
    for (auto& q : local)
    {
        if (Qualifier* pq = FindQual(target, q.name))
            *pq = q;
        else
            target.push_back(q);
    }
}

// "IWbemServices::PutClass method" / "PutInstance method": with WBEM_FLAG_USE_AMENDED_QUALIFIERS no
// qualifier of the amended flavor is stored; without it every qualifier is.
Object WithoutAmended(Object obj, long lFlags)
{
    if (!(lFlags & WBEM_FLAG_USE_AMENDED_QUALIFIERS))
        return obj;
    auto strip = [](std::vector<Qualifier>& qs) {
        qs.erase(std::remove_if(qs.begin(), qs.end(),
                                [](const Qualifier& q) { return (q.flavor & WBEM_FLAVOR_AMENDED) != 0; }),
                 qs.end());
    };
    strip(obj.quals);
    for (auto& p : obj.props)
        strip(p.quals);
    for (auto& m : obj.methods)
        strip(m.quals);
    return obj;
}

bool ValidName(const std::wstring& s)
{
    return !s.empty() && s.find_first_of(L"\\/:\"") == std::wstring::npos;
}
} // namespace

Repository Repository::Fresh()
{
    Repository r;
    for (const wchar_t* p : {L"root", L"root\\default", L"root\\cimv2"})
        r.m_namespaces[Lower(p)].path = p;
    return r;
}

void Repository::CopyFrom(const Repository& other)
{
    for (auto it = m_namespaces.begin(); it != m_namespaces.end();)
        it = other.m_namespaces.count(it->first) ? std::next(it) : m_namespaces.erase(it);
    // Assigned item by item: strings and vectors keep their storage where it is large enough.
    for (auto& [key, ns] : other.m_namespaces)
        m_namespaces[key] = ns;
}

Namespace* Repository::FindNs(const std::wstring& ns)
{
    std::wstring norm;
    if (!NormalizeNamespace(ns, norm))
        return nullptr;
    auto it = m_namespaces.find(Lower(norm));
    return it == m_namespaces.end() ? nullptr : &it->second;
}

const Namespace* Repository::FindNs(const std::wstring& ns) const
{
    return const_cast<Repository*>(this)->FindNs(ns);
}

std::vector<std::wstring> Repository::ChildNamespaces(const std::wstring& ns) const
{
    std::vector<std::wstring> r;
    const Namespace* pNs = FindNs(ns);
    if (!pNs)
        return r;
    std::wstring prefix = Lower(pNs->path) + L"\\";
    for (auto& [key, child] : m_namespaces)
        if (key.size() > prefix.size() && key.compare(0, prefix.size(), prefix) == 0 &&
            key.find(L'\\', prefix.size()) == std::wstring::npos)
            r.push_back(child.path);
    return r;
}

HRESULT Repository::CreateNamespace(const std::wstring& parent, const std::wstring& name, long lFlags)
{
    const Namespace* pParent = FindNs(parent);
    if (!pParent)
        return WBEM_E_INVALID_NAMESPACE;
    if (!ValidName(name))
        return WBEM_E_INVALID_PARAMETER;
    std::wstring full = pParent->path + L"\\" + name;
    bool bExists = FindNs(full) != nullptr;
    if (bExists && (lFlags & WBEM_FLAG_CREATE_ONLY))
        return WBEM_E_ALREADY_EXISTS;
    if (!bExists && (lFlags & WBEM_FLAG_UPDATE_ONLY))
        return WBEM_E_NOT_FOUND;
    if (!bExists)
        m_namespaces[Lower(full)].path = full;
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::DeleteNamespace(const std::wstring& parent, const std::wstring& name)
{
    const Namespace* pParent = FindNs(parent);
    if (!pParent)
        return WBEM_E_INVALID_NAMESPACE;
    std::wstring key = Lower(pParent->path + L"\\" + name);
    if (!ValidName(name) || m_namespaces.find(key) == m_namespaces.end())
        return WBEM_E_NOT_FOUND;
    for (auto it = m_namespaces.begin(); it != m_namespaces.end();)
    {
        if (it->first == key || it->first.compare(0, key.size() + 1, key + L"\\") == 0)
            it = m_namespaces.erase(it);
        else
            ++it;
    }
    return WBEM_S_NO_ERROR;
}

const ClassDef* Repository::FindClassDef(const std::wstring& ns, const std::wstring& name) const
{
    const Namespace* pNs = FindNs(ns);
    if (!pNs)
        return nullptr;
    // A namespace loaded from a machine's dump has that machine's own system classes; they stand
    // in for the built-in ones of the same name (see README, "Dumps of a real machine").
    for (auto& c : pNs->classes)
        if (NameEq(c.name, name))
            return &c;
    if (IsSystemName(name))
        for (auto& c : SystemClasses())
            if (NameEq(c.name, name))
                return &c;
    return nullptr;
}

HRESULT Repository::Flatten(const std::wstring& ns, const std::wstring& name, Object& out, int nDepth) const
{
    const ClassDef* c = FindClassDef(ns, name);
    if (!c)
        return WBEM_E_NOT_FOUND;
    if (nDepth > MAX_DEPTH)
        return WBEM_E_FAILED;
    out = Object();
    if (!c->superclass.empty())
    {
        Object parent;
        HRESULT hr = Flatten(ns, c->superclass, parent, nDepth + 1);
        if (FAILED(hr))
            return hr == (HRESULT)WBEM_E_NOT_FOUND ? (HRESULT)WBEM_E_INVALID_SUPERCLASS : hr;
        out.superclass = parent.className;
        out.derivation.push_back(parent.className);
        out.derivation.insert(out.derivation.end(), parent.derivation.begin(), parent.derivation.end());
        out.quals = Propagate(parent.quals, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
        for (auto p : parent.props)
        {
            p.quals = Propagate(p.quals, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
            out.props.push_back(p);
        }
        for (auto m : parent.methods)
        {
            m.quals = Propagate(m.quals, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
            out.methods.push_back(m);
        }
    }
    out.className = c->name;
    MergeQuals(out.quals, c->quals);
    for (auto& p : c->props)
    {
        if (Property* pp = FindProp(out.props, p.name))
        {
            if (!p.value.IsNull())
                pp->value = p.value;
            MergeQuals(pp->quals, p.quals);
        }
        else
        {
            out.props.push_back(p);
            out.props.back().origin = c->name;
        }
    }
    for (auto& m : c->methods)
    {
        auto it = std::find_if(out.methods.begin(), out.methods.end(),
                               [&](const Method& x) { return NameEq(x.name, m.name); });
        if (it != out.methods.end())
            MergeQuals(it->quals, m.quals);
        else
        {
            out.methods.push_back(m);
            out.methods.back().origin = c->name;
        }
    }
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::GetClass(const std::wstring& ns, const std::wstring& name, Object& out) const
{
    const Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    HRESULT hr = Flatten(ns, name, out, 0);
    if (SUCCEEDED(hr))
    {
        out.ns = pNs->path;
        out.fromRepository = true;
    }
    return hr;
}

bool Repository::DerivesFrom(const std::wstring& ns, const std::wstring& cls,
                             const std::wstring& ancestor) const
{
    const ClassDef* c = FindClassDef(ns, cls);
    for (int n = 0; c && !c->superclass.empty() && n < MAX_DEPTH; ++n)
    {
        if (NameEq(c->superclass, ancestor))
            return true;
        c = FindClassDef(ns, c->superclass);
    }
    return false;
}

HRESULT Repository::PutClass(const std::wstring& ns, const Object& clsIn, long lFlags)
{
    const Object cls = WithoutAmended(clsIn, lFlags);
    Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    if (!cls.isClass)
        return WBEM_E_INVALID_PARAMETER;
    if (cls.className.empty())
        return WBEM_E_INVALID_OBJECT;
    // Names beginning or ending with '_' are the system's; a name must be a WQL class name.
    const std::wstring& name = cls.className;
    if (name.front() == L'_' || name.back() == L'_' || std::iswdigit(name.front()) ||
        !std::all_of(name.begin(), name.end(),
                     [](wchar_t c) { return std::iswalnum(c) || c == L'_' || c > 0x7f; }))
        return WBEM_E_INVALID_PARAMETER;
    Object parent;
    if (!cls.superclass.empty())
    {
        if (NameEq(cls.superclass, cls.className) || DerivesFrom(ns, cls.superclass, cls.className))
            return WBEM_E_INVALID_SUPERCLASS;
        if (FAILED(GetClass(ns, cls.superclass, parent)))
            return WBEM_E_INVALID_SUPERCLASS;
    }
    auto existing = std::find_if(pNs->classes.begin(), pNs->classes.end(),
                                 [&](const ClassDef& c) { return NameEq(c.name, cls.className); });
    bool bExists = existing != pNs->classes.end();
    if (!bExists && (lFlags & WBEM_FLAG_UPDATE_ONLY))
        return WBEM_E_NOT_FOUND;
    if (bExists && (lFlags & WBEM_FLAG_CREATE_ONLY))
        return WBEM_E_ALREADY_EXISTS;

    ClassDef def;
    def.name = cls.className;
    def.superclass = parent.className;
    def.quals = LocalQuals(cls.quals);
    for (auto& p : cls.props)
    {
        if (IsSystemName(p.name))
            continue;
        const Property* pp = FindProp(parent.props, p.name);
        Property local = p;
        local.quals = LocalQuals(p.quals);
        local.origin = def.name;
        if (!pp)
            def.props.push_back(local);
        else if (!local.quals.empty() || !ValueEquals(p.value, pp->value))
        {
            local.name = pp->name;
            local.type = pp->type;
            local.refClass = pp->refClass;
            if (ValueEquals(p.value, pp->value))
                local.value = Value();
            def.props.push_back(local);
        }
    }
    for (auto& m : cls.methods)
    {
        bool bInherited = std::any_of(parent.methods.begin(), parent.methods.end(),
                                      [&](const Method& x) { return NameEq(x.name, m.name); });
        Method local = m;
        local.quals = LocalQuals(m.quals);
        if (!bInherited || !local.quals.empty())
            def.methods.push_back(local);
    }

    if (bExists)
        return ApplyClassUpdate(ns, *existing, def, lFlags);
    pNs->classes.push_back(def);
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::DeleteClass(const std::wstring& ns, const std::wstring& name)
{
    Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    if (name.empty())
        return WBEM_E_INVALID_PARAMETER;
    if (IsSystemName(name))
        return FindClassDef(ns, name) ? WBEM_E_ACCESS_DENIED : WBEM_E_NOT_FOUND;
    if (!FindClassDef(ns, name))
        return WBEM_E_NOT_FOUND;
    std::set<std::wstring> doomed;
    for (auto& c : pNs->classes)
        if (NameEq(c.name, name) || DerivesFrom(ns, c.name, name))
            doomed.insert(Lower(c.name));
    auto& insts = pNs->instances;
    insts.erase(std::remove_if(insts.begin(), insts.end(),
                               [&](const InstData& i) { return doomed.count(Lower(i.className)) != 0; }),
                insts.end());
    auto& classes = pNs->classes;
    classes.erase(std::remove_if(classes.begin(), classes.end(),
                                 [&](const ClassDef& c) { return doomed.count(Lower(c.name)) != 0; }),
                  classes.end());
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::EnumClasses(const std::wstring& ns, const std::wstring& super, bool bDeep,
                                std::vector<Object>& out) const
{
    const Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    if (!super.empty() && !FindClassDef(ns, super))
        return WBEM_E_INVALID_CLASS;
    std::vector<const ClassDef*> all;
    for (auto& c : SystemClasses())
        if (FindClassDef(ns, c.name) == &c)
            all.push_back(&c);
    for (auto& c : pNs->classes)
        all.push_back(&c);
    for (auto* c : all)
    {
        bool bTake = super.empty() ? (bDeep || c->superclass.empty())
                                   : (bDeep ? DerivesFrom(ns, c->name, super) : NameEq(c->superclass, super));
        Object o;
        if (bTake && SUCCEEDED(GetClass(ns, c->name, o)))
            out.push_back(o);
    }
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::MakeInstance(const std::wstring& ns, const InstData& data, Object& out) const
{
    HRESULT hr = GetClass(ns, data.className, out);
    if (FAILED(hr))
        return hr;
    out.isClass = false;
    out.quals = Propagate(out.quals, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE);
    MergeQuals(out.quals, data.quals);
    for (auto& p : out.props)
        p.quals = Propagate(p.quals, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE);
    for (auto& m : out.methods)
        m.quals = Propagate(m.quals, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE);
    for (auto& [name, value] : data.values)
        if (Property* pp = FindProp(out.props, name))
            pp->value = value;
    return WBEM_S_NO_ERROR;
}

std::vector<Object> Repository::NamespaceInstances(const std::wstring& ns) const
{
    std::vector<Object> r;
    for (auto& child : ChildNamespaces(ns))
    {
        InstData d;
        d.className = L"__NAMESPACE";
        d.values.push_back({L"Name", Value::Str(child.substr(child.rfind(L'\\') + 1))});
        Object o;
        if (SUCCEEDED(MakeInstance(ns, d, o)))
            r.push_back(o);
    }
    return r;
}

HRESULT Repository::GetObjectByPath(const std::wstring& ns, const std::wstring& path, Object& out) const
{
    ObjectPath op;
    if (!ParseObjectPath(path, op))
        return WBEM_E_INVALID_OBJECT_PATH;
    const Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    if (!op.ns.empty() && FindNs(op.ns) != pNs)
        return WBEM_E_INVALID_OBJECT_PATH; // see DeleteInstance
    const std::wstring& target = ns;
    if (op.IsClass())
        return GetClass(target, op.className, out);
    if (!FindClassDef(target, op.className))
        return WBEM_E_INVALID_CLASS;
    if (NameEq(op.className, L"__NAMESPACE"))
    {
        for (auto& o : NamespaceInstances(target))
        {
            const Property* pp = FindProp(o.props, L"Name");
            if (op.keys.size() == 1 && (op.keys[0].first.empty() || NameEq(op.keys[0].first, L"Name")) &&
                KeyCompareText(op.keys[0].second) == KeyCompareText(pp->value))
            {
                out = o;
                return WBEM_S_NO_ERROR;
            }
        }
        return WBEM_E_NOT_FOUND;
    }
    int n = FindInstance(*pNs, op.className, op);
    if (n < 0)
        return WBEM_E_NOT_FOUND;
    return MakeInstance(target, pNs->instances[n], out);
}

HRESULT Repository::ToInstData(const std::wstring& ns, const Object& inst, InstData& out, Object& cls) const
{
    HRESULT hr = GetClass(ns, inst.className, cls);
    if (FAILED(hr))
        return hr == (HRESULT)WBEM_E_NOT_FOUND ? (HRESULT)WBEM_E_INVALID_CLASS : hr;
    out = InstData();
    out.className = cls.className;
    out.quals = LocalQuals(inst.quals);
    for (auto& cp : cls.props)
    {
        const Property* ip = FindProp(inst.props, cp.name);
        bool bKey = QualIsTrue(cp.quals, L"key");
        if (bKey && (!ip || ip->value.IsNull()))
            return WBEM_E_ILLEGAL_NULL;
        if (ip && (bKey || !ValueEquals(ip->value, cp.value)))
            out.values.push_back({cp.name, ip->value});
    }
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::PutInstance(const std::wstring& ns, const Object& instIn, long lFlags,
                                std::wstring* pRelPath)
{
    const Object inst = WithoutAmended(instIn, lFlags);
    Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    if (inst.isClass)
        return WBEM_E_INVALID_PARAMETER;
    InstData data;
    Object cls;
    HRESULT hr = ToInstData(ns, inst, data, cls);
    if (FAILED(hr))
        return hr;
    if (const Qualifier* pq = FindQual(cls.quals, L"abstract"))
        if (Local(*pq) && pq->value.kind == Value::Kind::Bool && pq->value.b)
            return WBEM_E_INVALID_OPERATION;
    if (NameEq(cls.className, L"__NAMESPACE"))
    {
        const Property* pp = FindProp(inst.props, L"Name");
        if (pp->value.kind != Value::Kind::String)
            return WBEM_E_INVALID_PARAMETER;
        hr = CreateNamespace(ns, pp->value.s, lFlags);
        if (SUCCEEDED(hr) && pRelPath)
            *pRelPath = FormatRelPath(L"__NAMESPACE", {{L"Name", pp->value}});
        return hr;
    }
    Object stored;
    MakeInstance(ns, data, stored);
    ObjectPath path;
    path.className = cls.className;
    path.keys = KeyValues(stored);
    path.singleton = path.keys.empty();
    // Keys are unique below the identity root: an instance of another class there with these keys is
    // in the way.
    int n = FindInstance(*pNs, IdentityRoot(ns, cls.className), path);
    if (n >= 0 && !NameEq(pNs->instances[n].className, cls.className))
        return WBEM_E_ALREADY_EXISTS;
    if (n < 0 && (lFlags & WBEM_FLAG_UPDATE_ONLY))
        return WBEM_E_NOT_FOUND;
    if (n >= 0 && (lFlags & WBEM_FLAG_CREATE_ONLY))
        return WBEM_E_ALREADY_EXISTS;
    if (n >= 0)
        pNs->instances[n] = data;
    else
        pNs->instances.push_back(data);
    if (pRelPath)
        *pRelPath = RelPath(stored);
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::DeleteInstance(const std::wstring& ns, const std::wstring& path)
{
    ObjectPath op;
    if (!ParseObjectPath(path, op))
        return WBEM_E_INVALID_OBJECT_PATH;
    Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    // "IWbemServices::DeleteInstance method": it acts in the current namespace; instances in other
    // namespaces cannot be deleted. A full path naming this namespace (any server) is accepted, one
    // naming another namespace is refused as a path this namespace cannot serve.
    if (op.IsClass() || (!op.ns.empty() && FindNs(op.ns) != pNs))
        return WBEM_E_INVALID_OBJECT_PATH;
    const std::wstring& target = ns;
    if (!FindClassDef(target, op.className))
        return WBEM_E_INVALID_CLASS;
    if (NameEq(op.className, L"__NAMESPACE"))
    {
        if (op.keys.size() != 1 || op.keys[0].second.kind != Value::Kind::String ||
            !(op.keys[0].first.empty() || NameEq(op.keys[0].first, L"Name")))
            return WBEM_E_INVALID_OBJECT_PATH;
        return DeleteNamespace(target, op.keys[0].second.s);
    }
    int n = FindInstance(*pNs, op.className, op);
    if (n < 0)
        return WBEM_E_NOT_FOUND;
    pNs->instances.erase(pNs->instances.begin() + n);
    return WBEM_S_NO_ERROR;
}

HRESULT Repository::EnumInstances(const std::wstring& ns, const std::wstring& cls, bool bDeep,
                                  std::vector<Object>& out) const
{
    const Namespace* pNs = FindNs(ns);
    if (!pNs)
        return WBEM_E_INVALID_NAMESPACE;
    if (!FindClassDef(ns, cls))
        return WBEM_E_INVALID_CLASS;
    if (NameEq(cls, L"__NAMESPACE") || (bDeep && DerivesFrom(ns, L"__NAMESPACE", cls)))
    {
        auto children = NamespaceInstances(ns);
        out.insert(out.end(), children.begin(), children.end());
    }
    for (auto& d : pNs->instances)
    {
        if (!NameEq(d.className, cls) && !(bDeep && DerivesFrom(ns, d.className, cls)))
            continue;
        Object o;
        if (SUCCEEDED(MakeInstance(ns, d, o)))
            out.push_back(o);
    }
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
