// EmuInstanceFind.cpp - finding a stored instance by an object path, and object paths compared as
// paths (reference keys and reference values).
#include "EmuRepository.h"

#include <algorithm>
#include <map>

namespace wmiemu
{

// Keys name one instance among the instances of the topmost class reached from cls through
// superclasses that are not abstract ("IWbemServices::DeleteInstance method" works through the
// topmost non-abstract class): subclasses of an abstract class (the provider registrations) each have
// their own keys.
std::wstring Repository::IdentityRoot(const std::wstring& ns, const std::wstring& cls) const
{
    const ClassDef* c = FindClassDef(ns, cls);
    for (int n = 0; c && !c->superclass.empty() && n < 64; ++n)
    {
        const ClassDef* pSuper = FindClassDef(ns, c->superclass);
        if (!pSuper || QualIsTrue(pSuper->quals, L"abstract"))
            break;
        c = pSuper;
    }
    return c ? c->name : cls;
}

// "Describing an Instance Object Path" / "Object paths": server "." and this machine's name are the
// same server, namespace, class and key names ignore case, keys come in any order, and a relative
// path names the namespace it is used in. Classes are compared by their IdentityRoot, within which
// keys are unique; an unnamed key ("Class="v"") takes the name of the class's only key.
std::wstring Repository::CanonicalPath(const std::wstring& ns, const std::wstring& path, int nDepth) const
{
    ObjectPath op;
    if (nDepth > 8 || !ParseObjectPath(path, op))
        return L"?" + Lower(path);
    std::wstring server = op.server.empty() || NameEq(op.server, ServerName()) ? L"." : Lower(op.server);
    std::wstring target = op.ns.empty() ? ns : op.ns, norm;
    NormalizeNamespace(target, norm);
    std::wstring r = L"\\\\" + server + L"\\" + Lower(norm) + L":" + Lower(IdentityRoot(norm, op.className));
    if (op.singleton)
        return r + L"=@";
    Object cls;
    std::vector<std::pair<std::wstring, std::wstring>> keys;
    for (auto& [name, value] : op.keys)
    {
        std::wstring keyName = name;
        CIMTYPE type = 0;
        if (SUCCEEDED(GetClass(norm, op.className, cls)))
        {
            auto k = KeyValues(cls);
            if (keyName.empty() && k.size() == 1)
                keyName = k[0].first;
            if (const Property* pp = FindProp(cls.props, keyName))
                type = pp->type;
        }
        std::wstring text = type == CIM_REFERENCE && value.kind == Value::Kind::String
                                ? CanonicalPath(norm, value.s, nDepth + 1)
                                : KeyCompareText(value);
        keys.push_back({Lower(keyName), text});
    }
    std::sort(keys.begin(), keys.end());
    for (auto& [name, text] : keys)
        r += L"," + name + L"=" + text;
    return r;
}

// "IWbemServices::GetObject method" / "DeleteInstance method": a path of a class finds the instances
// of that class and of the classes derived from it, never an instance only of a superclass.
int Repository::FindInstance(const Namespace& ns, const std::wstring& cls, const ObjectPath& path) const
{
    // Per class met: whether it is cls or derives from it, and its instance without values, whose
    // keys each instance's own values then fill in (as MakeInstance would, once per class).
    struct CClassKeys
    {
        bool bUsable = false;
        Object tmpl;
        std::vector<std::pair<std::wstring, Value>> keys;
    };
    std::map<std::wstring, CClassKeys> classes;
    auto itClass = classes.end();
    std::vector<std::wstring> pathTexts;
    for (auto& key : path.keys)
        pathTexts.push_back(KeyCompareText(key.second));
    for (size_t n = 0; n < ns.instances.size(); ++n)
    {
        const InstData& d = ns.instances[n];
        // Instances of one class mostly follow each other: the class of the one before is reused.
        if (itClass == classes.end() || !NameEq(itClass->first, d.className))
            itClass = classes.find(Lower(d.className));
        if (itClass == classes.end())
        {
            CClassKeys ck;
            InstData none;
            none.className = d.className;
            ck.bUsable = (NameEq(d.className, cls) || DerivesFrom(ns.path, d.className, cls)) &&
                         SUCCEEDED(MakeInstance(ns.path, none, ck.tmpl));
            if (ck.bUsable)
                ck.keys = KeyValues(ck.tmpl);
            itClass = classes.emplace(Lower(d.className), std::move(ck)).first;
        }
        if (!itClass->second.bUsable)
            continue;
        const Object& o = itClass->second.tmpl;
        const auto& keys = itClass->second.keys;
        if (path.singleton)
        {
            if (keys.empty())
                return (int)n;
            continue;
        }
        if (keys.size() != path.keys.size())
            continue;
        bool bMatch = true;
        for (size_t k = 0; k < path.keys.size() && bMatch; ++k)
        {
            const auto& [name, value] = path.keys[k];
            auto it = std::find_if(keys.begin(), keys.end(), [&](const auto& key) {
                return name.empty() ? keys.size() == 1 : NameEq(key.first, name);
            });
            const Property* pp = it == keys.end() ? nullptr : FindProp(o.props, it->first);
            const Value* pv = pp ? &it->second : nullptr;
            for (size_t v = 0; pp && v < d.values.size(); ++v)
                if (NameEq(d.values[v].first, it->first))
                    pv = &d.values[v].second;
            if (!pp)
                bMatch = false;
            else if (pp->type == CIM_REFERENCE && value.kind == Value::Kind::String &&
                     pv->kind == Value::Kind::String)
                bMatch = CanonicalPath(ns.path, pv->s) == CanonicalPath(ns.path, value.s);
            else if (pv->kind == Value::Kind::Int && value.kind == Value::Kind::Int)
                bMatch = pv->i == value.i; // as their texts compare, without writing them
            else
                bMatch = KeyCompareText(*pv) == pathTexts[k];
        }
        if (bMatch)
            return (int)n;
    }
    return -1;
}

} // namespace wmiemu
