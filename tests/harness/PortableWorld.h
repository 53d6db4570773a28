// The machine's own WMI, reached only through documented interfaces, so that the same test
// program proves Tarvos.exe on Windows and, under Wine, against the emulator registered as the
// prefix's WMI. A test owns the namespaces below root whose names start with "TarvosTest", and
// those it names (for a job's fixed namespace): they are deleted before and after it, and dumps
// of root show only them. A named namespace that the machine already has is never touched: the
// case fails and says so. Seeding goes through the machine's MOF compiler
// (IMofCompiler::CompileFile); a machine without one fails every case with that message.
#pragma once

#include "WmiWorld.h"

#include <wbemcli.h>

#include <vector>

namespace testkit
{
class CPortableWorld : public CWmiWorld
{
public:
    // Names of further namespaces below root that the test owns, for example "VT_Eventing".
    explicit CPortableWorld(const std::vector<std::string>& named = {});
    ~CPortableWorld() override;
    void Seed(const std::string& strText) const override;
    // "root": the test's own namespaces; any other namespace: it and those below it.
    std::string Dump(const std::string& strNamespace) const override;
    // Deletes the test's own namespaces.
    void Reset() const override;

private:
    std::vector<std::wstring> m_owned; // patterns of wmitext::NameMatches
    bool m_bComInitialized = false;
    IWbemLocator* m_pLocator = nullptr;
    IMofCompiler* m_pCompiler = nullptr;
};
} // namespace testkit
