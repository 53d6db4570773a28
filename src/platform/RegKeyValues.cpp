// CCRegKey: reading and writing values.
#include "RegKey.h"

#include <objbase.h>

#include <cstdlib>
#include <cstring>

namespace
{
const REGSAM kSamQuery = KEY_QUERY_VALUE;                          // 0x1
const REGSAM kSamSet = KEY_SET_VALUE;                              // 0x2
const REGSAM kSamDeleteValue = KEY_SET_VALUE | KEY_CREATE_SUB_KEY; // 0x6
const DWORD kGuidTextBytes = 64;
} // namespace

bool CCRegKey::QueryValue(const char* szValue, LPDWORD pdwType, LPBYTE pData, LPDWORD pcbData)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamQuery, bOpenedHere))
        return false;
    m_lLastError = RegQueryValueExA(m_hKey, szValue, nullptr, pdwType, pData, pcbData);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

bool CCRegKey::QueryValue(const char* szValue, RegValue& value)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamQuery, bOpenedHere))
        return false;
    value.Free();
    DWORD cbData = 0;
    m_lLastError = RegQueryValueExA(m_hKey, szValue, nullptr, nullptr, nullptr, &cbData);
    if (m_lLastError == ERROR_SUCCESS)
    {
        size_t nName = szValue ? strlen(szValue) + 1 : 1;
        value.szName = static_cast<char*>(malloc(nName));
        value.pData = static_cast<BYTE*>(malloc(cbData ? cbData : 1));
        if (!value.szName || !value.pData)
        {
            value.Free();
            m_lLastError = static_cast<LONG>(E_OUTOFMEMORY);
        }
        else
        {
            memcpy(value.szName, szValue ? szValue : "", nName);
            value.dwNameSize = static_cast<DWORD>(nName);
            DWORD cbRead = cbData;
            m_lLastError = RegQueryValueExA(m_hKey, szValue, nullptr, &value.dwType, value.pData, &cbRead);
            // A value that grew since the size was asked fails with ERROR_MORE_DATA and its
            // new size: the record keeps no more than its buffer holds.
            value.dwDataSize = cbRead < cbData ? cbRead : cbData;
        }
    }
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

// The raw query, then the type check: a value of another type fails with ERROR_INVALID_DATA
// and leaves whatever the query wrote in the caller's buffer.
bool CCRegKey::QueryTyped(const char* szValue, DWORD dwWantedType, void* pData, DWORD& cbData)
{
    DWORD dwType = REG_NONE;
    if (!QueryValue(szValue, &dwType, static_cast<LPBYTE>(pData), &cbData))
        return false;
    if (dwType != dwWantedType)
    {
        m_lLastError = ERROR_INVALID_DATA;
        return false;
    }
    return true;
}

bool CCRegKey::QueryDword(const char* szValue, DWORD& dwValue)
{
    DWORD cbData = sizeof(DWORD);
    return QueryTyped(szValue, REG_DWORD, &dwValue, cbData);
}

bool CCRegKey::QueryBool(const char* szValue, bool& bValue)
{
    DWORD dwValue = 0;
    if (!QueryDword(szValue, dwValue))
        return false;
    bValue = dwValue != 0;
    return true;
}

bool CCRegKey::QueryQword(const char* szValue, ULONGLONG& qwValue)
{
    DWORD cbData = sizeof(ULONGLONG);
    return QueryTyped(szValue, REG_QWORD, &qwValue, cbData);
}

bool CCRegKey::QueryBinary(const char* szValue, void* pData, DWORD& cbData)
{
    return QueryTyped(szValue, REG_BINARY, pData, cbData);
}

bool CCRegKey::QueryString(const char* szValue, char* szBuffer, DWORD& cbBuffer)
{
    DWORD dwType = REG_NONE;
    if (!QueryValue(szValue, &dwType, reinterpret_cast<LPBYTE>(szBuffer), &cbBuffer))
        return false;
    if (!szBuffer)
        return true;
    if ((dwType != REG_SZ && dwType != REG_EXPAND_SZ) || cbBuffer == 0 || szBuffer[cbBuffer - 1] != '\0')
    {
        m_lLastError = ERROR_INVALID_DATA;
        return false;
    }
    return true;
}

bool CCRegKey::QueryMultiString(const char* szValue, char* szBuffer, DWORD& cbBuffer)
{
    if (szBuffer && cbBuffer < 2)
    {
        m_lLastError = ERROR_INSUFFICIENT_BUFFER;
        return false;
    }
    DWORD dwType = REG_NONE;
    if (!QueryValue(szValue, &dwType, reinterpret_cast<LPBYTE>(szBuffer), &cbBuffer))
        return false;
    bool bValid = dwType == REG_MULTI_SZ;
    if (bValid && szBuffer)
        bValid = cbBuffer >= 2 && szBuffer[cbBuffer - 1] == '\0' && szBuffer[cbBuffer - 2] == '\0';
    if (!bValid)
    {
        m_lLastError = ERROR_INVALID_DATA;
        return false;
    }
    return true;
}

bool CCRegKey::QueryGuid(const char* szValue, GUID& guid)
{
    char szText[kGuidTextBytes] = {0};
    DWORD cbText = sizeof(szText);
    if (!QueryString(szValue, szText, cbText))
        return false;
    bool bBraced = szText[0] == '{';
    if (!bBraced)
        m_lLastError = ERROR_INVALID_DATA; // the conversion is still tried
    wchar_t szwText[kGuidTextBytes] = {0};
    if (MultiByteToWideChar(CP_ACP, 0, szText, -1, szwText, kGuidTextBytes) == 0 ||
        FAILED(CLSIDFromString(szwText, &guid)))
    {
        m_lLastError = ERROR_INVALID_DATA;
        return false;
    }
    return bBraced;
}

bool CCRegKey::SetValue(const char* szValue, DWORD dwType, const void* pData, DWORD cbData)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamSet, bOpenedHere))
        return false;
    m_lLastError = RegSetValueExA(m_hKey, szValue, 0, dwType, static_cast<const BYTE*>(pData), cbData);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

bool CCRegKey::SetString(const char* szValue, const char* szData)
{
    const char* szText = szData ? szData : "";
    return SetValue(szValue, REG_SZ, szText, static_cast<DWORD>(strlen(szText) + 1));
}

bool CCRegKey::SetMultiString(const char* szValue, const char* szList)
{
    const char* szEmpty = "";
    const char* szText = szList ? szList : szEmpty;
    // Each string with its terminator, up to and including the empty string that ends the list.
    size_t cbData = 0;
    for (const char* sz = szText;; sz += strlen(sz) + 1)
    {
        cbData += strlen(sz) + 1;
        if (*sz == '\0')
            break;
    }
    return SetValue(szValue, REG_MULTI_SZ, szText, static_cast<DWORD>(cbData));
}

bool CCRegKey::SetGuid(const char* szValue, const GUID& guid)
{
    wchar_t szwText[kGuidTextBytes] = {0};
    char szText[kGuidTextBytes] = {0};
    if (StringFromGUID2(guid, szwText, kGuidTextBytes) == 0 ||
        WideCharToMultiByte(CP_ACP, 0, szwText, -1, szText, kGuidTextBytes, nullptr, nullptr) == 0)
    {
        m_lLastError = ERROR_INVALID_DATA;
        return false;
    }
    return SetString(szValue, szText);
}

bool CCRegKey::DeleteValue(const char* szValue)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamDeleteValue, bOpenedHere))
        return false;
    m_lLastError = RegDeleteValueA(m_hKey, szValue);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}
