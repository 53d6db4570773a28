#include "WbemUtil.h"

#include "ArcaTrace.h"

#include <cstring>

namespace
{
const char kDefaultMofKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Brevane\\Vintrel\\Infrastructure\\MOF";

const char* TrueFalse(BOOL b)
{
    return b ? "true" : "false";
}

std::string StripQuotes(const char* sz)
{
    std::string str = sz;
    const size_t nFirst = str.find_first_not_of('"');
    if (nFirst == std::string::npos)
    {
        return std::string();
    }
    return str.substr(nFirst, str.find_last_not_of('"') - nFirst + 1);
}

// The full path of a name against the current directory; the name stays when that fails.
void MakeFullPath(std::string& strName)
{
    if (strName.empty())
    {
        return;
    }
    char szFull[MAX_PATH];
    const DWORD dwLen = GetFullPathNameA(strName.c_str(), MAX_PATH, szFull, nullptr);
    if (dwLen != 0 && dwLen < MAX_PATH)
    {
        strName = szFull;
    }
}
} // namespace

WbemUtil::WbemUtil()
    : Delete(FALSE), Compile(FALSE), Force(FALSE), System(FALSE), Help(FALSE), CompileFromReg(FALSE),
      SetQualifiers(FALSE), Backup(FALSE)
{
}

bool WbemUtil::ParseCmdLine(int argc, char* argv[])
{
    gg_ptrc->Trace(4, "WbemUtil::ParseCmdLine", "Enter", "Method ParseCmdLine has been entered.", "argc=%d",
                   argc);
    for (int i = 0; i < argc; ++i)
    {
        if (argv[i] != nullptr && argv[i][0] == '/')
        {
            ParseToken(argv[i] + 1);
        }
    }
    MakeFullPath(ini);
    MakeFullPath(mof);
    const bool bRet = CheckParams();
    gg_ptrc->Trace(4, "WbemUtil::ParseCmdLine", "Leave", "Method ParseCmdLine has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

bool WbemUtil::ParseToken(const char* szToken)
{
    gg_ptrc->Trace(4, "WbemUtil::ParseToken", "Enter", "Method ParseToken has been entered.", "szToken='%s'",
                   szToken);
    bool bRet = true;
    const struct
    {
        const char* szName;
        BOOL* pbFlag;
    } aFlags[] = {{"?", &Help},       {"dd", &Delete},        {"cf", &Compile},  {"cm", &CompileFromReg},
                  {"p", nullptr},     {"sq", &SetQualifiers}, {"force", &Force}, {"system", &System},
                  {"backup", &Backup}};
    bool bFound = false;
    for (const auto& flag : aFlags)
    {
        if (_stricmp(szToken, flag.szName) == 0)
        {
            bFound = true;
            if (flag.pbFlag != nullptr)
            {
                *flag.pbFlag = TRUE;
            }
            else
            {
                // "/p" carries a parameter behind its letter; the whole token is "p", so it is empty.
                const char* szParam = szToken + 1;
                while (*szParam == ' ')
                {
                    ++szParam;
                }
                m_params.push_back(szParam);
            }
            break;
        }
    }
    if (!bFound)
    {
        if (_strnicmp(szToken, "mof=", 4) == 0)
        {
            mof = StripQuotes(szToken + 4);
        }
        else if (_strnicmp(szToken, "ini=", 4) == 0)
        {
            ini = StripQuotes(szToken + 4);
        }
        else if (_strnicmp(szToken, "key=", 4) == 0)
        {
            const char* szKey = szToken + 4;
            while (*szKey == ' ')
            {
                ++szKey;
            }
            reg = szKey;
        }
        else
        {
            gg_ptrc->Trace(1, "WbemUtil::ParseToken", "Internal", "Unknown parameter", "%s", szToken);
            bRet = false;
        }
    }
    gg_ptrc->Trace(4, "WbemUtil::ParseToken", "Leave", "Method ParseToken has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

bool WbemUtil::CheckParams()
{
    gg_ptrc->Trace(
        3, "WbemUtil::CheckParams", "Enter", "Method CheckParams has been entered.",
        "\nCompile=%s, Delete=%s, CompileFromReg=%s\nForce=%s, System=%s\nSetQualifiers=%s\nBackup=%s\n"
        "mof='%s'\nini='%s'\nreg='%s'\n",
        TrueFalse(Compile), TrueFalse(Delete), TrueFalse(CompileFromReg), TrueFalse(Force), TrueFalse(System),
        TrueFalse(SetQualifiers), TrueFalse(Backup), mof.c_str(), ini.c_str(), reg.c_str());
    bool bRet = true;
    int nActions = 0;
    // Each failed test is traced and ends the check at once.
    const auto Refuse = [&bRet](const char* szMessage, const char* szName) {
        if (szName != nullptr)
        {
            gg_ptrc->Trace(1, "WbemUtil::CheckParams", "Internal", szMessage, "name='%s'", szName);
        }
        else
        {
            gg_ptrc->Trace(1, "WbemUtil::CheckParams", "Internal", szMessage, "");
        }
        bRet = false;
    };
    do
    {
        if (Help)
        {
            break;
        }
        if (Compile)
        {
            nActions = 1;
            if (!ini.empty())
            {
                Refuse("It is not possible to have ini-file with /cf", ini.c_str());
                break;
            }
            if (!reg.empty())
            {
                Refuse("It is not possible to have a reg key with /cf", reg.c_str());
                break;
            }
            if (mof.empty())
            {
                Refuse("Name of MOF file is missing with /cf", nullptr);
                break;
            }
        }
        if (Delete)
        {
            ++nActions;
            if (!reg.empty())
            {
                Refuse("It is not possible to have a reg key with /dd", reg.c_str());
                break;
            }
            if (ini.empty() && mof.empty())
            {
                Refuse("At least a mof file or ini file has to be specified with /dd", nullptr);
                break;
            }
            if (System)
            {
                Refuse("It is not possible to have /system with /dd", nullptr);
                break;
            }
        }
        if (CompileFromReg)
        {
            ++nActions;
            if (!ini.empty())
            {
                Refuse("It is not possible to have ini-file with /cm", ini.c_str());
                break;
            }
            if (!mof.empty())
            {
                // The record names the INI file (empty here), as it always has.
                Refuse("It is not possible to have MOF file with /cm", ini.c_str());
                break;
            }
            if (Force)
            {
                Refuse("It is not possible to have /force parameter with /cm", nullptr);
                break;
            }
            reg = reg.empty() ? std::string(kDefaultMofKey) : "HKEY_LOCAL_MACHINE\\" + reg;
        }
        if (SetQualifiers)
        {
            ++nActions;
            if (ini.empty())
            {
                Refuse("/sq requires /ini with a configuration file", nullptr);
                break;
            }
        }
        if (nActions >= 2)
        {
            Refuse("Only one action: /cf, /dd, /cm is allowed", nullptr);
        }
    } while (false);
    gg_ptrc->Trace(3, "WbemUtil::CheckParams", "Leave", "Method CheckParams has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}
