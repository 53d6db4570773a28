// WbemUtil: the parsed and checked command line.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

class WbemUtil
{
public:
    WbemUtil();

    // Parses every argument that begins with "/", makes the MOF and INI names full paths
    // and checks the combination. True when the command line is acceptable.
    bool ParseCmdLine(int argc, char* argv[]);
    // One option without its leading "/"; true when it was recognised.
    bool ParseToken(const char* szToken);
    // Checks the combination of options and completes the registry key of /cm.
    bool CheckParams();

    BOOL Delete;
    BOOL Compile;
    BOOL Force;
    BOOL System;
    BOOL Help;
    BOOL CompileFromReg;
    BOOL SetQualifiers;
    BOOL Backup;
    std::string reg;
    std::string mof;
    std::string ini;

private:
    std::vector<std::string> m_params;
};
