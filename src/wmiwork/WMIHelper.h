// CWMIHelper: the base of the INI-driven jobs. It holds one connection to a current
// namespace and the name of one INI file, and reads that file's sections.
#pragma once

#include "ComPtr.h"

#include <windows.h>
#include <wbemcli.h>

#include <string>

class CCStringConversion;

class CWMIHelper
{
public:
    CWMIHelper();
    virtual ~CWMIHelper();
    CWMIHelper(const CWMIHelper&) = delete;
    CWMIHelper& operator=(const CWMIHelper&) = delete;

    // Takes szFile as the INI file (a bare name is taken from the current directory) and
    // tells whether it exists and can be opened for reading. The file is never written.
    bool OpenIni(const char* szFile);
    // Replaces the connection by one to szNamespace; false when none could be made.
    bool ConnectToNamespace(const char* szNamespace);

    // The key names of a section, each ended by a NUL, as the profile functions list them.
    // Empty when the section has no keys or the list does not fit the read limit.
    std::string GetKeyList(const char* szSection) const;
    // The value of a key; empty when missing, empty or beyond the read limit.
    std::string GetValue(const char* szSection, const char* szKey) const;

protected:
    // The wide form of a name for a WMI call. A name that cannot be converted (out of memory)
    // raises E_OUTOFMEMORY after its record under szFunction; the operation catches it.
    static const wchar_t* WideName(CCStringConversion& conv, const char* szFunction);

    CCComPtr<IWbemLocator> m_spWbemLocator;
    CCComPtr<IWbemServices> m_spWbemServices;
    std::string m_strIniFile;

private:
    // One profile read with a buffer that grows up to the limit; szKey null lists the keys.
    std::string ReadProfile(const char* szSection, const char* szKey) const;
};
