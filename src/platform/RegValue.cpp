// RegValue: one registry value with its own name and data buffers.
#include "RegKey.h"

#include <cstdlib>
#include <cstring>

RegValue::RegValue() : dwNameSize(0), dwDataSize(0), pData(nullptr), szName(nullptr), dwType(REG_NONE) {}

RegValue::~RegValue()
{
    Free();
}

RegValue::RegValue(const RegValue& other) : RegValue()
{
    Copy(other);
}

RegValue& RegValue::operator=(const RegValue& other)
{
    if (this != &other)
        Copy(other);
    return *this;
}

void RegValue::Free()
{
    free(pData);
    free(szName);
    pData = nullptr;
    szName = nullptr;
    dwNameSize = 0;
    dwDataSize = 0;
    dwType = REG_NONE;
}

bool RegValue::Copy(const RegValue& other)
{
    Free();
    if (other.pData)
    {
        pData = static_cast<BYTE*>(malloc(other.dwDataSize ? other.dwDataSize : 1));
        if (!pData)
            return false;
        memcpy(pData, other.pData, other.dwDataSize);
    }
    if (other.szName)
    {
        size_t nBytes = strlen(other.szName) + 1;
        szName = static_cast<char*>(malloc(nBytes));
        if (!szName)
        {
            Free();
            return false;
        }
        memcpy(szName, other.szName, nBytes);
    }
    dwNameSize = other.dwNameSize;
    dwDataSize = other.dwDataSize;
    dwType = other.dwType;
    return true;
}

bool RegValue::SetDword(DWORD dwValue)
{
    free(pData);
    pData = static_cast<BYTE*>(malloc(sizeof(DWORD)));
    dwDataSize = pData ? sizeof(DWORD) : 0;
    dwType = REG_DWORD;
    if (pData)
        memcpy(pData, &dwValue, sizeof(DWORD));
    return pData != nullptr;
}

bool RegValue::SetQword(ULONGLONG qwValue)
{
    free(pData);
    pData = static_cast<BYTE*>(malloc(sizeof(ULONGLONG)));
    dwDataSize = pData ? sizeof(ULONGLONG) : 0;
    dwType = REG_QWORD;
    if (pData)
        memcpy(pData, &qwValue, sizeof(ULONGLONG));
    return pData != nullptr;
}

DWORD RegValue::GetDword() const
{
    DWORD dwValue = 0xFFFFFFFF;
    if (dwType == REG_DWORD && pData && dwDataSize >= sizeof(DWORD))
        memcpy(&dwValue, pData, sizeof(DWORD));
    return dwValue;
}

const char* RegValue::GetString() const
{
    return dwType == REG_SZ ? reinterpret_cast<const char*>(pData) : nullptr;
}

const ULONGLONG* RegValue::GetQword() const
{
    return dwType == REG_QWORD ? reinterpret_cast<const ULONGLONG*>(pData) : nullptr;
}
