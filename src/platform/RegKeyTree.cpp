// CCRegKey: enumeration of sub-keys and values, key security, and deletion of keys.
#include "RegKey.h"

#include <cstdlib>
#include <cstring>

namespace
{
const REGSAM kSamEnumerate = KEY_ENUMERATE_SUB_KEYS;                // 0x8
const REGSAM kSamDeleteSubKey = KEY_SET_VALUE | KEY_CREATE_SUB_KEY; // 0x6
const REGSAM kSamDeleteAll =
    READ_CONTROL | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS;   // 0x2000E
const REGSAM kSamGetSecurity = KEY_READ;                                          // 0x20019
const REGSAM kSamSetSecurity = READ_CONTROL | KEY_SET_VALUE | KEY_CREATE_SUB_KEY; // 0x20006
const DWORD kMaxValueName = 16383;
const DWORD kSubKeyBuffer = 255;
const DWORD kTreeKeyBuffer = 256;

// Deletes szSubKey below hParent with everything below it. The index goes up after each
// deletion, so with several sub-keys every second one is passed over and the final deletion
// of szSubKey then fails; callers see the failure and may run it again.
LONG DeleteTree(HKEY hParent, const char* szSubKey, unsigned* pnDeleted)
{
    HKEY hKey = nullptr;
    LONG lResult = RegOpenKeyExA(hParent, szSubKey, 0, KEY_READ | KEY_WRITE, &hKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    char szChild[kTreeKeyBuffer];
    for (DWORD dwIndex = 0;; ++dwIndex)
    {
        DWORD cchChild = kTreeKeyBuffer;
        if (RegEnumKeyExA(hKey, dwIndex, szChild, &cchChild, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        lResult = DeleteTree(hKey, szChild, pnDeleted);
        if (lResult != ERROR_SUCCESS)
        {
            RegCloseKey(hKey);
            return lResult;
        }
    }
    RegCloseKey(hKey);
    lResult = RegDeleteKeyA(hParent, szSubKey);
    if (lResult == ERROR_SUCCESS)
        ++*pnDeleted;
    return lResult;
}
} // namespace

bool CCRegKey::EnumKey(DWORD dwIndex, char* szName, DWORD& cchName)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamEnumerate, bOpenedHere))
        return false;
    m_lLastError = RegEnumKeyExA(m_hKey, dwIndex, szName, &cchName, nullptr, nullptr, nullptr, nullptr);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS || m_lLastError == ERROR_MORE_DATA;
}

bool CCRegKey::EnumValue(DWORD dwIndex, char* szName, DWORD& cchName, LPDWORD pdwType)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamEnumerate, bOpenedHere))
        return false;
    m_lLastError = RegEnumValueA(m_hKey, dwIndex, szName, &cchName, nullptr, pdwType, nullptr, nullptr);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

bool CCRegKey::EnumValue(DWORD dwIndex, RegValue& value)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamEnumerate, bOpenedHere))
        return false;
    value.Free();
    char* szName = static_cast<char*>(malloc(kMaxValueName + 1));
    if (!szName)
    {
        m_lLastError = static_cast<LONG>(E_OUTOFMEMORY);
        EndOperation(bOpenedHere);
        return false;
    }
    // First the name and the data size, then the type and the data.
    DWORD cchName = kMaxValueName + 1;
    DWORD cbData = 0;
    m_lLastError = RegEnumValueA(m_hKey, dwIndex, szName, &cchName, nullptr, nullptr, nullptr, &cbData);
    if (m_lLastError == ERROR_SUCCESS)
    {
        value.dwNameSize = cchName + 1;
        value.szName = static_cast<char*>(malloc(value.dwNameSize));
        value.pData = static_cast<BYTE*>(malloc(cbData ? cbData : 1));
        if (!value.szName || !value.pData)
        {
            value.Free();
            m_lLastError = static_cast<LONG>(E_OUTOFMEMORY);
        }
        else
        {
            memcpy(value.szName, szName, value.dwNameSize);
            cchName = kMaxValueName + 1;
            DWORD cbRead = cbData;
            m_lLastError = RegEnumValueA(m_hKey, dwIndex, szName, &cchName, nullptr, &value.dwType,
                                         value.pData, &cbRead);
            // A value that grew between the two calls reports its new size with ERROR_MORE_DATA;
            // the record never claims more bytes than its buffer holds.
            value.dwDataSize = cbRead < cbData ? cbRead : cbData;
            if (m_lLastError == ERROR_MORE_DATA)
                m_lLastError = ERROR_SUCCESS;
        }
    }
    free(szName);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

// Hands out the first sub-key: index 0 is enumerated whatever dwIndex says.
bool CCRegKey::EnumKey(DWORD /*dwIndex*/, CCRegKey& subKey)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamEnumerate, bOpenedHere))
        return false;
    char szName[kSubKeyBuffer + 1] = {0};
    DWORD cchName = kSubKeyBuffer;
    m_lLastError = RegEnumKeyExA(m_hKey, 0, szName, &cchName, nullptr, nullptr, nullptr, nullptr);
    bool bOk = m_lLastError == ERROR_SUCCESS || m_lLastError == ERROR_MORE_DATA;
    if (bOk)
        bOk = FillAsSubKey(subKey, szName);
    EndOperation(bOpenedHere);
    return bOk;
}

bool CCRegKey::GetKeySecurity(SECURITY_INFORMATION si, PSECURITY_DESCRIPTOR pSD, LPDWORD pcbSD)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamGetSecurity, bOpenedHere))
        return false;
    m_lLastError = RegGetKeySecurity(m_hKey, si, pSD, pcbSD);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

bool CCRegKey::SetKeySecurity(SECURITY_INFORMATION si, PSECURITY_DESCRIPTOR pSD)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamSetSecurity, bOpenedHere))
        return false;
    m_lLastError = RegSetKeySecurity(m_hKey, si, pSD);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

bool CCRegKey::DeleteSubKey(const char* szSubKey)
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamDeleteSubKey, bOpenedHere))
        return false;
    m_lLastError = RegDeleteKeyA(m_hKey, szSubKey);
    EndOperation(bOpenedHere);
    return m_lLastError == ERROR_SUCCESS;
}

// Works on the open handle of this key; a key that is not open has nothing to delete below.
bool CCRegKey::DeleteSubTree(const char* szSubKey)
{
    if (!m_hKey || !szSubKey)
    {
        m_lLastError = ERROR_INVALID_HANDLE;
        return false;
    }
    unsigned nDeleted = 0;
    m_lLastError = DeleteTree(m_hKey, szSubKey, &nDeleted);
    return m_lLastError == ERROR_SUCCESS;
}

bool CCRegKey::DeleteKeyAndSubKeys()
{
    bool bOpenedHere = false;
    if (!PrepareOpen(kSamDeleteAll, bOpenedHere))
        return false;
    // Always the first sub-key again: a pass over a sub-tree passes over every second
    // sibling, so the same sub-key may need several passes. Each pass that fails must have
    // deleted something, otherwise the same sub-key would be taken for ever; then it stops.
    for (;;)
    {
        char szName[kSubKeyBuffer + 1] = {0};
        DWORD cchName = kSubKeyBuffer;
        if (RegEnumKeyExA(m_hKey, 0, szName, &cchName, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        unsigned nDeleted = 0;
        m_lLastError = DeleteTree(m_hKey, szName, &nDeleted);
        if (m_lLastError != ERROR_SUCCESS && nDeleted == 0)
            break;
    }
    EndOperation(bOpenedHere);
    return DeleteKey();
}

bool CCRegKey::DeleteKey()
{
    if (!m_hParent || !m_szName)
    {
        m_lLastError = m_hParent ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE;
        return false;
    }
    if (!Close())
        return false;
    if (!m_hParent)
    {
        m_lLastError = ERROR_INVALID_HANDLE; // the parent went with the key (see Close)
        return false;
    }
    m_lLastError = RegDeleteKeyA(m_hParent, m_szName);
    return m_lLastError == ERROR_SUCCESS;
}
