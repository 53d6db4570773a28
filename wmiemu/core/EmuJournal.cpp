// EmuJournal.cpp - journal records: what one call changed, in the repository's own text form, so
// that a write appends a few lines instead of rewriting the repository file. A record:
//   begin
//   namespace root\x                 created
//   drop-namespace root\x            deleted (with everything in it)
//   drop-class root\x Name           deleted
//   class root\x Name : Super        stored (replaces the class of that name), body as in the file
//   drop-instance root\x Class       deleted: the instance with that class and these key values
//     value Id = 1
//   instance root\x Class            stored (replaces the instance with the same class and keys)
//     value Id = 1
//   end
// Applying a record again to a repository that already has its changes changes nothing more.
#include "EmuRepository.h"

#include <algorithm>

namespace wmiemu
{

namespace
{

bool QualsEqual(const std::vector<Qualifier>& a, const std::vector<Qualifier>& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t n = 0; n < a.size(); ++n)
        if (a[n].name != b[n].name || a[n].flavor != b[n].flavor || !ValueEquals(a[n].value, b[n].value))
            return false;
    return true;
}

bool PropsEqual(const std::vector<Property>& a, const std::vector<Property>& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t n = 0; n < a.size(); ++n)
        if (a[n].name != b[n].name || a[n].type != b[n].type || a[n].refClass != b[n].refClass ||
            a[n].origin != b[n].origin || !ValueEquals(a[n].value, b[n].value) ||
            !QualsEqual(a[n].quals, b[n].quals))
            return false;
    return true;
}

bool ClassEqual(const ClassDef& a, const ClassDef& b)
{
    if (a.name != b.name || a.superclass != b.superclass || a.methods.size() != b.methods.size() ||
        !QualsEqual(a.quals, b.quals) || !PropsEqual(a.props, b.props))
        return false;
    for (size_t n = 0; n < a.methods.size(); ++n)
    {
        const Method& x = a.methods[n];
        const Method& y = b.methods[n];
        if (x.name != y.name || x.returnType != y.returnType || x.returnsVoid != y.returnsVoid ||
            x.origin != y.origin || !QualsEqual(x.quals, y.quals) || !PropsEqual(x.params, y.params))
            return false;
    }
    return true;
}

bool InstEqual(const InstData& a, const InstData& b)
{
    if (a.className != b.className || a.values.size() != b.values.size() || !QualsEqual(a.quals, b.quals))
        return false;
    for (size_t n = 0; n < a.values.size(); ++n)
        if (a.values[n].first != b.values[n].first || !ValueEquals(a.values[n].second, b.values[n].second))
            return false;
    return true;
}

// The changed stretch of two vectors that mostly agree (a call erases, appends or replaces a few
// items): [nFirst, nOldEnd) of the old one became [nFirst, nNewEnd) of the new one.
template <class T, class Eq>
void ChangedStretch(const std::vector<T>& o, const std::vector<T>& n, Eq eq, size_t& nFirst, size_t& nOldEnd,
                    size_t& nNewEnd)
{
    nFirst = 0;
    while (nFirst < o.size() && nFirst < n.size() && eq(o[nFirst], n[nFirst]))
        ++nFirst;
    nOldEnd = o.size();
    nNewEnd = n.size();
    while (nOldEnd > nFirst && nNewEnd > nFirst && eq(o[nOldEnd - 1], n[nNewEnd - 1]))
        --nOldEnd, --nNewEnd;
}

std::wstring Drop(const std::wstring& itemText)
{
    return L"drop-" + itemText;
}

} // namespace

int Repository::FindSameInstance(const Namespace& ns, const InstData& inst) const
{
    Object cls;
    std::vector<std::wstring> keys;
    if (SUCCEEDED(GetClass(ns.path, inst.className, cls)))
        for (const Property& p : cls.props)
            if (QualIsTrue(p.quals, L"key"))
                keys.push_back(p.name);
    static const Value s_null;
    auto valueOf = [](const InstData& d, const std::wstring& name) -> const Value& {
        for (auto& [n, v] : d.values)
            if (NameEq(n, name))
                return v;
        return s_null;
    };
    for (size_t n = 0; n < ns.instances.size(); ++n)
    {
        const InstData& c = ns.instances[n];
        bool bSame = NameEq(c.className, inst.className);
        for (size_t k = 0; bSame && k < keys.size(); ++k)
            bSame = ValueEquals(valueOf(c, keys[k]), valueOf(inst, keys[k]));
        if (bSame)
            return (int)n;
    }
    return -1;
}

std::wstring Repository::JournalRecord(const Repository& before) const
{
    std::wstring out;
    for (auto& [key, ns] : before.m_namespaces)
        if (!m_namespaces.count(key))
            out += L"drop-namespace " + ns.path + L"\n";
    for (auto& [key, ns] : m_namespaces)
    {
        auto it = before.m_namespaces.find(key);
        static const Namespace s_empty;
        const Namespace& old = it == before.m_namespaces.end() ? s_empty : it->second;
        if (it == before.m_namespaces.end())
            out += L"namespace " + ns.path + L"\n";
        // Instances go while their class is still the old one, and come after the new one.
        size_t nFirst, nOldEnd, nNewEnd, nFirstI, nOldEndI, nNewEndI;
        ChangedStretch(old.instances, ns.instances, InstEqual, nFirstI, nOldEndI, nNewEndI);
        for (size_t n = nFirstI; n < nOldEndI; ++n)
            out += Drop(before.InstanceText(ns.path, old.instances[n]));
        ChangedStretch(old.classes, ns.classes, ClassEqual, nFirst, nOldEnd, nNewEnd);
        for (size_t n = nFirst; n < nOldEnd; ++n)
        {
            bool bStays = false;
            for (size_t m = nFirst; m < nNewEnd && !bStays; ++m)
                bStays = NameEq(old.classes[n].name, ns.classes[m].name);
            if (!bStays)
                out += L"drop-class " + ns.path + L" " + old.classes[n].name + L"\n";
        }
        for (size_t n = nFirst; n < nNewEnd; ++n)
            out += ClassText(ns.path, ns.classes[n]);
        for (size_t n = nFirstI; n < nNewEndI; ++n)
            out += InstanceText(ns.path, ns.instances[n]);
    }
    return out.empty() ? out : L"begin\n" + out + L"end\n";
}

bool Repository::ApplyJournal(const std::wstring& records, std::wstring& error)
{
    size_t nStart = 0;
    while (nStart < records.size())
    {
        // One item: a line at the left margin and the indented lines below it.
        size_t nEnd = records.find(L'\n', nStart);
        while (nEnd != std::wstring::npos && nEnd + 1 < records.size() && records[nEnd + 1] == L' ')
            nEnd = records.find(L'\n', nEnd + 1);
        if (nEnd == std::wstring::npos)
            nEnd = records.size();
        std::wstring item = records.substr(nStart, nEnd - nStart);
        nStart = nEnd + 1;
        bool bDrop = item.compare(0, 5, L"drop-") == 0;
        if (bDrop)
            item.erase(0, 5);
        size_t nSpace = item.find(L' ');
        std::wstring kw = item.substr(0, nSpace);
        if (kw == L"begin" || kw == L"end" || kw.empty())
            continue;
        std::wstring rest = nSpace == std::wstring::npos ? L"" : item.substr(nSpace + 1);
        std::wstring nsName = rest.substr(0, rest.find_first_of(L" \n"));
        std::wstring nsKey;
        if (!NormalizeNamespace(nsName, nsKey))
        {
            error = L"journal: cannot read '" + item + L"'";
            return false;
        }
        nsKey = Lower(nsKey);
        if (kw == L"namespace")
        {
            if (bDrop)
                m_namespaces.erase(nsKey);
            else if (!m_namespaces.count(nsKey))
                m_namespaces[nsKey].path = nsName;
            continue;
        }
        Namespace* pNs = FindNs(nsName);
        if (bDrop && !pNs)
            continue;
        if (kw == L"class" && bDrop)
        {
            std::wstring name = rest.substr(nsName.size() + 1);
            auto& cs = pNs->classes;
            cs.erase(
                std::remove_if(cs.begin(), cs.end(), [&](const ClassDef& c) { return NameEq(c.name, name); }),
                cs.end());
            continue;
        }
        // A class or an instance in the file's own form.
        Repository one;
        if (!pNs || (kw != L"class" && kw != L"instance") ||
            !one.Parse(L"wmiemu-repository 1\nnamespace " + nsName + L"\n" + item, error) ||
            (one.FindNs(nsName)->classes.empty() && one.FindNs(nsName)->instances.empty()))
        {
            error = L"journal: cannot read '" + item + L"' " + error;
            return false;
        }
        Namespace& src = *one.FindNs(nsName);
        if (kw == L"class")
        {
            ClassDef* pOld = nullptr;
            for (auto& c : pNs->classes)
                if (NameEq(c.name, src.classes[0].name))
                    pOld = &c;
            if (pOld)
                *pOld = std::move(src.classes[0]);
            else
                pNs->classes.push_back(std::move(src.classes[0]));
            continue;
        }
        int nSame = FindSameInstance(*pNs, src.instances[0]);
        if (bDrop && nSame >= 0)
            pNs->instances.erase(pNs->instances.begin() + nSame);
        else if (!bDrop && nSame >= 0)
            pNs->instances[nSame] = std::move(src.instances[0]);
        else if (!bDrop)
            pNs->instances.push_back(std::move(src.instances[0]));
    }
    return true;
}

} // namespace wmiemu
