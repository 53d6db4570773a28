// EmuTypes.cpp - helpers on the emulator's plain data.
#include "EmuTypes.h"

#include <cwctype>

namespace wmiemu
{

bool ValueEquals(const Value& a, const Value& b)
{
    if (a.kind != b.kind)
        return false;
    switch (a.kind)
    {
    case Value::Kind::Null:
        return true;
    case Value::Kind::Bool:
        return a.b == b.b;
    case Value::Kind::Int:
        return a.i == b.i;
    case Value::Kind::Real:
        return a.r == b.r;
    case Value::Kind::String:
        return a.s == b.s;
    case Value::Kind::Object:
        return a.obj == b.obj;
    case Value::Kind::Array:
        if (a.items.size() != b.items.size())
            return false;
        for (size_t n = 0; n < a.items.size(); ++n)
            if (!ValueEquals(a.items[n], b.items[n]))
                return false;
        return true;
    }
    return false;
}

std::wstring Lower(const std::wstring& s)
{
    std::wstring r(s);
    for (auto& c : r)
        c = (wchar_t)std::towlower(c);
    return r;
}

int NameCmp(const std::wstring& a, const std::wstring& b)
{
    size_t n = 0;
    for (; n < a.size() && n < b.size(); ++n)
    {
        if (a[n] == b[n])
            continue; // the same character needs no case folding (names mostly agree in case)
        wchar_t ca = (wchar_t)std::towlower(a[n]), cb = (wchar_t)std::towlower(b[n]);
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

bool NameEq(const std::wstring& a, const std::wstring& b)
{
    return a.size() == b.size() && NameCmp(a, b) == 0;
}

bool IsSystemName(const std::wstring& s)
{
    return s.size() >= 2 && s[0] == L'_' && s[1] == L'_';
}

Qualifier* FindQual(std::vector<Qualifier>& qs, const std::wstring& name)
{
    for (auto& q : qs)
        if (NameEq(q.name, name))
            return &q;
    return nullptr;
}

const Qualifier* FindQual(const std::vector<Qualifier>& qs, const std::wstring& name)
{
    for (auto& q : qs)
        if (NameEq(q.name, name))
            return &q;
    return nullptr;
}

Property* FindProp(std::vector<Property>& ps, const std::wstring& name)
{
    for (auto& p : ps)
        if (NameEq(p.name, name))
            return &p;
    return nullptr;
}

const Property* FindProp(const std::vector<Property>& ps, const std::wstring& name)
{
    for (auto& p : ps)
        if (NameEq(p.name, name))
            return &p;
    return nullptr;
}

bool QualIsTrue(const std::vector<Qualifier>& qs, const std::wstring& name)
{
    const Qualifier* pq = FindQual(qs, name);
    return pq && pq->value.kind == Value::Kind::Bool && pq->value.b;
}

namespace
{
struct TypeName
{
    CIMTYPE type;
    const wchar_t* name;
};
const TypeName s_types[] = {
    {CIM_SINT8, L"sint8"},       {CIM_UINT8, L"uint8"},   {CIM_SINT16, L"sint16"},   {CIM_UINT16, L"uint16"},
    {CIM_SINT32, L"sint32"},     {CIM_UINT32, L"uint32"}, {CIM_SINT64, L"sint64"},   {CIM_UINT64, L"uint64"},
    {CIM_REAL32, L"real32"},     {CIM_REAL64, L"real64"}, {CIM_BOOLEAN, L"boolean"}, {CIM_STRING, L"string"},
    {CIM_DATETIME, L"datetime"}, {CIM_CHAR16, L"char16"}, {CIM_REFERENCE, L"ref"},   {CIM_OBJECT, L"object"},
};
} // namespace

std::wstring CimTypeName(CIMTYPE t)
{
    CIMTYPE base = t & ~CIM_FLAG_ARRAY;
    for (auto& e : s_types)
        if (e.type == base)
            return std::wstring(e.name) + ((t & CIM_FLAG_ARRAY) ? L"[]" : L"");
    return L"unknown";
}

CIMTYPE CimTypeFromName(const std::wstring& s)
{
    std::wstring base = s;
    CIMTYPE arr = 0;
    if (base.size() > 2 && base.compare(base.size() - 2, 2, L"[]") == 0)
    {
        base.resize(base.size() - 2);
        arr = CIM_FLAG_ARRAY;
    }
    for (auto& e : s_types)
        if (NameEq(base, e.name))
            return e.type | arr;
    return 0;
}

} // namespace wmiemu
