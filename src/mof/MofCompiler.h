// CMofCompiler: the platform's MOF compiler as the two compile jobs use it (/CF and /CM):
// created once per job, then given one file after the other, each compiled with its own
// folder as the current directory so that relative include pragmas resolve there.
// CCurrentDirectory: the current directory a job started in, put back when the job ends.
#pragma once

#include "ComPtr.h"

#include <windows.h>
#include <wbemcli.h>

#include <string>

class CMofCompiler
{
public:
    // Creates the compiler; the caller reports a failure in its own words.
    HRESULT Create();
    // Makes the text of szMof before its last backslash the current directory (strWorkDir)
    // and compiles szMof, converted with the thread's ANSI code page, with no namespace, no
    // credentials and all flags 0. A path without a backslash throws E_INVALIDARG (as the
    // runtime's string functions do) before anything is changed. The result is that of
    // IMofCompiler::CompileFile: WBEM_S_FALSE, with info filled, is a failed compilation.
    HRESULT CompileInFolder(const char* szMof, std::string& strWorkDir, WBEM_COMPILE_STATUS_INFO& info);
    void Release() { m_spMofCompiler.Release(); }

private:
    CCComPtr<IMofCompiler> m_spMofCompiler;
};

class CCurrentDirectory
{
public:
    // Saves the current directory. An exception that leaves the job before Restore leaves the
    // directory where the last compiled file put it.
    CCurrentDirectory();
    CCurrentDirectory(const CCurrentDirectory&) = delete;
    CCurrentDirectory& operator=(const CCurrentDirectory&) = delete;
    // Puts the saved directory back.
    void Restore() const;

private:
    static const DWORD kMaxDirectory = 1024;
    char m_szSaved[kMaxDirectory];
};
