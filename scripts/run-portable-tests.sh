#!/bin/bash
# Runs the portable end-to-end cases under Wine the way run-portable-tests.cmd runs them on
# Windows: the same command file and test program, with the WMI emulator registered as the
# WMI of a fresh prefix (build/mingw/portable-prefix). Arguments go to the test program, e.g.
#   scripts/run-portable-tests.sh --gtest_filter=DeleteIni.*
# Exit code: the command file's (0 when every case passed).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$root/build/mingw
scripts/build.sh >/dev/null
prefix=${PORTABLE_PREFIX:-$build/portable-prefix}
tests/harness/wineprefix.sh setup "$prefix" "$build/wmiemu/wmiemu.reg" >/dev/null
trap 'tests/harness/wineprefix.sh cleanup "$prefix"' EXIT
export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY
status=0
wine cmd /c "Z:${build//\//\\}\\bin\\run-portable-tests.cmd" "$@" </dev/null | tr -d '\r' || status=$?
exit $status
