// Helpers shared by the CCWMIAccess source files: trace records of leaving an operation
// and pointers in 32-bit trace fields (BSTR arguments: Bstr.h).
#pragma once

#include "ArcaTrace.h"
#include "Bstr.h"

#include <windows.h>

#include <cstdint>

// Codes the access class produces itself. Plain HRESULT constants: a thrown code must be an
// HRESULT to be caught as one.
constexpr HRESULT WMIACC_E_INITIALIZATION_FAILURE = static_cast<HRESULT>(0x80041014);
constexpr HRESULT WMIACC_E_UNEXPECTED = static_cast<HRESULT>(0x8004101D);
constexpr HRESULT WMIACC_E_NOT_AVAILABLE = static_cast<HRESULT>(0x80041009);
constexpr HRESULT WMIACC_E_INVALID_PARAMETER = static_cast<HRESULT>(0x80041008);
constexpr HRESULT WMIACC_E_OUT_OF_MEMORY = static_cast<HRESULT>(0x80041006);
constexpr HRESULT WMIACC_E_NOT_FOUND = static_cast<HRESULT>(0x80041002);
constexpr HRESULT WMIACC_E_TYPE_MISMATCH = static_cast<HRESULT>(0x80041005);
constexpr HRESULT WMIACC_E_VALUE_OUT_OF_RANGE = static_cast<HRESULT>(0x8004102B);
constexpr HRESULT WMIACC_E_SYSTEM_PROPERTY = static_cast<HRESULT>(0x80041030);
constexpr HRESULT WMIACC_S_ALREADY_EXISTS = static_cast<HRESULT>(0x40001);
constexpr HRESULT WMIACC_S_NO_MORE_DATA = static_cast<HRESULT>(0x40005);

// The low 32 bits of a pointer, for the "0x%08X" fields of the trace records.
inline unsigned PtrLow32(const void* p)
{
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p));
}

// Releases the reference p holds, if any, and empties p.
template <class T> void ReleaseRef(T*& p)
{
    if (p != nullptr)
    {
        p->Release();
        p = nullptr;
    }
}

// The Leave record of an operation with its result; returns the result.
inline HRESULT WmiAccLeave(const char* szFunction, const char* szText, HRESULT hRet)
{
    gg_ptrc->Trace(TRC_INFOCC, szFunction, "Leave", szText, "hRet 0x%X", static_cast<unsigned>(hRet));
    return hRet;
}
