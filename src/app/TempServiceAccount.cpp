// CCTempService: which account the process runs in.
#include "TempService.h"

#include "ArcaTrace.h"

#include <cstdlib>

namespace
{
PSID AllocateNtSid(const char* szFunction, BYTE nCount, DWORD dwSub0, DWORD dwSub1)
{
    SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;
    PSID pSid = nullptr;
    if (!AllocateAndInitializeSid(&ntAuthority, nCount, dwSub0, dwSub1, 0, 0, 0, 0, 0, 0, &pSid))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "AllocateAndInitializeSid failed", "err=0x%X",
                       static_cast<unsigned>(GetLastError()));
        pSid = nullptr;
    }
    return pSid;
}

// The process token, or null after a traced failure; closed on every path.
class CTokenHandle
{
public:
    explicit CTokenHandle(const char* szFunction) : m_hToken(nullptr)
    {
        if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &m_hToken))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "OpenProcessToken failed", "err=0x%X",
                           static_cast<unsigned>(GetLastError()));
            m_hToken = nullptr;
        }
    }
    ~CTokenHandle()
    {
        if (m_hToken != nullptr)
        {
            CloseHandle(m_hToken);
        }
    }
    CTokenHandle(const CTokenHandle&) = delete;
    CTokenHandle& operator=(const CTokenHandle&) = delete;
    HANDLE Get() const { return m_hToken; }

private:
    HANDLE m_hToken;
};
} // namespace

PSID CCTempService::GetAdminSid()
{
    gg_ptrc->Trace(3, "CCTempService::GetAdminSid", "Enter", "Method GetAdminSid has been entered.", "");
    PSID pSid =
        AllocateNtSid("CCTempService::GetAdminSid", 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS);
    gg_ptrc->Trace(3, "CCTempService::GetAdminSid", "Leave", "Method GetAdminSid has been left.", "ret=%s",
                   pSid != nullptr ? "true" : "false");
    return pSid;
}

PSID CCTempService::GetLocalSystemSid()
{
    gg_ptrc->Trace(3, "CCTempService::GetLocalSystemSid", "Enter",
                   "Method GetLocalSystemSid has been entered.", "");
    PSID pSid = AllocateNtSid("CCTempService::GetLocalSystemSid", 1, SECURITY_LOCAL_SYSTEM_RID, 0);
    gg_ptrc->Trace(3, "CCTempService::GetLocalSystemSid", "Leave", "Method GetLocalSystemSid has been left.",
                   "ret=%s", pSid != nullptr ? "true" : "false");
    return pSid;
}

bool CCTempService::IsLocalSystem()
{
    const char* szFunction = "CCTempService::IsLocalSystem";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method IsLocalSystem has been entered.", "");
    bool bRet = false;
    {
        CTokenHandle token(szFunction);
        // TOKEN_USER with its SID fits easily into 256 bytes.
        alignas(TOKEN_USER) BYTE abUser[256] = {};
        DWORD cbUser = 0;
        if (!GetTokenInformation(token.Get(), TokenUser, abUser, sizeof(abUser), &cbUser))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "GetTokenInformation failed", "err=0x%X",
                           static_cast<unsigned>(GetLastError()));
        }
        PSID pSystemSid = GetLocalSystemSid();
        const PSID pUserSid = reinterpret_cast<TOKEN_USER*>(abUser)->User.Sid;
        bRet = pSystemSid != nullptr && pUserSid != nullptr && EqualSid(pUserSid, pSystemSid);
        if (pSystemSid != nullptr)
        {
            FreeSid(pSystemSid);
        }
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method IsLocalSystem has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

bool CCTempService::IsAdmin()
{
    const char* szFunction = "CCTempService::IsAdmin";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method IsAdmin has been entered.", "");
    bool bRet = false;
    CTokenHandle token(szFunction);
    DWORD cbGroups = 0;
    GetTokenInformation(token.Get(), TokenGroups, nullptr, 0, &cbGroups);
    // A zero size (the token could not be opened) is allocated as it is; the read then fails.
    TOKEN_GROUPS* pGroups = static_cast<TOKEN_GROUPS*>(malloc(cbGroups));
    if (pGroups == nullptr && cbGroups != 0)
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "malloc failed", "err=0x%X",
                       static_cast<unsigned>(GetLastError()));
    }
    else if (!GetTokenInformation(token.Get(), TokenGroups, pGroups, cbGroups, &cbGroups))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "GetTokenInformation failed", "err=0x%X",
                       static_cast<unsigned>(GetLastError()));
    }
    else
    {
        // The group's attributes are not looked at: a deny-only entry counts too.
        PSID pAdminSid = GetAdminSid();
        for (DWORD i = 0; pAdminSid != nullptr && i < pGroups->GroupCount && !bRet; ++i)
        {
            bRet = EqualSid(pGroups->Groups[i].Sid, pAdminSid) != FALSE;
        }
        if (pAdminSid != nullptr)
        {
            FreeSid(pAdminSid);
        }
    }
    free(pGroups);
    gg_ptrc->Trace(3, szFunction, "Leave", "Method IsAdmin has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}
