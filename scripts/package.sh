#!/bin/bash
# Makes the release package Tarvos-<version>-win64.zip (one folder of that name) in the build tree
# (build/mingw, or the one in TARVOS_BUILD): Tarvos.exe, README.md, the portable test program
# tarvos_portable_tests.exe with run-portable-tests.cmd, and the dump tool wmidump.exe. Builds
# first unless --no-build.
# Prints the package's path.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${TARVOS_BUILD:-build/mingw}
if [ "${1:-}" != --no-build ]; then
    if [ -n "${TARVOS_BUILD:-}" ]; then cmake --build "$build" >/dev/null; else scripts/build.sh >/dev/null; fi
fi
version=$(sed -n 's/^project(Tarvos VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=Tarvos-$version-win64
stage=$build/package
rm -rf "$stage" "$build/$name.zip"
mkdir -p "$stage/$name"
cp "$build"/bin/{Tarvos.exe,tarvos_portable_tests.exe,wmidump.exe,run-portable-tests.cmd} README.md "$stage/$name/"
(cd "$stage" && cmake -E tar cf "../$name.zip" --format=zip "$name")
rm -rf "$stage"
echo "$build/$name.zip"
