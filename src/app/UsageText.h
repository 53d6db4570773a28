// The help text of "/?": a banner from the version resource and the option summary.
#pragma once

#include <windows.h>

#include <string>

// A file's version resource: the fixed block and the eleven standard strings.
struct FileVersionInfo
{
    VS_FIXEDFILEINFO fixed;
    std::string CompanyName;
    std::string FileDescription;
    std::string FileVersion;
    std::string InternalName;
    std::string LegalCopyright;
    std::string LegalTrademarks;
    std::string OriginalFilename;
    std::string PrivateBuild;
    std::string ProductName;
    std::string ProductVersion;
    std::string SpecialBuild;
};

// Reads the version resource of szFile. aszPrefixes (null-terminated list of
// language-and-code-page texts such as "040904B0") chooses the string table; without
// it the built-in language table is tried with the code page "B0".
bool ReadFileVersionInfo(const char* szFile, FileVersionInfo* pInfo,
                         const char* const* aszPrefixes = nullptr);

// The whole help text: empty when the option summary resource is missing.
std::string BuildUsageText();
