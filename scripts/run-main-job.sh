#!/bin/bash
# The main job: Tarvos.exe /CF against the emulated WMI in a private Wine prefix, with
# tracing switched on. Shows the repository before and after, the exit code and the trace.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh >/dev/null

build=$PWD/build/mingw
prefix=$build/mainjob-prefix
tests/harness/wineprefix.sh setup "$prefix" "$build/tests/wmiemu/wmiemu.reg"
trap 'tests/harness/wineprefix.sh cleanup "$prefix"' EXIT
export WINEPREFIX=$prefix WINEDEBUG=-all DISPLAY=

demo=$prefix/drive_c/tarvos-demo
mkdir -p "$demo"
cp examples/DemoAgent_1.0.mof examples/DemoAgent.mof "$demo/"
tool() { wine "$build/bin/wmiemutool.exe" "$@"; }
tool seed 'C:\tarvos-demo\DemoAgent_1.0.mof' >/dev/null

key='HKLM\Software\Brevane\Common\Tracing\Tarvos.exe\1.02'
wine reg add "$key" /v Trace /t REG_DWORD /d 1 /f >/dev/null
wine reg add "$key" /v TraceLevel /t REG_DWORD /d 6 /f >/dev/null
wine reg add "$key" /v TraceClear /t REG_DWORD /d 1 /f >/dev/null
wine reg add "$key" /v TraceFile /t REG_SZ /d 'C:\tarvos-demo\Tarvos.trc' /f >/dev/null

echo "== Repository before (root\\TarvosDemo)"
tool dump 'root\TarvosDemo' | tr -d '\r'
echo
echo "== Tarvos.exe /CF /MOF=C:\\tarvos-demo\\DemoAgent.mof"
set +e
wine "$build/bin/Tarvos.exe" /CF '/MOF=C:\tarvos-demo\DemoAgent.mof'
code=$?
set -e
echo "Exit code: $code"
echo
echo "== Trace file C:\\tarvos-demo\\Tarvos.trc"
iconv -f UTF-16 -t UTF-8 "$demo/Tarvos.trc" | tr -d '\r'
echo
echo "== Repository after (root\\TarvosDemo)"
tool dump 'root\TarvosDemo' | tr -d '\r'
