// CCWmiBstr: a BSTR argument of a COM call, made from an 8-bit or a wide string.
#pragma once

#include "StringConversion.h"

#include <windows.h>
#include <oleauto.h>

// A BSTR made from an 8-bit string (null stays null), freed on scope exit.
class CCWmiBstr
{
public:
    explicit CCWmiBstr(const char* sz) : m_bstr(nullptr)
    {
        if (sz != nullptr)
        {
            CCStringConversion conv(sz);
            const wchar_t* wsz = conv.Convert2W();
            m_bstr = SysAllocString(wsz != nullptr ? wsz : L"");
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
