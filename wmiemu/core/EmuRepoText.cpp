// EmuRepoText.cpp - the repository's text form, written sorted so that two dumps of the same
// state are identical. One item a line; the indentation says what a qualifier belongs to:
//   wmiemu-repository 1
//   namespace root\default
//   class root\default Child : Base
//     qualifier Version flavor=0x3 = "1.0"
//     property string Name
//       qualifier key flavor=0x3 = true
//     property uint32[] Sizes = {1, 2}
//     method uint32 Run
//       param string Arg
//         qualifier In flavor=0x0 = true
//   instance root\default Child
//     value Name = "x"
#include "EmuRepository.h"

#include <algorithm>
#include <cwctype>

namespace wmiemu
{

namespace
{

bool IsBareChar(wchar_t c)
{
    return std::iswalnum(c) || c == L'_' || c == L'\\' || c == L'.' || c == L'$' || c == L'-';
}

std::wstring Quote(const std::wstring& s)
{
    std::wstring r = L"\"";
    for (wchar_t c : s)
    {
        switch (c)
        {
        case L'"':
            r += L"\\\"";
            break;
        case L'\\':
            r += L"\\\\";
            break;
        case L'\n':
            r += L"\\n";
            break;
        case L'\r':
            r += L"\\r";
            break;
        case L'\t':
            r += L"\\t";
            break;
        default:
            if (c < 0x20)
            {
                wchar_t buf[8];
                swprintf(buf, 8, L"\\u%04X", (unsigned)c);
                r += buf;
            }
            else
                r += c;
        }
    }
    return r + L"\"";
}

std::wstring Name(const std::wstring& s)
{
    bool bBare = !s.empty() && std::all_of(s.begin(), s.end(), IsBareChar);
    return bBare ? s : Quote(s);
}

std::wstring TypeText(CIMTYPE type, const std::wstring& refClass)
{
    std::wstring base = CimTypeName(type & ~CIM_FLAG_ARRAY);
    if (!refClass.empty() &&
        ((type & ~CIM_FLAG_ARRAY) == CIM_REFERENCE || (type & ~CIM_FLAG_ARRAY) == CIM_OBJECT))
        base += L":" + Name(refClass);
    return base + ((type & CIM_FLAG_ARRAY) ? L"[]" : L"");
}

std::wstring ValueText(const Value& v, CIMTYPE type);

std::wstring ObjectText(const Object& o)
{
    std::wstring r = L"instance(" + Name(o.className);
    for (auto& p : o.props)
        if (!p.value.IsNull())
            r += L"; " + TypeText(p.type, p.refClass) + L" " + Name(p.name) + L" = " +
                 ValueText(p.value, p.type);
    return r + L")";
}

std::wstring ValueText(const Value& v, CIMTYPE type)
{
    switch (v.kind)
    {
    case Value::Kind::Null:
        return L"null";
    case Value::Kind::Bool:
        return v.b ? L"true" : L"false";
    case Value::Kind::Int:
        if ((type & ~CIM_FLAG_ARRAY) == CIM_UINT64)
            return std::to_wstring((unsigned long long)v.i);
        return std::to_wstring(v.i);
    case Value::Kind::Real: {
        wchar_t buf[64];
        swprintf(buf, 64, L"%.17g", v.r);
        std::wstring s = buf;
        if (s.find_first_of(L".en") == std::wstring::npos)
            s += L".0";
        return s;
    }
    case Value::Kind::String:
        return Quote(v.s);
    case Value::Kind::Object:
        return v.obj ? ObjectText(*v.obj) : L"null";
    case Value::Kind::Array: {
        std::wstring r = L"{";
        for (size_t n = 0; n < v.items.size(); ++n)
            r += (n ? L", " : L"") + ValueText(v.items[n], type);
        return r + L"}";
    }
    }
    return L"null";
}

void WriteQuals(std::wstring& out, const std::vector<Qualifier>& qs, const wchar_t* indent)
{
    for (auto& q : qs)
    {
        wchar_t buf[32];
        swprintf(buf, 32, L"0x%lX", (unsigned long)q.flavor);
        out += std::wstring(indent) + L"qualifier " + Name(q.name) + L" flavor=" + buf + L" = " +
               ValueText(q.value, 0) + L"\n";
    }
}

void WriteProp(std::wstring& out, const Property& p, const wchar_t* keyword, const wchar_t* indent,
               const wchar_t* qualIndent)
{
    out += std::wstring(indent) + keyword + L" " + TypeText(p.type, p.refClass) + L" " + Name(p.name);
    if (!p.value.IsNull())
        out += L" = " + ValueText(p.value, p.type);
    out += L"\n";
    WriteQuals(out, p.quals, qualIndent);
}

void WriteClass(std::wstring& out, const std::wstring& ns, const ClassDef& c)
{
    out += L"class " + Name(ns) + L" " + Name(c.name);
    if (!c.superclass.empty())
        out += L" : " + Name(c.superclass);
    out += L"\n";
    WriteQuals(out, c.quals, L"  ");
    for (auto& p : c.props)
        WriteProp(out, p, L"property", L"  ", L"    ");
    for (auto& m : c.methods)
    {
        out += L"  method " + (m.returnsVoid ? std::wstring(L"void") : TypeText(m.returnType, L"")) + L" " +
               Name(m.name) + L"\n";
        WriteQuals(out, m.quals, L"    ");
        for (auto& p : m.params)
            WriteProp(out, p, L"param", L"    ", L"      ");
    }
}

// ---- reading ----

struct Line
{
    const std::wstring& s;
    size_t pos = 0;
    explicit Line(const std::wstring& text) : s(text) {}

    void Skip()
    {
        while (pos < s.size() && std::iswspace(s[pos]))
            ++pos;
    }
    bool AtEnd()
    {
        Skip();
        return pos >= s.size();
    }
    bool Eat(wchar_t c)
    {
        Skip();
        if (pos < s.size() && s[pos] == c)
        {
            ++pos;
            return true;
        }
        return false;
    }
    bool Quoted(std::wstring& out)
    {
        out.clear();
        ++pos;
        while (pos < s.size() && s[pos] != L'"')
        {
            wchar_t c = s[pos++];
            if (c == L'\\' && pos < s.size())
            {
                wchar_t e = s[pos++];
                if (e == L'n')
                    c = L'\n';
                else if (e == L'r')
                    c = L'\r';
                else if (e == L't')
                    c = L'\t';
                else if (e == L'u' && pos + 4 <= s.size())
                {
                    c = (wchar_t)wcstoul(s.substr(pos, 4).c_str(), nullptr, 16);
                    pos += 4;
                }
                else
                    c = e;
            }
            out += c;
        }
        if (pos >= s.size())
            return false;
        ++pos;
        return true;
    }
    bool Word(std::wstring& out)
    {
        Skip();
        if (pos < s.size() && s[pos] == L'"')
            return Quoted(out);
        size_t start = pos;
        while (pos < s.size() && (IsBareChar(s[pos]) || s[pos] == L'[' || s[pos] == L']' || s[pos] == L'+'))
            ++pos;
        out = s.substr(start, pos - start);
        return !out.empty();
    }
    bool Type(CIMTYPE& type, std::wstring& refClass)
    {
        std::wstring w;
        if (!Word(w))
            return false;
        refClass.clear();
        if (Eat(L':'))
        {
            if (!Word(refClass))
                return false;
            if (refClass.size() > 2 && refClass.compare(refClass.size() - 2, 2, L"[]") == 0)
            {
                refClass.resize(refClass.size() - 2);
                w += L"[]";
            }
        }
        type = CimTypeFromName(w);
        return type != 0;
    }
    bool ParseValue(Value& v);
};

bool Line::ParseValue(Value& v)
{
    v = Value();
    Skip();
    if (pos >= s.size())
        return false;
    if (s[pos] == L'"')
    {
        v.kind = Value::Kind::String;
        return Quoted(v.s);
    }
    if (Eat(L'{'))
    {
        v.kind = Value::Kind::Array;
        if (Eat(L'}'))
            return true;
        do
        {
            Value item;
            if (!ParseValue(item))
                return false;
            v.items.push_back(item);
        } while (Eat(L','));
        return Eat(L'}');
    }
    std::wstring w;
    if (!Word(w))
        return false;
    if (w == L"null")
        return true;
    if (w == L"true" || w == L"false")
    {
        v = Value::Bool(w == L"true");
        return true;
    }
    if (w == L"instance")
    {
        auto obj = std::make_shared<Object>();
        obj->isClass = false;
        if (!Eat(L'(') || !Word(obj->className))
            return false;
        while (Eat(L';'))
        {
            Property p;
            if (!Type(p.type, p.refClass) || !Word(p.name) || !Eat(L'=') || !ParseValue(p.value))
                return false;
            obj->props.push_back(p);
        }
        v.kind = Value::Kind::Object;
        v.obj = obj;
        return Eat(L')');
    }
    wchar_t* end = nullptr;
    if (w.find_first_of(L".eEn") != std::wstring::npos && w.find(L"0x") == std::wstring::npos)
    {
        v.kind = Value::Kind::Real;
        v.r = wcstod(w.c_str(), &end);
    }
    else
    {
        v.kind = Value::Kind::Int;
        v.i = w[0] == L'-' ? wcstoll(w.c_str(), &end, 10) : (long long)wcstoull(w.c_str(), &end, 10);
    }
    return end && *end == 0;
}

size_t Indent(const std::wstring& s)
{
    size_t n = 0;
    while (n < s.size() && s[n] == L' ')
        ++n;
    return n;
}

} // namespace

std::wstring Repository::Serialize(const std::wstring& nsFilter) const
{
    std::wstring filter;
    if (!nsFilter.empty())
        NormalizeNamespace(nsFilter, filter);
    filter = Lower(filter);
    std::wstring out = L"wmiemu-repository 1\n";
    for (auto& [key, ns] : m_namespaces) // std::map: sorted by lower-case path
    {
        if (!filter.empty() && key != filter && key.compare(0, filter.size() + 1, filter + L"\\") != 0)
            continue;
        out += L"namespace " + Name(ns.path) + L"\n";
    }
    for (auto& [key, ns] : m_namespaces)
    {
        if (!filter.empty() && key != filter && key.compare(0, filter.size() + 1, filter + L"\\") != 0)
            continue;
        std::vector<const ClassDef*> classes;
        for (auto& c : ns.classes)
            classes.push_back(&c);
        std::sort(classes.begin(), classes.end(),
                  [](const ClassDef* a, const ClassDef* b) { return NameCmp(a->name, b->name) < 0; });
        for (auto* c : classes)
            WriteClass(out, ns.path, *c);
        std::vector<std::pair<std::wstring, const InstData*>> insts;
        for (auto& i : ns.instances)
        {
            Object o;
            std::wstring rel = SUCCEEDED(MakeInstance(ns.path, i, o)) ? RelPath(o) : i.className;
            insts.push_back({Lower(rel), &i});
        }
        std::stable_sort(insts.begin(), insts.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (auto& [rel, pi] : insts)
            out += InstanceText(ns.path, *pi);
    }
    return out;
}

std::wstring Repository::ClassText(const std::wstring& ns, const ClassDef& c)
{
    std::wstring out;
    WriteClass(out, ns, c);
    return out;
}

std::wstring Repository::InstanceText(const std::wstring& ns, const InstData& i) const
{
    std::wstring out = L"instance " + Name(ns) + L" " + Name(i.className) + L"\n";
    WriteQuals(out, i.quals, L"  ");
    Object cls;
    GetClass(ns, i.className, cls);
    for (auto& [name, value] : i.values)
    {
        const Property* pp = FindProp(cls.props, name);
        out += L"  value " + Name(name) + L" = " + ValueText(value, pp ? pp->type : 0) + L"\n";
    }
    return out;
}

bool Repository::Parse(const std::wstring& text, std::wstring& error)
{
    m_namespaces.clear();
    ClassDef* pClass = nullptr;
    InstData* pInst = nullptr;
    std::vector<Qualifier>* pQuals1 = nullptr; // qualifiers at indent 2 (class, instance)
    std::vector<Qualifier>* pQuals2 = nullptr; // indent 4 (property, method)
    std::vector<Qualifier>* pQuals3 = nullptr; // indent 6 (parameter)
    Method* pMethod = nullptr;
    size_t start = 0;
    int nLine = 0;
    while (start <= text.size())
    {
        size_t end = text.find(L'\n', start);
        if (end == std::wstring::npos)
            end = text.size();
        std::wstring s = text.substr(start, end - start);
        start = end + 1;
        ++nLine;
        if (!s.empty() && s.back() == L'\r')
            s.pop_back();
        Line ln(s);
        if (ln.AtEnd() || s[ln.pos] == L'#')
            continue;
        size_t nIndent = Indent(s);
        std::wstring kw;
        ln.Word(kw);
        bool bOk = true;
        if (nLine == 1 || kw == L"wmiemu-repository")
        {
            std::wstring version;
            bOk = kw == L"wmiemu-repository" && ln.Word(version) && version == L"1";
        }
        else if (kw == L"namespace")
        {
            std::wstring path;
            bOk = ln.Word(path) && NormalizeNamespace(path, path);
            if (bOk)
                m_namespaces[Lower(path)].path = path;
        }
        else if (kw == L"class" || kw == L"instance")
        {
            std::wstring nsName, name;
            bOk = ln.Word(nsName) && ln.Word(name);
            Namespace* pNs = bOk ? FindNs(nsName) : nullptr;
            bOk = bOk && pNs;
            if (bOk && kw == L"class")
            {
                pNs->classes.push_back(ClassDef());
                pClass = &pNs->classes.back();
                pClass->name = name;
                if (ln.Eat(L':'))
                    bOk = ln.Word(pClass->superclass);
                pQuals1 = &pClass->quals;
                pInst = nullptr;
            }
            else if (bOk)
            {
                pNs->instances.push_back(InstData());
                pInst = &pNs->instances.back();
                pInst->className = name;
                pQuals1 = &pInst->quals;
                pClass = nullptr;
            }
            pQuals2 = pQuals3 = nullptr;
            pMethod = nullptr;
        }
        else if (kw == L"qualifier")
        {
            Qualifier q;
            std::wstring fl, num;
            bOk = ln.Word(q.name) && ln.Word(fl) && fl == L"flavor" && ln.Eat(L'=') && ln.Word(num) &&
                  ln.Eat(L'=') && ln.ParseValue(q.value);
            if (bOk)
            {
                q.flavor = (long)wcstoul(num.c_str(), nullptr, 16);
                std::vector<Qualifier>* target = nIndent <= 2 ? pQuals1 : nIndent <= 4 ? pQuals2 : pQuals3;
                bOk = target != nullptr;
                if (bOk)
                    target->push_back(q);
            }
        }
        else if ((kw == L"property" && pClass) || (kw == L"param" && pMethod))
        {
            Property p;
            bOk = ln.Type(p.type, p.refClass) && ln.Word(p.name);
            if (bOk && ln.Eat(L'='))
                bOk = ln.ParseValue(p.value);
            auto& list = kw == L"property" ? pClass->props : pMethod->params;
            p.origin = pClass->name;
            list.push_back(p);
            if (kw == L"property")
            {
                pQuals2 = &list.back().quals;
                pMethod = nullptr;
            }
            else
                pQuals3 = &list.back().quals;
        }
        else if (kw == L"method" && pClass)
        {
            Method m;
            std::wstring t;
            ln.Skip();
            if (s.compare(ln.pos, 5, L"void ") == 0)
            {
                m.returnsVoid = true;
                ln.Word(t);
            }
            else
            {
                std::wstring rc;
                bOk = ln.Type(m.returnType, rc);
            }
            bOk = bOk && ln.Word(m.name);
            m.origin = pClass->name;
            pClass->methods.push_back(m);
            pMethod = &pClass->methods.back();
            pQuals2 = &pMethod->quals;
            pQuals3 = nullptr;
        }
        else if (kw == L"value" && pInst)
        {
            std::wstring name;
            Value v;
            bOk = ln.Word(name) && ln.Eat(L'=') && ln.ParseValue(v);
            pInst->values.push_back({name, v});
        }
        else
            bOk = false;
        if (bOk && !ln.AtEnd())
            bOk = false;
        if (!bOk)
        {
            error = L"line " + std::to_wstring(nLine) + L": cannot read '" + s + L"'";
            return false;
        }
    }
    if (!FindNs(L"root"))
        m_namespaces[L"root"].path = L"root";
    return true;
}

} // namespace wmiemu
