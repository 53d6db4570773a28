// CCompMof: compilation of MOF files into WMI.
#pragma once

#include "ExitCode.h"

class CCompMof
{
public:
    // /CF: compiles szMof unless WMI holds its class in a newer version, or in the same
    // version without OverwriteSameVersion. The scanner's invalid-argument exception and
    // that of a path without a directory leave this function (thrown HRESULT).
    static ExitCode CheckVersionAndCompile(const char* szMof, bool OverwriteSameVersion);
};
