// CCWmiBstr: a BSTR argument of a COM call, made from an 8-bit or a wide string.
#pragma once

#include "StringConversion.h"

#include <windows.h>
#include <oleauto.h>

// A BSTR made from an 8-bit string, freed on scope exit. A null string, or one that cannot
// be converted, gives a null BSTR: never an empty one, which WMI reads as a name of its own.
class CCWmiBstr
{
public:
    explicit CCWmiBstr(const char* sz) : m_bstr(nullptr)
    {
        if (sz != nullptr)
        {
            CCStringConversion conv(sz);
            const wchar_t* wsz = conv.Convert2W();
            m_bstr = wsz != nullptr ? SysAllocString(wsz) : nullptr;
        }
    }
    explicit CCWmiBstr(const wchar_t* wsz) : m_bstr(wsz != nullptr ? SysAllocString(wsz) : nullptr) {}
    ~CCWmiBstr() { SysFreeString(m_bstr); }
    CCWmiBstr(const CCWmiBstr&) = delete;
    CCWmiBstr& operator=(const CCWmiBstr&) = delete;
    operator BSTR() const { return m_bstr; }

private:
    BSTR m_bstr;
};
