#!/bin/bash
# Installs what the build and the tests need, when it is missing (Debian; run as root).
#   prerequisites.sh --list    only names the missing packages on stdout (any user)
set -euo pipefail
need=()
command -v cmake >/dev/null || need+=(cmake)
command -v clang-format >/dev/null || need+=(clang-format)
command -v ccache >/dev/null || need+=(ccache)
command -v ninja >/dev/null || need+=(ninja-build)
command -v x86_64-w64-mingw32-g++-posix >/dev/null || need+=(g++-mingw-w64-x86-64-posix)
command -v x86_64-w64-mingw32-windres >/dev/null || need+=(binutils-mingw-w64-x86-64)
command -v wine >/dev/null || need+=(wine)
[ -x /usr/lib/wine/wine64 ] || need+=(wine64)
[ -f /usr/src/googletest/CMakeLists.txt ] || need+=(googletest)
if [ "${1:-}" = --list ]; then
    echo "${need[*]}"
    exit 0
fi
if [ ${#need[@]} -gt 0 ]; then
    echo "Installing: ${need[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q
    apt-get install -y -q "${need[@]}"
fi
