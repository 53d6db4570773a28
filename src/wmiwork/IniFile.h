// CIniFile: one INI file of a job, read and written through the profile functions.
#pragma once

#include <string>

class CIniFile
{
public:
    CIniFile();

    // Names the file (a bare name is taken from the current directory) and reports whether it
    // exists (it is opened for reading with read and write sharing and closed again). bMustExist only decides
    // whether the object counts as usable for writing: a file that need not exist is usable even when it is
    // missing.
    bool OpenIni(const char* szPath, bool bMustExist);
    bool IsUsable() const { return m_bUsable; }
    const std::string& Path() const { return m_strPath; }

    // The value of a key, the empty string when the key is missing or its value is 64 MiB
    // or longer.
    std::string ReadString(const char* szSection, const char* szKey) const;
    bool WriteString(const char* szSection, const char* szKey, const char* szValue) const;

private:
    std::string m_strPath;
    bool m_bUsable;
};
