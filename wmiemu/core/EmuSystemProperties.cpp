// EmuSystemProperties.cpp - the system properties (__CLASS, __PATH, ...) computed for an object,
// and its key values and relative path.
#include "EmuRepository.h"

namespace wmiemu
{

const wchar_t* const g_systemPropertyNames[10] = {
    L"__GENUS",          L"__CLASS",      L"__SUPERCLASS", L"__DYNASTY",   L"__RELPATH",
    L"__PROPERTY_COUNT", L"__DERIVATION", L"__SERVER",     L"__NAMESPACE", L"__PATH"};

std::wstring ServerName()
{
    wchar_t buf[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD dwSize = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(buf, &dwSize))
        return L".";
    return buf;
}

std::vector<std::pair<std::wstring, Value>> KeyValues(const Object& obj, bool* pbAllSet)
{
    std::vector<std::pair<std::wstring, Value>> keys;
    bool bAllSet = true;
    for (auto& p : obj.props)
        if (QualIsTrue(p.quals, L"key"))
        {
            keys.push_back({p.name, p.value});
            if (p.value.IsNull())
                bAllSet = false;
        }
    if (pbAllSet)
        *pbAllSet = bAllSet;
    return keys;
}

std::wstring RelPath(const Object& obj)
{
    if (obj.isClass)
        return obj.className;
    bool bAllSet = true;
    auto keys = KeyValues(obj, &bAllSet);
    return bAllSet ? FormatRelPath(obj.className, keys) : L"";
}

bool GetSystemProperty(const Object& obj, const std::wstring& name, Value& v, CIMTYPE& type)
{
    v = Value();
    type = CIM_STRING;
    auto str = [&](const std::wstring& s) {
        if (!s.empty())
            v = Value::Str(s);
    };
    if (NameEq(name, L"__GENUS"))
    {
        type = CIM_SINT32;
        v = Value::Int(obj.isClass ? WBEM_GENUS_CLASS : WBEM_GENUS_INSTANCE);
    }
    else if (NameEq(name, L"__CLASS"))
        str(obj.className);
    else if (NameEq(name, L"__SUPERCLASS"))
        str(obj.superclass);
    else if (NameEq(name, L"__DYNASTY"))
        str(obj.derivation.empty() ? obj.className : obj.derivation.back());
    else if (NameEq(name, L"__RELPATH"))
        str(RelPath(obj));
    else if (NameEq(name, L"__PROPERTY_COUNT"))
    {
        type = CIM_SINT32;
        v = Value::Int((long long)obj.props.size());
    }
    else if (NameEq(name, L"__DERIVATION"))
    {
        type = CIM_STRING | CIM_FLAG_ARRAY;
        v.kind = Value::Kind::Array;
        for (auto& d : obj.derivation)
            v.items.push_back(Value::Str(d));
    }
    else if (NameEq(name, L"__SERVER"))
    {
        if (obj.fromRepository)
            str(ServerName());
    }
    else if (NameEq(name, L"__NAMESPACE"))
    {
        if (obj.fromRepository)
            str(obj.ns);
    }
    else if (NameEq(name, L"__PATH"))
    {
        std::wstring rel = RelPath(obj);
        if (obj.fromRepository && !rel.empty())
            str(L"\\\\" + ServerName() + L"\\" + obj.ns + L":" + rel);
    }
    else
        return false;
    return true;
}

} // namespace wmiemu
