// CCompMof: compilation of MOF files into WMI.
#pragma once

#include "ExitCode.h"

#include <string>

class CCompMof
{
public:
    // /CF: compiles szMof unless WMI holds its class in a newer version, or in the same
    // version without OverwriteSameVersion. The scanner's invalid-argument exception and
    // that of a path without a directory leave this function (thrown HRESULT).
    static ExitCode CheckVersionAndCompile(const char* szMof, bool OverwriteSameVersion);
    // /CM: compiles every MOF file whose full path is a non-empty REG_SZ value of the key
    // (a full path beginning with a root-key name), in registry order and without a version
    // check. A file that fails is traced and does not change the result: 0, or 16 when the
    // compiler cannot be created; 0 also when the key cannot be opened. A registered path
    // without a directory throws E_INVALIDARG out of this function.
    static ExitCode CompileMOFsFromRegistry(std::string szRegKey);
};
