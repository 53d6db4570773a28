// Shared by the end-to-end tests: MOF builders, repository dumps, trace record look-ups, and a
// registry value of the test prefix changed for one test.
#pragma once

#include "EmuWorld.h"
#include "PortableWorld.h"
#include "TestKit.h"

#include <cstring>
#include <string>

namespace e2e
{
// "#pragma namespace" for a path such as root\A\B (single backslashes), on the local machine.
inline std::string Pragma(const std::string& strNs)
{
    std::string strText = "#pragma namespace(\"\\\\\\\\.";
    for (char c : "\\" + strNs)
        strText += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return strText + "\")\n";
}

// Three lines: creates the namespace in its parent and switches to it.
inline std::string Ns(const std::string& strPath)
{
    const size_t nSlash = strPath.rfind('\\');
    return Pragma(strPath.substr(0, nSlash)) + "instance of __Namespace { Name = \"" +
           strPath.substr(nSlash + 1) + "\"; };\n" + Pragma(strPath);
}

// One class in namespace root\TarvosTest: its qualifier list (if any) on line 4, the class
// on the lines from there to 7 (or 8 with a qualifier line ending in "\n").
inline std::string ClassMof(const std::string& strClass, const std::string& strQualifiers = "")
{
    return Ns("root\\TarvosTest") + strQualifiers + "class " + strClass + "\n{\n    [key] string Name;\n};\n";
}

// The dump of a repository that holds just what the MOF texts define, compiled one after the
// other. Built in the world itself, which then holds it, so that both sides of a comparison come
// from the same WMI (and a second CEmuWorld would take the first one's environment variables).
inline std::string DumpOf(const testkit::CWmiWorld& world, const std::string& strMof,
                          const std::string& strMore = "")
{
    world.Reset();
    for (const std::string* pText : {&strMof, &strMore})
        if (!pText->empty())
            world.Seed(*pText);
    return world.Dump("root");
}

// Columns: date, pid, tid, level, class, method, category, text, message.
inline std::string Column(const std::string& strRecord, size_t nColumn)
{
    const auto cols = testkit::SplitTabs(strRecord);
    return nColumn < cols.size() ? cols[nColumn] : std::string();
}
inline std::string Message(const std::string& strRecord)
{
    return Column(strRecord, 8);
}

// The single record of a method, category and text as "message" (or "level message" with
// bLevel); a marker when there is not exactly one.
inline std::string Only(const testkit::TarvosRun& run, const std::string& strMethod,
                        const std::string& strCategory, const std::string& strText = "", bool bLevel = false)
{
    const auto found = run.Records(strMethod, strCategory, strText);
    if (found.size() != 1)
        return "<" + std::to_string(found.size()) + " records>";
    return (bLevel ? Column(found[0], 3) + " " : std::string()) + Message(found[0]);
}

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
