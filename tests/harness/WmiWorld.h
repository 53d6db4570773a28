// The WMI that an end-to-end test proves Tarvos.exe against, and a scratch folder for its files.
// Two worlds: the emulator's private repository with its fault switches (CEmuWorld, Wine only),
// and the machine's own WMI through documented calls only (CPortableWorld, any machine).
#pragma once

#include "TestKit.h"

#include <string>

namespace testkit
{
class CWmiWorld
{
public:
    CWmiWorld() = default;
    virtual ~CWmiWorld() = default;
    CWmiWorld(const CWmiWorld&) = delete;
    CWmiWorld& operator=(const CWmiWorld&) = delete;

    const CScratchDir& Dir() const { return m_dir; }
    // Writes a file (folders below the scratch folder made as needed) and returns its full path.
    std::string WriteMof(const std::string& strName, const std::string& strText) const;
    // Compiles MOF text straight into the repository (not through Tarvos).
    virtual void Seed(const std::string& strText) const = 0;
    // The repository's stable text form below a namespace (see WmiText.h).
    virtual std::string Dump(const std::string& strNamespace) const = 0;
    // Back to the world's starting state.
    virtual void Reset() const = 0;
    // The dump of root when it holds just what the MOF texts define, compiled one after the
    // other. Made in the world itself, which then holds it: both sides of a comparison come from
    // the same WMI (one CEmuWorld is live at a time).
    std::string DumpOf(const std::string& strMof, const std::string& strMore = "") const;

private:
    CScratchDir m_dir;
};

// What Dump returns when it failed (the test failed too): a text that no other dump equals.
std::string FailedDump();
// "#pragma namespace" for a path such as root\A\B (single backslashes), on the local machine.
std::string Pragma(const std::string& strNs);
// Three lines: creates the namespace in its parent and switches to it.
std::string Ns(const std::string& strPath);
// One class in namespace root\TarvosTest: its qualifier list (if any) on line 4, the class
// on the lines from there to 7 (or 8 with a qualifier line ending in "\n").
inline std::string ClassMof(const std::string& strClass, const std::string& strQualifiers = "")
{
    return Ns("root\\TarvosTest") + strQualifiers + "class " + strClass + "\n{\n    [key] string Name;\n};\n";
}
} // namespace testkit
