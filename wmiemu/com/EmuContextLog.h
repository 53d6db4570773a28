// EmuContextLog.h - a record of the call context values that reach the emulator.
//
// When the environment variable WMIEMU_CONTEXT_LOG names a file, every call of ConnectServer,
// GetObject, CreateClassEnum, CreateInstanceEnum and ExecQuery appends one line to it (UTF-8):
//   <Method>\tFeatureName=<v>\tFeatureVersion=<v>\tContextName=<v>
// with "-" for a value the context lacks, or "<Method>\t<no context>" for a call without one.
#pragma once

#include <windows.h>
#include <wbemcli.h>

namespace wmiemu
{

void RecordContext(const wchar_t* wszMethod, IWbemContext* pCtx);

} // namespace wmiemu
