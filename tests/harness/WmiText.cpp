#include "WmiText.h"

#include <algorithm>
#include <cwctype>
#include <memory>

namespace wmitext
{
namespace
{
// Releases a COM interface when it goes.
template <class T> struct CRef
{
    T* p = nullptr;
    CRef() = default;
    CRef(const CRef&) = delete;
    CRef& operator=(const CRef&) = delete;
    ~CRef()
    {
        if (p != nullptr)
            p->Release();
    }
    T** operator&() { return &p; }
    T* operator->() const { return p; }
};

struct CVariant : VARIANT
{
    CVariant() { VariantInit(this); }
    ~CVariant() { VariantClear(this); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
};

struct CBstr
{
    BSTR b = nullptr;
    CBstr() = default;
    explicit CBstr(const std::wstring& s) : b(SysAllocString(s.c_str())) {}
    ~CBstr() { SysFreeString(b); }
    CBstr(const CBstr&) = delete;
    CBstr& operator=(const CBstr&) = delete;
    std::wstring Str() const { return b ? std::wstring(b, SysStringLen(b)) : std::wstring(); }
};

std::wstring Lower(std::wstring s)
{
    for (wchar_t& c : s)
        c = static_cast<wchar_t>(std::towlower(c));
    return s;
}

bool IsSystemName(const std::wstring& s)
{
    return s.compare(0, 2, L"__") == 0;
}

bool IsBareChar(wchar_t c)
{
    return std::iswalnum(c) || c == L'_' || c == L'\\' || c == L'.' || c == L'$' || c == L'-';
}

std::wstring Quote(const std::wstring& s)
{
    std::wstring r = L"\"";
    for (wchar_t c : s)
    {
        if (c == L'"' || c == L'\\')
            r += std::wstring(L"\\") + c;
        else if (c == L'\n')
            r += L"\\n";
        else if (c == L'\r')
            r += L"\\r";
        else if (c == L'\t')
            r += L"\\t";
        else if (c < 0x20)
        {
            wchar_t buf[8];
            swprintf(buf, 8, L"\\u%04X", static_cast<unsigned>(c));
            r += buf;
        }
        else
            r += c;
    }
    return r + L"\"";
}

std::wstring Name(const std::wstring& s)
{
    return !s.empty() && std::all_of(s.begin(), s.end(), IsBareChar) ? s : Quote(s);
}

const struct
{
    CIMTYPE type;
    const wchar_t* szName;
} kTypes[] = {
    {CIM_SINT8, L"sint8"},       {CIM_UINT8, L"uint8"},   {CIM_SINT16, L"sint16"},   {CIM_UINT16, L"uint16"},
    {CIM_SINT32, L"sint32"},     {CIM_UINT32, L"uint32"}, {CIM_SINT64, L"sint64"},   {CIM_UINT64, L"uint64"},
    {CIM_REAL32, L"real32"},     {CIM_REAL64, L"real64"}, {CIM_BOOLEAN, L"boolean"}, {CIM_STRING, L"string"},
    {CIM_DATETIME, L"datetime"}, {CIM_CHAR16, L"char16"}, {CIM_REFERENCE, L"ref"},   {CIM_OBJECT, L"object"},
};

// "uint32", "ref:Class", "object:Class[]"; the class comes from the CIMTYPE qualifier's text.
std::wstring TypeText(CIMTYPE type, const std::wstring& strCimType)
{
    std::wstring r = L"unknown";
    for (const auto& t : kTypes)
        if (t.type == (type & ~CIM_FLAG_ARRAY))
            r = t.szName;
    const size_t nColon = strCimType.find(L':');
    if (nColon != std::wstring::npos && nColon + 1 < strCimType.size())
        r += L":" + Name(strCimType.substr(nColon + 1));
    return r + ((type & CIM_FLAG_ARRAY) ? L"[]" : L"");
}

std::wstring ObjectText(IWbemClassObject* pObject);

// One value as the repository text writes it; the CIM type decides about signs and 64-bit texts.
std::wstring ScalarText(const VARIANT& v, CIMTYPE type)
{
    const CIMTYPE base = type & ~CIM_FLAG_ARRAY;
    wchar_t buf[64];
    switch (V_VT(&v))
    {
    case VT_EMPTY:
    case VT_NULL:
        return L"null";
    case VT_BOOL:
        return V_BOOL(&v) ? L"true" : L"false";
    case VT_BSTR: {
        const std::wstring s(V_BSTR(&v), SysStringLen(V_BSTR(&v)));
        return base == CIM_SINT64 || base == CIM_UINT64 ? s : Quote(s);
    }
    case VT_R4:
    case VT_R8: {
        swprintf(buf, 64, L"%.17g", V_VT(&v) == VT_R4 ? static_cast<double>(V_R4(&v)) : V_R8(&v));
        std::wstring s = buf;
        if (s.find_first_of(L".en") == std::wstring::npos)
            s += L".0";
        return s;
    }
    case VT_UNKNOWN: {
        CRef<IWbemClassObject> object;
        if (V_UNKNOWN(&v) == nullptr ||
            FAILED(V_UNKNOWN(&v)->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&object))))
            return L"null";
        return ObjectText(object.p);
    }
    default: {
        CVariant n;
        if (FAILED(VariantChangeType(&n, const_cast<VARIANT*>(&v), 0, VT_I8)))
            return L"null";
        long long ll = V_I8(&n);
        if (base == CIM_UINT8)
            ll = static_cast<unsigned char>(ll);
        else if (base == CIM_UINT16 || base == CIM_CHAR16)
            ll = static_cast<unsigned short>(ll);
        else if (base == CIM_UINT32)
            ll = static_cast<unsigned int>(ll);
        return std::to_wstring(ll);
    }
    }
}

std::wstring ValueText(const VARIANT& v, CIMTYPE type)
{
    if (!(V_VT(&v) & VT_ARRAY))
        return ScalarText(v, type);
    SAFEARRAY* psa = V_ARRAY(&v);
    LONG nLow = 0, nHigh = -1;
    if (psa != nullptr)
    {
        SafeArrayGetLBound(psa, 1, &nLow);
        SafeArrayGetUBound(psa, 1, &nHigh);
    }
    std::wstring r = L"{";
    for (LONG n = nLow; n <= nHigh; ++n)
    {
        CVariant item;
        V_VT(&item) = static_cast<VARTYPE>(V_VT(&v) & ~VT_ARRAY);
        if (V_VT(&item) == VT_VARIANT)
            SafeArrayGetElement(psa, &n, &item);
        else
            SafeArrayGetElement(psa, &n, &V_UI1(&item));
        r += (n > nLow ? L", " : L"") + ScalarText(item, type);
    }
    return r + L"}";
}

std::wstring Hresult(const wchar_t* szCall, HRESULT hr)
{
    return std::wstring(szCall) + L" failed, " + Hex(hr);
}

std::wstring Text(IWbemClassObject* pObject, const wchar_t* szName)
{
    CVariant v;
    return SUCCEEDED(pObject->Get(szName, 0, &v, nullptr, nullptr)) && V_VT(&v) == VT_BSTR
               ? std::wstring(V_BSTR(&v), SysStringLen(V_BSTR(&v)))
               : std::wstring();
}

// The qualifier lines of a set (local ones only; a property's CIMTYPE is its type).
void Qualifiers(IWbemQualifierSet* pSet, const wchar_t* szIndent, std::wstring& out, std::wstring* pCimType)
{
    if (pSet == nullptr || FAILED(pSet->BeginEnumeration(WBEM_FLAG_LOCAL_ONLY)))
        return;
    for (;;)
    {
        CBstr name;
        CVariant v;
        LONG lFlavor = 0;
        if (pSet->Next(0, &name.b, &v, &lFlavor) != WBEM_S_NO_ERROR)
            break;
        if (pCimType != nullptr && _wcsicmp(name.Str().c_str(), L"CIMTYPE") == 0)
            continue;
        wchar_t szFlavor[16];
        swprintf(szFlavor, 16, L"0x%lX", static_cast<unsigned long>(lFlavor & 0x93));
        out += std::wstring(szIndent) + L"qualifier " + Name(name.Str()) + L" flavor=" + szFlavor + L" = " +
               ValueText(v, 0) + L"\n";
    }
    pSet->EndEnumeration();
    if (pCimType != nullptr)
    {
        CVariant v;
        if (SUCCEEDED(pSet->Get(L"CIMTYPE", 0, &v, nullptr)) && V_VT(&v) == VT_BSTR)
            *pCimType = V_BSTR(&v);
    }
}

std::wstring ObjectText(IWbemClassObject* pObject)
{
    std::wstring r = L"instance(" + Name(Text(pObject, L"__CLASS"));
    pObject->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    for (;;)
    {
        CBstr name;
        CVariant v;
        CIMTYPE type = 0;
        if (pObject->Next(0, &name.b, &v, &type, nullptr) != WBEM_S_NO_ERROR)
            break;
        if (V_VT(&v) == VT_NULL || V_VT(&v) == VT_EMPTY)
            continue;
        std::wstring strCimType, strIgnored;
        CRef<IWbemQualifierSet> set;
        if (SUCCEEDED(pObject->GetPropertyQualifierSet(name.b, &set)))
            Qualifiers(set.p, L"", strIgnored, &strCimType);
        r += L"; " + TypeText(type, strCimType) + L" " + Name(name.Str()) + L" = " + ValueText(v, type);
    }
    pObject->EndEnumeration();
    return r + L")";
}

bool SameValue(const VARIANT& a, const VARIANT& b, CIMTYPE type)
{
    return ValueText(a, type) == ValueText(b, type);
}

std::wstring ClassText(IWbemServices* pServices, const std::wstring& strNs, IWbemClassObject* pClass)
{
    const std::wstring strName = Text(pClass, L"__CLASS");
    const std::wstring strSuper = Text(pClass, L"__SUPERCLASS");
    std::wstring out = L"class " + Name(strNs) + L" " + Name(strName);
    if (!strSuper.empty())
        out += L" : " + Name(strSuper);
    out += L"\n";
    CRef<IWbemQualifierSet> classQuals;
    if (SUCCEEDED(pClass->GetQualifierSet(&classQuals)))
        Qualifiers(classQuals.p, L"  ", out, nullptr);
    CRef<IWbemClassObject> super;
    if (!strSuper.empty())
    {
        CBstr bstrSuper(strSuper);
        pServices->GetObject(bstrSuper.b, 0, nullptr, &super, nullptr);
    }
    pClass->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    for (;;)
    {
        CBstr name;
        CVariant v;
        CIMTYPE type = 0;
        LONG lFlavor = 0;
        if (pClass->Next(0, &name.b, &v, &type, &lFlavor) != WBEM_S_NO_ERROR)
            break;
        std::wstring strQuals, strCimType;
        CRef<IWbemQualifierSet> set;
        if (SUCCEEDED(pClass->GetPropertyQualifierSet(name.b, &set)))
            Qualifiers(set.p, L"    ", strQuals, &strCimType);
        bool bValue = V_VT(&v) != VT_NULL && V_VT(&v) != VT_EMPTY;
        if (lFlavor & WBEM_FLAVOR_ORIGIN_PROPAGATED)
        {
            // Inherited: listed only where this class overrides a qualifier or the default.
            CVariant inherited;
            if (super.p != nullptr)
                super->Get(name.b, 0, &inherited, nullptr, nullptr);
            bValue = bValue && !SameValue(v, inherited, type);
            if (!bValue && strQuals.empty())
                continue;
        }
        out += L"  property " + TypeText(type, strCimType) + L" " + Name(name.Str());
        if (bValue)
            out += L" = " + ValueText(v, type);
        out += L"\n" + strQuals;
    }
    pClass->EndEnumeration();
    return out;
}

// All objects an enumerator gives, or false.
bool ReadAll(IEnumWbemClassObject* pEnum, std::vector<std::shared_ptr<CRef<IWbemClassObject>>>& objects)
{
    for (;;)
    {
        auto object = std::make_shared<CRef<IWbemClassObject>>();
        ULONG uReturned = 0;
        const HRESULT hr = pEnum->Next(static_cast<LONG>(WBEM_INFINITE), 1, &object->p, &uReturned);
        if (hr == WBEM_S_FALSE || (SUCCEEDED(hr) && uReturned == 0))
            return true;
        if (FAILED(hr))
            return false;
        objects.push_back(object);
    }
}

bool IsDynamic(IWbemClassObject* pClass)
{
    CRef<IWbemQualifierSet> set;
    CVariant v;
    return SUCCEEDED(pClass->GetQualifierSet(&set)) && SUCCEEDED(set->Get(L"dynamic", 0, &v, nullptr)) &&
           V_VT(&v) == VT_BOOL && V_BOOL(&v);
}

bool NamespaceText(IWbemLocator* pLocator, const std::wstring& strNs, bool bSystem, std::wstring& out,
                   std::wstring& strError)
{
    CRef<IWbemServices> services;
    HRESULT hr = Connect(pLocator, strNs, &services);
    if (FAILED(hr))
    {
        strError = Hresult((L"ConnectServer(" + strNs + L")").c_str(), hr);
        return false;
    }
    CRef<IEnumWbemClassObject> classEnum;
    std::vector<std::shared_ptr<CRef<IWbemClassObject>>> classes;
    hr = services->CreateClassEnum(nullptr, WBEM_FLAG_DEEP | WBEM_FLAG_FORWARD_ONLY, nullptr, &classEnum);
    if (FAILED(hr) || !ReadAll(classEnum.p, classes))
    {
        strError = Hresult((L"CreateClassEnum in " + strNs).c_str(), hr);
        return false;
    }
    std::vector<std::pair<std::wstring, std::shared_ptr<CRef<IWbemClassObject>>>> sorted;
    for (const auto& c : classes)
    {
        const std::wstring strName = Text(c->p, L"__CLASS");
        if (bSystem || !IsSystemName(strName))
            sorted.push_back({Lower(strName), c});
    }
    std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::pair<std::wstring, std::wstring>> instances; // lower-case path, text
    for (const auto& [strLower, c] : sorted)
    {
        out += ClassText(services.p, strNs, c->p);
        // Namespaces are lines of their own; a provider's instances are not the repository's.
        if (strLower == L"__namespace" || IsDynamic(c->p))
            continue;
        CRef<IEnumWbemClassObject> instEnum;
        std::vector<std::shared_ptr<CRef<IWbemClassObject>>> objects;
        CBstr bstrClass(Text(c->p, L"__CLASS"));
        hr = services->CreateInstanceEnum(bstrClass.b, WBEM_FLAG_SHALLOW | WBEM_FLAG_FORWARD_ONLY, nullptr,
                                          &instEnum);
        const bool bRead = SUCCEEDED(hr) && ReadAll(instEnum.p, objects);
        if (!bRead && IsSystemName(bstrClass.Str()))
            continue; // a system class that has no instances to list (an event class, for one)
        if (!bRead)
        {
            strError = Hresult((L"CreateInstanceEnum(" + bstrClass.Str() + L") in " + strNs).c_str(), hr);
            return false;
        }
        for (const auto& o : objects)
        {
            std::wstring strText = L"instance " + Name(strNs) + L" " + Name(bstrClass.Str()) + L"\n";
            o->p->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
            for (;;)
            {
                CBstr name;
                CVariant v;
                CIMTYPE type = 0;
                if (o->p->Next(0, &name.b, &v, &type, nullptr) != WBEM_S_NO_ERROR)
                    break;
                if (V_VT(&v) != VT_NULL && V_VT(&v) != VT_EMPTY)
                    strText += L"  value " + Name(name.Str()) + L" = " + ValueText(v, type) + L"\n";
            }
            o->p->EndEnumeration();
            instances.push_back({Lower(Text(o->p, L"__RELPATH")), strText});
        }
    }
    std::stable_sort(instances.begin(), instances.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& i : instances)
        out += i.second;
    return true;
}

bool Collect(IWbemLocator* pLocator, const std::wstring& strNs, const std::vector<std::wstring>& childNames,
             bool bTake, std::vector<std::wstring>& paths, std::wstring& strError)
{
    if (bTake)
        paths.push_back(strNs);
    CRef<IWbemServices> services;
    const HRESULT hr = Connect(pLocator, strNs, &services);
    std::vector<std::wstring> names;
    if (FAILED(hr))
    {
        strError = Hresult((L"ConnectServer(" + strNs + L")").c_str(), hr);
        return false;
    }
    if (!ChildNamespaces(services.p, names, strError))
        return false;
    for (const std::wstring& strName : names)
    {
        if (childNames.empty() || NameMatches(strName, childNames))
        {
            if (!Collect(pLocator, strNs + L"\\" + strName, {}, true, paths, strError))
                return false;
        }
    }
    return true;
}
} // namespace

HRESULT Connect(IWbemLocator* pLocator, const std::wstring& strNamespace, IWbemServices** ppServices)
{
    CBstr bstrNs(strNamespace);
    HRESULT hr =
        pLocator->ConnectServer(bstrNs.b, nullptr, nullptr, nullptr, 0, nullptr, nullptr, ppServices);
    if (SUCCEEDED(hr))
        CoSetProxyBlanket(*ppServices, RPC_C_AUTHN_DEFAULT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                          RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    return hr;
}

bool NameMatches(const std::wstring& strName, const std::vector<std::wstring>& names)
{
    for (const std::wstring& strPattern : names)
    {
        const bool bPrefix = !strPattern.empty() && strPattern.back() == L'*';
        const std::wstring strText =
            Lower(bPrefix ? strPattern.substr(0, strPattern.size() - 1) : strPattern);
        if (bPrefix ? Lower(strName).compare(0, strText.size(), strText) == 0 : Lower(strName) == strText)
            return true;
    }
    return false;
}

bool ChildNamespaces(IWbemServices* pServices, std::vector<std::wstring>& names, std::wstring& strError)
{
    CRef<IEnumWbemClassObject> nsEnum;
    std::vector<std::shared_ptr<CRef<IWbemClassObject>>> objects;
    CBstr bstrClass(L"__NAMESPACE");
    const HRESULT hr = pServices->CreateInstanceEnum(bstrClass.b, WBEM_FLAG_SHALLOW | WBEM_FLAG_FORWARD_ONLY,
                                                     nullptr, &nsEnum);
    if (FAILED(hr) || !ReadAll(nsEnum.p, objects))
    {
        strError = Hresult(L"CreateInstanceEnum(__NAMESPACE)", hr);
        return false;
    }
    for (const auto& o : objects)
        names.push_back(Text(o->p, L"Name"));
    std::sort(names.begin(), names.end(), [](const auto& a, const auto& b) { return Lower(a) < Lower(b); });
    return true;
}

bool Dump(IWbemLocator* pLocator, const DumpScope& scope, std::wstring& strText, std::wstring& strError)
{
    std::vector<std::wstring> paths;
    for (const std::wstring& strRoot : scope.roots)
        if (!Collect(pLocator, strRoot, scope.childNames, scope.childNames.empty(), paths, strError))
            return false;
    std::sort(paths.begin(), paths.end(), [](const auto& a, const auto& b) { return Lower(a) < Lower(b); });
    paths.erase(std::unique(paths.begin(), paths.end(),
                            [](const auto& a, const auto& b) { return Lower(a) == Lower(b); }),
                paths.end());
    strText = L"wmiemu-repository 1\n";
    for (const std::wstring& strNs : paths)
        strText += L"namespace " + Name(strNs) + L"\n";
    for (const std::wstring& strNs : paths)
        if (!NamespaceText(pLocator, strNs, scope.bSystem, strText, strError))
            return false;
    return true;
}

std::string Utf8(const std::wstring& str)
{
    if (str.empty())
        return std::string();
    const int n = WideCharToMultiByte(CP_UTF8, 0, str.data(), static_cast<int>(str.size()), nullptr, 0,
                                      nullptr, nullptr);
    std::string r(n, '\0');
    WideCharToMultiByte(CP_UTF8, 0, str.data(), static_cast<int>(str.size()), &r[0], n, nullptr, nullptr);
    return r;
}

std::wstring Hex(HRESULT hr)
{
    wchar_t buf[16];
    swprintf(buf, 16, L"0x%08lX", static_cast<unsigned long>(hr));
    return buf;
}
} // namespace wmitext
