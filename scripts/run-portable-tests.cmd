@echo off
rem Runs the portable end-to-end cases of Tarvos against this machine's WMI with the Tarvos.exe
rem beside this file, and prints the GoogleTest summary. Run it from an administrator's command
rem prompt: the cases create and delete the namespaces root\TarvosTest*, and change registry
rem values (trace key, autorecover list, /CM key) that each case restores. Arguments go to
rem the test program, for example --gtest_filter=DeleteIni.*
setlocal
if not exist "%~dp0Tarvos.exe" (
    echo run-portable-tests: no Tarvos.exe beside this file ^(%~dp0^) 1>&2
    exit /b 2
)
"%~dp0tarvos_portable_tests.exe" %*
exit /b %errorlevel%
