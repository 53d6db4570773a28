// EmuFaults.h - fault switches: make an operation fail with a chosen HRESULT, or wait first.
//
// The switches are lines of a text file, "faults.txt" beside the repository file unless the
// environment variable WMIEMU_FAULTS or the value "Faults" of HKLM\Software\WmiEmu names another:
//   <Method> [0x8004xxxx] [ns=<namespace>] [class=<class>] [delay=<milliseconds>]
// <Method> is the interface method's name (ConnectServer, GetObject, PutClass, DeleteClass,
// PutInstance, DeleteInstance, CreateInstanceEnum, CreateClassEnum, ExecQuery, OpenNamespace, Next,
// Reset, Get, Put, GetQualifierSet, GetPropertyQualifierSet, SpawnInstance, QualifierGet, QualifierPut,
// QualifierDelete, CompileFile) or "*" for all. ns and class narrow the switch (case-insensitive);
// the first matching line counts. '#' starts a comment line. The file is read on every call.
#pragma once

#include "EmuTypes.h"

namespace wmiemu
{

struct Fault
{
    bool bMatched = false;
    HRESULT hr = S_OK; // S_OK: no failure, only the delay
    DWORD dwDelayMs = 0;
};

std::wstring FaultsFilePath();
Fault FindFault(const wchar_t* wszMethod, const std::wstring& ns, const std::wstring& cls);
// Waits the delay of the matching switch and returns its HRESULT (S_OK when none).
HRESULT ApplyFault(const wchar_t* wszMethod, const std::wstring& ns, const std::wstring& cls);

} // namespace wmiemu
