// Shared by the end-to-end tests: MOF and trace helpers, and a registry value changed for one test.
#pragma once

#include "EmuWorld.h"
#include "PortableWorld.h"
#include "TestKit.h"

#include <cstring>
#include <string>

namespace e2e
{
using testkit::Ns;
using testkit::Pragma;

// One class in namespace root\TarvosTest: its qualifier list (if any) on line 4, the class
// on the lines from there to 7 (or 8 with a qualifier line ending in "\n").
inline std::string ClassMof(const std::string& strClass, const std::string& strQualifiers = "")
{
    return Ns("root\\TarvosTest") + strQualifiers + "class " + strClass + "\n{\n    [key] string Name;\n};\n";
}

using testkit::Column;
using testkit::Message;
using testkit::Only;

// Records of main turning the job's 18 (file not newer) into 0.
inline size_t OldVersionForgiven(const testkit::TarvosRun& run)
{
    return run.Records("main", "Internal", "Changing EXITCODE_ERR_MOF_OLD_VERSION to EXITCODE_OK").size();
}

// A string value of the machine's registry set, or removed (null), for the life of the object.
class CPrefixValue : public testkit::CSavedValue
{
public:
    CPrefixValue(HKEY hRoot, const char* szKey, const char* szName, const char* szValue)
        : CSavedValue(hRoot, szKey, szName)
    {
        if (szValue != nullptr)
            RegSetKeyValueA(hRoot, szKey, szName, REG_SZ, szValue, static_cast<DWORD>(strlen(szValue) + 1));
        else
            RegDeleteKeyValueA(hRoot, szKey, szName);
    }
};
} // namespace e2e
