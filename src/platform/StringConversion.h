// CCStringConversion: one string held either as ANSI (8-bit, system code page) or as UTF-16,
// converted in place when the other form is asked for.
//
// Use it as a local object: construct it from a string, take the pointer the call needs and
// let it go. A pointer handed out stays valid until the next conversion or the destruction.
#pragma once

#include <cstddef>

class CCStringConversion
{
public:
    CCStringConversion();
    explicit CCStringConversion(const wchar_t* szwSrc);
    explicit CCStringConversion(const char* szSrc);
    virtual ~CCStringConversion();
    CCStringConversion(const CCStringConversion&) = delete;
    CCStringConversion& operator=(const CCStringConversion&) = delete;

    operator const char*();
    operator const wchar_t*();

    // The held string in the asked form; null when empty or when the conversion failed
    // (the object then keeps the form it had).
    const char* Convert2A();
    const wchar_t* Convert2W();

private:
    void* m_pBuffer;
    bool m_bWide;
};
