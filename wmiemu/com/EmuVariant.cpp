// EmuVariant.cpp - values to and from VARIANTs as WMI maps the CIM types:
// sint8/sint16/char16 VT_I2, uint8 VT_UI1, uint16/sint32/uint32 VT_I4, sint64/uint64 VT_BSTR,
// real32 VT_R4, real64 VT_R8, boolean VT_BOOL, string/datetime/reference VT_BSTR, object VT_UNKNOWN.
#include "EmuCom.h"

namespace wmiemu
{

namespace
{
VARTYPE VarTypeFor(const Value& v, CIMTYPE type)
{
    switch (type & ~CIM_FLAG_ARRAY)
    {
    case CIM_SINT8:
    case CIM_SINT16:
    case CIM_CHAR16:
        return VT_I2;
    case CIM_UINT8:
        return VT_UI1;
    case CIM_UINT16:
    case CIM_SINT32:
    case CIM_UINT32:
        return VT_I4;
    case CIM_SINT64:
    case CIM_UINT64:
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_REFERENCE:
        return VT_BSTR;
    case CIM_REAL32:
        return VT_R4;
    case CIM_REAL64:
        return VT_R8;
    case CIM_BOOLEAN:
        return VT_BOOL;
    case CIM_OBJECT:
        return VT_UNKNOWN;
    default:
        break;
    }
    const Value& s = (v.kind == Value::Kind::Array && !v.items.empty()) ? v.items[0] : v;
    switch (s.kind)
    {
    case Value::Kind::Bool:
        return VT_BOOL;
    case Value::Kind::Int:
        return VT_I4;
    case Value::Kind::Real:
        return VT_R8;
    case Value::Kind::Object:
        return VT_UNKNOWN;
    default:
        return VT_BSTR;
    }
}

HRESULT ScalarToVariant(const Value& v, VARTYPE vt, CIMTYPE type, VARIANT* pVar)
{
    VariantInit(pVar);
    switch (vt)
    {
    case VT_I2:
        pVar->vt = VT_I2;
        pVar->iVal = (SHORT)v.i;
        break;
    case VT_UI1:
        pVar->vt = VT_UI1;
        pVar->bVal = (BYTE)v.i;
        break;
    case VT_I4:
        pVar->vt = VT_I4;
        pVar->lVal = (LONG)(v.kind == Value::Kind::Real ? (long long)v.r : v.i);
        break;
    case VT_R4:
        pVar->vt = VT_R4;
        pVar->fltVal = (float)(v.kind == Value::Kind::Int ? (double)v.i : v.r);
        break;
    case VT_R8:
        pVar->vt = VT_R8;
        pVar->dblVal = v.kind == Value::Kind::Int ? (double)v.i : v.r;
        break;
    case VT_BOOL:
        pVar->vt = VT_BOOL;
        pVar->boolVal = (v.kind == Value::Kind::Bool ? v.b : v.i != 0) ? VARIANT_TRUE : VARIANT_FALSE;
        break;
    case VT_UNKNOWN: {
        IWbemClassObject* p = nullptr;
        if (!v.obj || FAILED(CEmuClassObject::Create(*v.obj, &p)))
            return WBEM_E_OUT_OF_MEMORY;
        pVar->vt = VT_UNKNOWN;
        pVar->punkVal = p;
        break;
    }
    default: {
        std::wstring s = v.s;
        if (v.kind == Value::Kind::Int)
            s = (type & ~CIM_FLAG_ARRAY) == CIM_UINT64 ? std::to_wstring((unsigned long long)v.i)
                                                       : std::to_wstring(v.i);
        pVar->vt = VT_BSTR;
        pVar->bstrVal = SysAllocStringLen(s.data(), (UINT)s.size());
        break;
    }
    }
    return S_OK;
}
} // namespace

HRESULT ToVariant(const Value& v, CIMTYPE type, VARIANT* pVar)
{
    VariantInit(pVar);
    if (v.IsNull())
    {
        pVar->vt = VT_NULL;
        return S_OK;
    }
    VARTYPE vt = VarTypeFor(v, type);
    if (v.kind != Value::Kind::Array)
        return ScalarToVariant(v, vt, type, pVar);
    SAFEARRAY* psa = SafeArrayCreateVector(vt, 0, (ULONG)v.items.size());
    if (!psa)
        return WBEM_E_OUT_OF_MEMORY;
    for (LONG n = 0; n < (LONG)v.items.size(); ++n)
    {
        VARIANT item;
        ScalarToVariant(v.items[n], vt, type, &item);
        void* pData = vt == VT_BSTR      ? (void*)item.bstrVal
                      : vt == VT_UNKNOWN ? (void*)item.punkVal
                                         : (void*)&item.lVal;
        SafeArrayPutElement(psa, &n, pData);
        VariantClear(&item);
    }
    pVar->vt = VT_ARRAY | vt;
    pVar->parray = psa;
    return S_OK;
}

namespace
{
HRESULT ScalarFromVariant(const VARIANT* p, CIMTYPE base, Value& out)
{
    out = Value();
    VARIANT v;
    VariantInit(&v);
    HRESULT hr = S_OK;
    switch (p->vt)
    {
    case VT_EMPTY:
    case VT_NULL:
        return S_OK;
    case VT_BOOL:
        out = Value::Bool(p->boolVal != VARIANT_FALSE);
        break;
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
        hr = VariantChangeType(&v, const_cast<VARIANT*>(p), 0, p->vt == VT_UI8 ? VT_UI8 : VT_I8);
        if (FAILED(hr))
            return WBEM_E_TYPE_MISMATCH;
        out = Value::Int(v.llVal);
        break;
    case VT_R4:
    case VT_R8:
        out.kind = Value::Kind::Real;
        out.r = p->vt == VT_R4 ? p->fltVal : p->dblVal;
        break;
    case VT_BSTR:
        out = Value::Str(p->bstrVal ? std::wstring(p->bstrVal, SysStringLen(p->bstrVal)) : std::wstring());
        break;
    case VT_UNKNOWN:
    case VT_DISPATCH: {
        IWbemClassObject* pObj = nullptr;
        if (!p->punkVal || FAILED(p->punkVal->QueryInterface(IID_IWbemClassObject, (void**)&pObj)))
            return WBEM_E_TYPE_MISMATCH;
        CEmuClassObject* pEmu = CEmuClassObject::From(pObj);
        if (pEmu)
        {
            out.kind = Value::Kind::Object;
            out.obj = std::make_shared<Object>(pEmu->Data());
        }
        pObj->Release();
        if (!pEmu)
            return WBEM_E_TYPE_MISMATCH;
        break;
    }
    default:
        return WBEM_E_TYPE_MISMATCH;
    }
    // The value must fit the property's type.
    switch (base)
    {
    case 0:
        return S_OK;
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_REFERENCE:
        return out.kind == Value::Kind::String ? S_OK : (HRESULT)WBEM_E_TYPE_MISMATCH;
    case CIM_BOOLEAN:
        return out.kind == Value::Kind::Bool ? S_OK : (HRESULT)WBEM_E_TYPE_MISMATCH;
    case CIM_REAL32:
    case CIM_REAL64:
        if (out.kind == Value::Kind::Int)
        {
            out.kind = Value::Kind::Real;
            out.r = (double)out.i;
        }
        return out.kind == Value::Kind::Real ? S_OK : (HRESULT)WBEM_E_TYPE_MISMATCH;
    case CIM_OBJECT:
        return out.kind == Value::Kind::Object ? S_OK : (HRESULT)WBEM_E_TYPE_MISMATCH;
    default: // integers, char16
        if (out.kind == Value::Kind::String)
        {
            wchar_t* end = nullptr;
            long long n = (!out.s.empty() && out.s[0] == L'-') ? wcstoll(out.s.c_str(), &end, 0)
                                                               : (long long)wcstoull(out.s.c_str(), &end, 0);
            if (out.s.empty() || !end || *end)
                return WBEM_E_TYPE_MISMATCH;
            out = Value::Int(n);
        }
        else if (out.kind == Value::Kind::Bool)
            out = Value::Int(out.b ? 1 : 0);
        if (out.kind != Value::Kind::Int)
            return WBEM_E_TYPE_MISMATCH;
        if (base == CIM_UINT32 && p->vt == VT_I4)
            out.i = (unsigned long)p->lVal; // uint32 travels as VT_I4
        else if (base == CIM_UINT16 && (p->vt == VT_I2))
            out.i = (unsigned short)p->iVal;
        return S_OK;
    }
}
} // namespace

HRESULT FromVariant(const VARIANT* pVar, CIMTYPE type, Value& out)
{
    out = Value();
    if (!pVar)
        return S_OK;
    const VARIANT* p = pVar;
    if (p->vt == (VT_BYREF | VT_VARIANT))
        p = p->pvarVal;
    if (!(p->vt & VT_ARRAY))
    {
        if (type != 0 && (type & CIM_FLAG_ARRAY) && p->vt != VT_NULL && p->vt != VT_EMPTY)
            return WBEM_E_TYPE_MISMATCH;
        return ScalarFromVariant(p, type & ~CIM_FLAG_ARRAY, out);
    }
    if (type != 0 && !(type & CIM_FLAG_ARRAY))
        return WBEM_E_TYPE_MISMATCH;
    SAFEARRAY* psa = p->parray;
    out.kind = Value::Kind::Array;
    if (!psa)
        return S_OK;
    VARTYPE vt = (VARTYPE)(p->vt & ~VT_ARRAY);
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(psa, 1, &lo);
    SafeArrayGetUBound(psa, 1, &hi);
    for (LONG n = lo; n <= hi; ++n)
    {
        VARIANT item;
        VariantInit(&item);
        if (vt == VT_VARIANT)
            SafeArrayGetElement(psa, &n, &item);
        else
        {
            item.vt = vt;
            SafeArrayGetElement(psa, &n, &item.lVal);
        }
        Value v;
        HRESULT hr = ScalarFromVariant(&item, type & ~CIM_FLAG_ARRAY, v);
        VariantClear(&item);
        if (FAILED(hr))
            return hr;
        out.items.push_back(v);
    }
    return S_OK;
}

CIMTYPE CimTypeOfVariant(VARTYPE vt)
{
    CIMTYPE arr = (vt & VT_ARRAY) ? CIM_FLAG_ARRAY : 0;
    switch (vt & ~VT_ARRAY)
    {
    case VT_I1:
        return CIM_SINT8 | arr;
    case VT_UI1:
        return CIM_UINT8 | arr;
    case VT_I2:
        return CIM_SINT16 | arr;
    case VT_UI2:
        return CIM_UINT16 | arr;
    case VT_I4:
    case VT_INT:
        return CIM_SINT32 | arr;
    case VT_UI4:
    case VT_UINT:
        return CIM_UINT32 | arr;
    case VT_I8:
        return CIM_SINT64 | arr;
    case VT_UI8:
        return CIM_UINT64 | arr;
    case VT_R4:
        return CIM_REAL32 | arr;
    case VT_R8:
        return CIM_REAL64 | arr;
    case VT_BOOL:
        return CIM_BOOLEAN | arr;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        return CIM_OBJECT | arr;
    case VT_BSTR:
        return CIM_STRING | arr;
    default:
        return 0;
    }
}

HRESULT MakeSafeArrayOfNames(const std::vector<std::wstring>& names, SAFEARRAY** pp)
{
    SAFEARRAY* psa = SafeArrayCreateVector(VT_BSTR, 0, (ULONG)names.size());
    if (!psa)
        return WBEM_E_OUT_OF_MEMORY;
    for (LONG n = 0; n < (LONG)names.size(); ++n)
    {
        BSTR b = SysAllocString(names[n].c_str());
        SafeArrayPutElement(psa, &n, b);
        SysFreeString(b);
    }
    *pp = psa;
    return S_OK;
}

} // namespace wmiemu
