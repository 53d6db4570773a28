// The emulated WMI of one end-to-end test: a private repository and fault file in a scratch
// folder, chosen through the emulator's environment variables, which Tarvos.exe inherits. They are
// the whole process's: one world is live at a time (a second one fails its test and changes
// nothing), and the values from before come back when it goes.
#pragma once

#include "WmiWorld.h"

#include <string>

namespace testkit
{
class CEmuWorld : public CWmiWorld
{
public:
    CEmuWorld();
    ~CEmuWorld() override;

    void Seed(const std::string& strText) const override;
    // The emulator's own dump (wmiemutool dump).
    std::string Dump(const std::string& strNamespace) const override;
    // A fresh repository and no fault switches.
    void Reset() const override;
    // A fault switch line, for example "ConnectServer 0x80041003".
    void Fault(const std::string& strLine) const;
    // Output of wmiemutool with the given arguments (exit code in *pdwExit).
    std::string Tool(const std::string& strArgs, DWORD* pdwExit = nullptr) const;

private:
    bool m_bLive = false;
    std::string m_astrBefore[2]; // the variables' values before, "\n" when unset
};
} // namespace testkit
