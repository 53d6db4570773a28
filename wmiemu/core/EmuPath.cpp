// EmuPath.cpp - parsing and formatting of object paths and namespace names.
#include "EmuPath.h"

#include <algorithm>
#include <cwctype>

namespace wmiemu
{

bool NormalizeNamespace(const std::wstring& text, std::wstring& out)
{
    std::wstring s(text);
    std::replace(s.begin(), s.end(), L'/', L'\\');
    if (s.size() >= 2 && s[0] == L'\\' && s[1] == L'\\')
    {
        size_t pos = s.find(L'\\', 2);
        if (pos == std::wstring::npos || pos == 2)
            return false;
        s = s.substr(pos + 1);
    }
    while (!s.empty() && s.back() == L'\\')
        s.pop_back();
    if (s.empty() || s[0] == L'\\' || s.find(L"\\\\") != std::wstring::npos ||
        s.find(L':') != std::wstring::npos)
        return false;
    out = s;
    return true;
}

namespace
{
bool IsNameChar(wchar_t c)
{
    return std::iswalnum(c) || c == L'_' || c > 0x7f;
}

void SkipSpace(const std::wstring& s, size_t& pos)
{
    while (pos < s.size() && std::iswspace(s[pos]))
        ++pos;
}

bool ParseName(const std::wstring& s, size_t& pos, std::wstring& out)
{
    SkipSpace(s, pos);
    size_t start = pos;
    while (pos < s.size() && IsNameChar(s[pos]))
        ++pos;
    out = s.substr(start, pos - start);
    SkipSpace(s, pos);
    return !out.empty();
}

bool ParseKeyValue(const std::wstring& s, size_t& pos, Value& out)
{
    SkipSpace(s, pos);
    if (pos >= s.size())
        return false;
    if (s[pos] == L'"' || s[pos] == L'\'')
    {
        wchar_t quote = s[pos++];
        std::wstring text;
        while (pos < s.size() && s[pos] != quote)
        {
            if (s[pos] == L'\\' && pos + 1 < s.size())
                ++pos;
            text += s[pos++];
        }
        if (pos >= s.size())
            return false;
        ++pos;
        out = Value::Str(text);
        SkipSpace(s, pos);
        return true;
    }
    size_t start = pos;
    while (pos < s.size() && s[pos] != L',' && !std::iswspace(s[pos]))
        ++pos;
    std::wstring tok = s.substr(start, pos - start);
    SkipSpace(s, pos);
    if (NameEq(tok, L"TRUE") || NameEq(tok, L"FALSE"))
    {
        out = Value::Bool(NameEq(tok, L"TRUE"));
        return true;
    }
    if (tok.empty())
        return false;
    wchar_t* end = nullptr;
    long long n = 0;
    if (tok[0] == L'-')
        n = wcstoll(tok.c_str(), &end, 0);
    else
        n = (long long)wcstoull(tok.c_str(), &end, 0);
    if (end && *end == 0)
    {
        out = Value::Int(n);
        return true;
    }
    double d = wcstod(tok.c_str(), &end);
    if (end && *end == 0)
    {
        out.kind = Value::Kind::Real;
        out.r = d;
        return true;
    }
    return false;
}
} // namespace

bool ParseObjectPath(const std::wstring& text, ObjectPath& out)
{
    out = ObjectPath();
    std::wstring s(text);
    // The namespace part ends at the last ':' before the first '.', '=' or quote.
    size_t serverEnd = 0;
    if (s.size() >= 2 && (s[0] == L'\\' || s[0] == L'/') && (s[1] == L'\\' || s[1] == L'/'))
    {
        serverEnd = s.find_first_of(L"\\/", 2);
        if (serverEnd == std::wstring::npos)
            return false;
    }
    size_t stop = s.find_first_of(L".=\"", serverEnd);
    size_t colon = s.rfind(L':', stop == std::wstring::npos ? std::wstring::npos : stop);
    if (colon != std::wstring::npos && (stop == std::wstring::npos || colon < stop))
    {
        std::wstring nsPart = s.substr(0, colon);
        std::replace(nsPart.begin(), nsPart.end(), L'/', L'\\');
        if (nsPart.size() >= 2 && nsPart[0] == L'\\' && nsPart[1] == L'\\')
        {
            size_t pos = nsPart.find(L'\\', 2);
            if (pos == std::wstring::npos)
                return false;
            out.server = nsPart.substr(2, pos - 2);
        }
        if (!NormalizeNamespace(nsPart, out.ns))
            return false;
        s = s.substr(colon + 1);
    }
    size_t pos = 0;
    if (!ParseName(s, pos, out.className))
        return false;
    if (pos == s.size())
        return true;
    if (s[pos] == L'=')
    {
        ++pos;
        SkipSpace(s, pos);
        if (pos < s.size() && s[pos] == L'@')
        {
            ++pos;
            SkipSpace(s, pos);
            out.singleton = true;
            return pos == s.size();
        }
        Value v;
        if (!ParseKeyValue(s, pos, v) || pos != s.size())
            return false;
        out.keys.push_back({L"", v});
        return true;
    }
    if (s[pos] != L'.')
        return false;
    ++pos;
    for (;;)
    {
        std::wstring name;
        if (!ParseName(s, pos, name) || pos >= s.size() || s[pos] != L'=')
            return false;
        ++pos;
        Value v;
        if (!ParseKeyValue(s, pos, v))
            return false;
        out.keys.push_back({name, v});
        if (pos == s.size())
            return true;
        if (s[pos] != L',')
            return false;
        ++pos;
    }
}

std::wstring FormatKeyValue(const Value& v)
{
    switch (v.kind)
    {
    case Value::Kind::Bool:
        return v.b ? L"TRUE" : L"FALSE";
    case Value::Kind::Int:
        return std::to_wstring(v.i);
    case Value::Kind::Real: {
        wchar_t buf[64];
        swprintf(buf, 64, L"%.17g", v.r);
        return buf;
    }
    case Value::Kind::String: {
        std::wstring r = L"\"";
        for (wchar_t c : v.s)
        {
            if (c == L'"' || c == L'\\')
                r += L'\\';
            r += c;
        }
        return r + L"\"";
    }
    default:
        return L"NULL";
    }
}

std::wstring KeyCompareText(const Value& v)
{
    if (v.kind == Value::Kind::String)
    {
        // A number written as a string key ("5") and the number 5 name the same instance.
        return L"s:" + Lower(v.s);
    }
    if (v.kind == Value::Kind::Int)
        return L"s:" + std::to_wstring(v.i);
    if (v.kind == Value::Kind::Bool)
        return v.b ? L"s:true" : L"s:false";
    return L"s:" + Lower(FormatKeyValue(v));
}

std::wstring FormatRelPath(const std::wstring& className, std::vector<std::pair<std::wstring, Value>> keys)
{
    if (keys.empty())
        return className + L"=@";
    std::sort(keys.begin(), keys.end(),
              [](const auto& a, const auto& b) { return NameCmp(a.first, b.first) < 0; });
    std::wstring r = className + L".";
    for (size_t n = 0; n < keys.size(); ++n)
    {
        if (n)
            r += L",";
        r += keys[n].first + L"=" + FormatKeyValue(keys[n].second);
    }
    return r;
}

} // namespace wmiemu
