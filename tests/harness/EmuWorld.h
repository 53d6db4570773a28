// The emulated WMI of one end-to-end test: a private repository and fault file in a scratch
// folder, chosen through the emulator's environment variables, which Tarvos.exe inherits.
#pragma once

#include "TestKit.h"

#include <string>

namespace testkit
{
class CEmuWorld
{
public:
    CEmuWorld();
    ~CEmuWorld();
    CEmuWorld(const CEmuWorld&) = delete;
    CEmuWorld& operator=(const CEmuWorld&) = delete;

    const CScratchDir& Dir() const { return m_dir; }
    // Writes a MOF file into the scratch folder and returns its full path.
    std::string WriteMof(const std::string& strName, const std::string& strText) const;
    // Compiles MOF text straight into the repository (not through Tarvos).
    void Seed(const std::string& strText) const;
    // The repository's stable text form below a namespace.
    std::string Dump(const std::string& strNamespace) const;
    // A fault switch line, for example "ConnectServer 0x80041003".
    void Fault(const std::string& strLine) const;
    // Output of wmiemutool with the given arguments (exit code in *pdwExit).
    std::string Tool(const std::string& strArgs, DWORD* pdwExit = nullptr) const;

private:
    CScratchDir m_dir;
};
} // namespace testkit
