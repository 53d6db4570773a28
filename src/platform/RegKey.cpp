// CCRegKey: construction, lifetime, opening and closing, and the sub-key objects.
#include "RegKey.h"

#include "ArcaTrace.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{
struct RootKey
{
    const char* szName;
    size_t nLen;
    HKEY hKey;
};

// The last entry has an empty name: it matches every path that starts with no root name.
const RootKey kRootKeys[] = {
    {"HKEY_CLASSES_ROOT", 17, HKEY_CLASSES_ROOT},
    {"HKEY_CURRENT_CONFIG", 19, HKEY_CURRENT_CONFIG},
    {"HKEY_CURRENT_USER", 17, HKEY_CURRENT_USER},
    {"HKEY_LOCAL_MACHINE", 18, HKEY_LOCAL_MACHINE},
    {"HKEY_PERFORMANCE_DATA", 21, HKEY_PERFORMANCE_DATA},
    {"HKEY_USERS", 10, HKEY_USERS},
    {"", 0, nullptr},
};

const REGSAM kSamReadWrite = KEY_READ | KEY_WRITE; // 0x2001F

unsigned long HandleValue(HKEY hKey)
{
    return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(hKey));
}

bool DuplicateKey(HKEY hKey, HKEY* phCopy, LONG* plError)
{
    HANDLE hCopy = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), hKey, GetCurrentProcess(), &hCopy, 0, TRUE,
                         DUPLICATE_SAME_ACCESS))
    {
        *plError = static_cast<LONG>(GetLastError());
        *phCopy = nullptr;
        return false;
    }
    *phCopy = static_cast<HKEY>(hCopy);
    return true;
}
} // namespace

bool CCRegKey::IsPredefined(HKEY hKey)
{
    for (const RootKey& root : kRootKeys)
        if (root.hKey == hKey)
            return true;
    return false;
}

CCRegKey::CCRegKey(HKEY hParent, const char* szName)
    : m_hKey(nullptr), m_hParent(nullptr), m_szName(nullptr), m_samCurrent(kSamReadWrite),
      m_pReserved(nullptr), m_pChild(nullptr), m_lLastError(ERROR_SUCCESS)
{
    gg_ptrc->Trace(TRC_VERBOSECC, "CCRegKey::CCRegKey", "Enter", "An instance of CCRegKey has been created.",
                   "parent=0x%8.8lx, name='%s'", HandleValue(hParent), szName);
    if (!DuplicateKey(hParent, &m_hParent, &m_lLastError))
    {
        // A predefined root cannot be duplicated; it is used as it is.
        if (m_lLastError == ERROR_INVALID_HANDLE && IsPredefined(hParent))
            m_hParent = hParent;
    }
    SetName(szName);
    gg_ptrc->Trace(TRC_VERBOSECC, "CCRegKey::CCRegKey", "Leave", "An instance of CCRegKey has been created.",
                   "");
}

CCRegKey::CCRegKey(const char* szFullPath, REGSAM samDesired)
    : m_hKey(nullptr), m_hParent(nullptr), m_szName(nullptr), m_samCurrent(kSamReadWrite),
      m_pReserved(nullptr), m_pChild(nullptr), m_lLastError(ERROR_SUCCESS)
{
    gg_ptrc->Trace(TRC_VERBOSECC, "CCRegKey::CCRegKey", "Enter", "An instance of CCRegKey has been created.",
                   "name='%s'", szFullPath);
    const char* szPath = szFullPath ? szFullPath : "";
    size_t nPathLen = strlen(szPath);
    for (const RootKey& root : kRootKeys)
    {
        if (_strnicmp(szPath, root.szName, root.nLen) != 0)
            continue;
        m_hParent = root.hKey;
        // The name starts behind the root name and its backslash (for the empty entry: behind
        // the path's first character). A path that ends there has an empty name.
        SetName(nPathLen > root.nLen ? szPath + root.nLen + 1 : "");
        break;
    }
    m_samCurrent = samDesired;
    gg_ptrc->Trace(TRC_VERBOSECC, "CCRegKey::CCRegKey", "Leave", "An instance of CCRegKey has been created.",
                   "");
}

CCRegKey::~CCRegKey()
{
    gg_ptrc->Trace(TRC_VERBOSECC, "CCRegKey::~CCRegKey", "Enter",
                   "An instance of CCRegKey has been destroyed.", "");
    Close();
    free(m_szName);
    m_szName = nullptr;
    delete m_pChild;
    m_pChild = nullptr;
    gg_ptrc->Trace(TRC_VERBOSECC, "CCRegKey::~CCRegKey", "Leave",
                   "An instance of CCRegKey has been destroyed.", "");
}

CCRegKey& CCRegKey::operator=(const CCRegKey& other)
{
    if (this == &other)
        return *this;
    Close();
    m_samCurrent = other.m_samCurrent;
    if (other.m_hParent)
    {
        if (!DuplicateKey(other.m_hParent, &m_hParent, &m_lLastError) && IsPredefined(other.m_hParent))
            m_hParent = other.m_hParent;
    }
    if (other.m_hKey)
        DuplicateKey(other.m_hKey, &m_hKey, &m_lLastError);
    SetName(other.m_szName);
    return *this;
}

bool CCRegKey::SetName(const char* szName)
{
    free(m_szName);
    m_szName = nullptr;
    if (!szName)
        return true;
    size_t nBytes = strlen(szName) + 1;
    m_szName = static_cast<char*>(malloc(nBytes));
    if (!m_szName)
    {
        m_lLastError = static_cast<LONG>(E_OUTOFMEMORY);
        return false;
    }
    memcpy(m_szName, szName, nBytes);
    return true;
}

void CCRegKey::Attach(HKEY hKey)
{
    Close();
    m_hKey = hKey;
}

bool CCRegKey::AttachDuplicate(HKEY hKey)
{
    Close();
    return DuplicateKey(hKey, &m_hKey, &m_lLastError);
}

HKEY CCRegKey::Detach()
{
    HKEY hKey = m_hKey;
    m_hKey = nullptr;
    return hKey;
}

bool CCRegKey::Open(REGSAM samDesired)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCRegKey::Open", "Enter", "Method Open has been entered.", "sam=0x%X",
                   static_cast<unsigned>(samDesired));
    HKEY hNew = nullptr;
    LONG lResult = RegOpenKeyExA(m_hParent, m_szName, 0, samDesired, &hNew);
    if (lResult == ERROR_SUCCESS)
    {
        Close();
        m_hKey = hNew;
        m_samCurrent = samDesired;
    }
    m_lLastError = lResult;
    gg_ptrc->Trace(TRC_INFOCC, "CCRegKey::Open", "Leave", "Method Open has been left.", "ret=%s",
                   lResult == ERROR_SUCCESS ? "true" : "false");
    return lResult == ERROR_SUCCESS;
}

// A parent that is not predefined goes with the key: a key made from a caller's handle can
// therefore not open itself again once it has been opened and closed.
bool CCRegKey::Close()
{
    bool bOk = true;
    if (m_hKey)
    {
        m_lLastError = RegCloseKey(m_hKey);
        bOk = m_lLastError == ERROR_SUCCESS;
        m_hKey = nullptr;
    }
    if (!IsPredefined(m_hParent))
    {
        m_lLastError = RegCloseKey(m_hParent);
        bOk = m_lLastError == ERROR_SUCCESS;
        m_hParent = nullptr;
    }
    return bOk;
}

bool CCRegKey::Create(const char* szClass, DWORD dwOptions, REGSAM samDesired,
                      LPSECURITY_ATTRIBUTES pSecurity, LPDWORD pdwDisposition)
{
    HKEY hNew = nullptr;
    LONG lResult = RegCreateKeyExA(m_hParent, m_szName, 0, const_cast<char*>(szClass), dwOptions, samDesired,
                                   pSecurity, &hNew, pdwDisposition);
    if (lResult == ERROR_SUCCESS)
    {
        Close();
        m_hKey = hNew;
        m_samCurrent = samDesired;
    }
    m_lLastError = lResult;
    return lResult == ERROR_SUCCESS;
}

bool CCRegKey::Flush()
{
    if (!m_hKey)
        return true;
    m_lLastError = RegFlushKey(m_hKey);
    return m_lLastError == ERROR_SUCCESS;
}

// Lazy open: an open key must already hold the rights; a closed one is opened with the
// rights it was given (the required ones are not compared then) and closed again by
// EndOperation.
bool CCRegKey::PrepareOpen(REGSAM samRequired, bool& bOpenedHere)
{
    bOpenedHere = false;
    if (m_hKey)
    {
        if ((m_samCurrent & samRequired) == samRequired)
            return true;
        gg_ptrc->Trace(TRC_ERROR, "CCRegKey::PrepareOpen", "Internal", "Missing required access right",
                       "samRequired=0x%X, m_samCurrent=0x%X", static_cast<unsigned>(samRequired),
                       static_cast<unsigned>(m_samCurrent));
        return false;
    }
    if (!Open(m_samCurrent))
        return false;
    bOpenedHere = m_szName != nullptr;
    return true;
}

void CCRegKey::EndOperation(bool bOpenedHere)
{
    if (bOpenedHere)
    {
        LONG lSaved = m_lLastError; // the operation's result, not the close's
        Close();
        m_lLastError = lSaved;
    }
}

// The sub-key is described by this key's parent and name + "\" + sub-name, or, when this
// key has none, by its open handle and the sub-name.
bool CCRegKey::FillAsSubKey(CCRegKey& subKey, const char* szSubKey)
{
    subKey.Close();
    subKey.m_samCurrent = m_samCurrent;
    const char* szSub = szSubKey ? szSubKey : "";
    if (m_hParent && m_szName)
    {
        if (!DuplicateKey(m_hParent, &subKey.m_hParent, &subKey.m_lLastError))
        {
            if (!IsPredefined(m_hParent))
                return false;
            subKey.m_hParent = m_hParent;
        }
        size_t nLen = strlen(m_szName) + 1 + strlen(szSub) + 1;
        char* szPath = static_cast<char*>(malloc(nLen));
        if (!szPath)
        {
            subKey.m_lLastError = static_cast<LONG>(E_OUTOFMEMORY);
            return false;
        }
        strcpy(szPath, m_szName);
        strcat(szPath, "\\");
        strcat(szPath, szSub);
        bool bOk = subKey.SetName(szPath);
        free(szPath);
        return bOk;
    }
    if (m_hKey)
    {
        if (!DuplicateKey(m_hKey, &subKey.m_hParent, &subKey.m_lLastError))
            return false;
        return subKey.SetName(szSub);
    }
    return false;
}

CCRegKey* CCRegKey::NewChild(const char* szSubKey)
{
    if (m_pChild)
        m_pChild->Close();
    else
        m_pChild = new (std::nothrow) CCRegKey(static_cast<HKEY>(nullptr), nullptr);
    if (!m_pChild)
    {
        m_lLastError = static_cast<LONG>(E_OUTOFMEMORY);
        return nullptr;
    }
    if (!FillAsSubKey(*m_pChild, szSubKey))
    {
        m_lLastError =
            m_pChild->m_lLastError != ERROR_SUCCESS ? m_pChild->m_lLastError : ERROR_INVALID_HANDLE;
        return nullptr;
    }
    return m_pChild;
}

CCRegKey* CCRegKey::SubKey(const char* szSubKey)
{
    return NewChild(szSubKey);
}

CCRegKey* CCRegKey::CreateSubKey(const char* szSubKey, const char* szClass, DWORD dwOptions,
                                 REGSAM samDesired, LPSECURITY_ATTRIBUTES pSecurity, LPDWORD pdwDisposition)
{
    CCRegKey* pChild = NewChild(szSubKey);
    if (!pChild)
        return nullptr;
    HKEY hNew = nullptr;
    m_lLastError = RegCreateKeyExA(pChild->m_hParent, pChild->m_szName, 0, const_cast<char*>(szClass),
                                   dwOptions, samDesired, pSecurity, &hNew, pdwDisposition);
    pChild->m_lLastError = m_lLastError;
    if (m_lLastError != ERROR_SUCCESS)
        return nullptr;
    pChild->m_hKey = hNew;
    return pChild;
}
