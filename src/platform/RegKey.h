// CCRegKey: one key of the registry, named by a parent handle and a sub-key path or by a full
// path that begins with a root-key name ("HKEY_LOCAL_MACHINE\\SOFTWARE\\...").
//
// A key object that is not open opens itself for the length of one operation and closes
// again afterwards. An open key keeps the rights it was opened with and refuses an operation
// that needs rights it does not hold. Every operation leaves the Win32 result in LastError().
#pragma once

#include <windows.h>

// One registry value as read by QueryValue or EnumValue; owns its buffers.
struct RegValue
{
    DWORD dwNameSize; // characters, terminator included
    DWORD dwDataSize; // bytes
    BYTE* pData;
    char* szName;
    DWORD dwType;

    RegValue();
    ~RegValue();
    RegValue(const RegValue& other);
    RegValue& operator=(const RegValue& other);

    bool SetDword(DWORD dwValue);
    bool SetQword(ULONGLONG qwValue);
    bool Copy(const RegValue& other);
    void Free();

    DWORD GetDword() const;            // 0xFFFFFFFF unless REG_DWORD
    const char* GetString() const;     // null unless REG_SZ
    const ULONGLONG* GetQword() const; // null unless REG_QWORD
};

class CCRegKey
{
public:
    CCRegKey(HKEY hParent, const char* szName);
    CCRegKey(const char* szFullPath, REGSAM samDesired);
    ~CCRegKey();
    CCRegKey(const CCRegKey&) = delete;
    CCRegKey& operator=(const CCRegKey& other);

    // The handle becomes this object's open key; what it had is closed first.
    void Attach(HKEY hKey);
    bool AttachDuplicate(HKEY hKey);
    HKEY Detach();

    bool Open(REGSAM samDesired);
    bool Close();
    bool Create(const char* szClass, DWORD dwOptions, REGSAM samDesired, LPSECURITY_ATTRIBUTES pSecurity,
                LPDWORD pdwDisposition = nullptr);
    bool Flush();

    bool QueryValue(const char* szValue, LPDWORD pdwType, LPBYTE pData, LPDWORD pcbData);
    bool QueryValue(const char* szValue, RegValue& value);
    bool QueryDword(const char* szValue, DWORD& dwValue);
    bool QueryBool(const char* szValue, bool& bValue);
    bool QueryQword(const char* szValue, ULONGLONG& qwValue);
    bool QueryBinary(const char* szValue, void* pData, DWORD& cbData);
    bool QueryString(const char* szValue, char* szBuffer, DWORD& cbBuffer);
    bool QueryMultiString(const char* szValue, char* szBuffer, DWORD& cbBuffer);
    bool QueryGuid(const char* szValue, GUID& guid);

    bool SetValue(const char* szValue, DWORD dwType, const void* pData, DWORD cbData);
    bool SetString(const char* szValue, const char* szData);
    // szList: strings one after another, each with its terminator, ended by an empty string.
    bool SetMultiString(const char* szValue, const char* szList);
    bool SetGuid(const char* szValue, const GUID& guid);
    bool DeleteValue(const char* szValue);

    bool EnumKey(DWORD dwIndex, char* szName, DWORD& cchName);
    bool EnumValue(DWORD dwIndex, char* szName, DWORD& cchName, LPDWORD pdwType);
    bool EnumValue(DWORD dwIndex, RegValue& value);
    // Always the sub-key at index 0, whatever dwIndex says; see the .cpp.
    bool EnumKey(DWORD dwIndex, CCRegKey& subKey);

    bool GetKeySecurity(SECURITY_INFORMATION si, PSECURITY_DESCRIPTOR pSD, LPDWORD pcbSD);
    bool SetKeySecurity(SECURITY_INFORMATION si, PSECURITY_DESCRIPTOR pSD);

    bool DeleteSubKey(const char* szSubKey);
    bool DeleteSubTree(const char* szSubKey);
    bool DeleteKeyAndSubKeys();
    bool DeleteKey();

    // The sub-key objects are owned by this object and valid until the next such call.
    CCRegKey* CreateSubKey(const char* szSubKey, const char* szClass, DWORD dwOptions, REGSAM samDesired,
                           LPSECURITY_ATTRIBUTES pSecurity, LPDWORD pdwDisposition = nullptr);
    CCRegKey* SubKey(const char* szSubKey);

    HKEY Handle() const { return m_hKey; }
    HKEY Parent() const { return m_hParent; }
    const char* Name() const { return m_szName; }
    REGSAM Access() const { return m_samCurrent; }
    LONG LastError() const { return m_lLastError; }
    bool IsOpen() const { return m_hKey != nullptr; }

    static bool IsPredefined(HKEY hKey);

private:
    bool PrepareOpen(REGSAM samRequired, bool& bOpenedHere);
    void EndOperation(bool bOpenedHere);
    bool SetName(const char* szName);
    bool FillAsSubKey(CCRegKey& subKey, const char* szSubKey);
    CCRegKey* NewChild(const char* szSubKey);
    bool QueryTyped(const char* szValue, DWORD dwWantedType, void* pData, DWORD& cbData);

    HKEY m_hKey;
    HKEY m_hParent;
    char* m_szName;
    REGSAM m_samCurrent;
    void* m_pReserved;
    CCRegKey* m_pChild;
    LONG m_lLastError;
};
