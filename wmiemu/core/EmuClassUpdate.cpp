// EmuClassUpdate.cpp - the rules for replacing a stored class (IWbemServices::PutClass and the
// classes a MOF compile stores), after the pages "WBEM_CHANGE_FLAG_TYPE enumeration",
// "WbemChangeFlagEnum enumeration" and "pragma classflags":
// - compatible (0): allowed when the class has no instances and no subclasses, or when only
//   non-important qualifiers change; otherwise WBEM_E_CLASS_HAS_INSTANCES / WBEM_E_CLASS_HAS_CHILDREN;
// - safe (WBEM_FLAG_UPDATE_SAFE_MODE): subclasses are allowed when the change does not conflict with
//   them; instances still refuse the update;
// - force (WBEM_FLAG_UPDATE_FORCE_MODE): the instances of the class are deleted, conflicting
//   qualifiers of subclasses are deleted; a conflicting subclass that has instances refuses it.
#include "EmuRepository.h"

#include <algorithm>
#include <set>

namespace wmiemu
{

namespace
{
// Qualifiers whose change alters what the instances of a class are or how they are found. Every
// other qualifier (Description, Version, DisplayName, MaxLen, ...) is non-important.
bool IsImportantQualifier(const std::wstring& name)
{
    for (const wchar_t* p : {L"key", L"abstract", L"singleton", L"dynamic", L"static", L"provider",
                             L"association", L"indication", L"CIMTYPE"})
        if (NameEq(name, p))
            return true;
    return false;
}

// The important part of a qualifier list, as text that compares equal when nothing important changed.
std::wstring ImportantText(const std::vector<Qualifier>& qs)
{
    std::vector<std::wstring> items;
    for (auto& q : qs)
        if (IsImportantQualifier(q.name))
            items.push_back(Lower(q.name) + L"=" + KeyCompareText(q.value) + L"/" +
                            std::to_wstring(q.flavor));
    std::sort(items.begin(), items.end());
    std::wstring r;
    for (auto& s : items)
        r += s + L";";
    return r;
}

std::wstring ValueText(const Value& v)
{
    if (v.kind != Value::Kind::Array)
        return v.IsNull() ? L"null" : KeyCompareText(v) + (v.kind == Value::Kind::String ? v.s : L"");
    std::wstring r = L"{";
    for (auto& item : v.items)
        r += ValueText(item) + L",";
    return r + L"}";
}

std::wstring PropertyText(const Property& p)
{
    const CIMTYPE base = p.type & ~CIM_FLAG_ARRAY;
    const bool bTyped = base == CIM_REFERENCE || base == CIM_OBJECT;
    return Lower(p.name) + L":" + std::to_wstring(p.type) + L":" + (bTyped ? Lower(p.refClass) : L"") + L"=" +
           ValueText(p.value) + L"[" + ImportantText(p.quals) + L"]";
}

// Everything of a stored class definition except its non-important qualifiers, order-free.
std::set<std::wstring> ImportantShape(const ClassDef& c)
{
    std::set<std::wstring> r{L"super:" + Lower(c.superclass), L"quals:" + ImportantText(c.quals)};
    for (auto& p : c.props)
        r.insert(L"prop:" + PropertyText(p));
    for (auto& m : c.methods)
    {
        std::wstring s = L"method:" + Lower(m.name) + L":" +
                         (m.returnsVoid ? L"void" : std::to_wstring(m.returnType)) + L"[" +
                         ImportantText(m.quals) + L"]";
        for (auto& p : m.params)
            s += L"(" + PropertyText(p) + L")";
        r.insert(s);
    }
    return r;
}

std::set<std::wstring> LowerNames(const std::vector<Qualifier>& qs)
{
    std::set<std::wstring> r;
    for (auto& q : qs)
        r.insert(Lower(q.name));
    return r;
}

std::set<std::wstring> LowerNames(const std::vector<Property>& ps)
{
    std::set<std::wstring> r;
    for (auto& p : ps)
        r.insert(Lower(p.name));
    return r;
}
} // namespace

HRESULT Repository::ApplyClassUpdate(const std::wstring& ns, ClassDef& existing, const ClassDef& def,
                                     long lFlags)
{
    Namespace* pNs = FindNs(ns);
    const long lMode = lFlags & WBEM_MASK_UPDATE_MODE;
    const bool bImportant = ImportantShape(existing) != ImportantShape(def);
    auto ownInstances = [&](const std::wstring& cls) {
        return std::count_if(pNs->instances.begin(), pNs->instances.end(),
                             [&](const InstData& i) { return NameEq(i.className, cls); });
    };
    auto keys = [](const ClassDef& c) {
        std::set<std::wstring> r;
        for (auto& p : c.props)
            if (QualIsTrue(p.quals, L"key"))
                r.insert(Lower(p.name));
        return r;
    };
    // A subclass conflicts when it declares a class qualifier that the new definition adds as one that
    // subclasses cannot override, or a property that the new definition adds, or when the keys change.
    const std::set<std::wstring> oldQuals = LowerNames(existing.quals), oldProps = LowerNames(existing.props);
    const bool bKeysChanged = keys(existing) != keys(def);
    std::vector<ClassDef*> children;
    std::vector<std::pair<ClassDef*, std::wstring>> conflictingQuals;
    bool bConflict = false;
    for (auto& c : pNs->classes)
    {
        if (!DerivesFrom(ns, c.name, def.name))
            continue;
        children.push_back(&c);
        bool bThis = bKeysChanged;
        for (auto& q : c.quals)
        {
            const Qualifier* pNew = FindQual(def.quals, q.name);
            if (pNew && !oldQuals.count(Lower(q.name)) && (pNew->flavor & WBEM_FLAVOR_NOT_OVERRIDABLE) &&
                (pNew->flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS))
            {
                conflictingQuals.push_back({&c, q.name});
                bThis = true;
            }
        }
        for (auto& p : c.props)
            bThis = bThis || (FindProp(def.props, p.name) && !oldProps.count(Lower(p.name)));
        if (bThis && lMode == WBEM_FLAG_UPDATE_FORCE_MODE && ownInstances(c.name) > 0)
            return WBEM_E_CLASS_HAS_INSTANCES;
        bConflict = bConflict || bThis;
    }
    if (bConflict && lMode != WBEM_FLAG_UPDATE_FORCE_MODE)
        return WBEM_E_CLASS_HAS_CHILDREN;
    if (bImportant)
    {
        // A new superclass changes every subclass: refused in every mode (the pages leave it open).
        if (!NameEq(existing.superclass, def.superclass) && !children.empty())
            return WBEM_E_CLASS_HAS_CHILDREN;
        if (ownInstances(def.name) > 0 && lMode != WBEM_FLAG_UPDATE_FORCE_MODE)
            return WBEM_E_CLASS_HAS_INSTANCES;
        if (!children.empty() && lMode == WBEM_FLAG_UPDATE_COMPATIBLE)
            return WBEM_E_CLASS_HAS_CHILDREN;
    }
    // Nothing can fail any more: force mode deletes the conflicting qualifiers of subclasses and the
    // instances of the class ("Using force mode to update a static class causes all instances of that
    // class to be deleted").
    for (auto& [pChild, name] : conflictingQuals)
        pChild->quals.erase(std::remove_if(pChild->quals.begin(), pChild->quals.end(),
                                           [&](const Qualifier& q) { return NameEq(q.name, name); }),
                            pChild->quals.end());
    if (bImportant)
        pNs->instances.erase(std::remove_if(pNs->instances.begin(), pNs->instances.end(),
                                            [&](const InstData& i) { return NameEq(i.className, def.name); }),
                             pNs->instances.end());
    existing = def;
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
