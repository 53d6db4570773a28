#!/bin/bash
# The CI workflow's Linux job as far as it can run here, and the package it hands on: every
# command of that job but the first (the test command, which runs this) is run, the package
# holds exactly its files, and its run-portable-tests.cmd finds the test program and Tarvos.exe
# beside it (listing the cases under Wine). Exit 0 when all holds. CTest gives the build tree in
# TARVOS_BUILD.
set -uo pipefail
cd "$(dirname "$0")/../.."
fail() {
    echo "FAILED: $*"
    exit 1
}
mapfile -t commands < <(sed -n '/^  linux:/,/^  [a-z]*:$/s/^ *- run: //p' .github/workflows/windows.yml)
[ "${commands[0]:-}" = scripts/run-tests.sh ] || fail "the Linux job does not start with the test command: ${commands[*]}"
for command in "${commands[@]:1}"; do
    echo "run: $command"
    bash -c "$command" || fail "$command"
done
version=$(sed -n 's/^project(Tarvos VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=Tarvos-$version-win64
zip=$(realpath -m "${TARVOS_BUILD:-build/mingw}/$name.zip")
[ -f "$zip" ] || fail "no $zip"
listing=$(cmake -E tar tf "$zip" | grep -v '/$' | sort | tr '\n' ' ')
echo "package: $listing"
wanted="$name/README.md $name/Tarvos.exe $name/run-portable-tests.cmd $name/tarvos_portable_tests.exe $name/wmidump.exe "
[ "$listing" = "$wanted" ] || fail "the package holds: $listing (wanted $wanted)"
unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
(cd "$unpacked" && cmake -E tar xf "$zip") || fail "cannot unpack $zip"
cases=$(wine cmd /c "Z:${unpacked//\//\\}\\$name\\run-portable-tests.cmd" --gtest_list_tests </dev/null 2>&1)
grep -q "^DeleteIni\." <<<"$cases" || fail "the package's command file lists no cases: $cases"
echo "the package's command file lists $(grep -c '^  ' <<<"$cases") cases"
