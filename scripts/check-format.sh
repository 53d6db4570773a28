#!/bin/bash
# Fails when a C++ file under src/, tests/ or wmiemu/ differs from .clang-format (Debian's clang-format 14).
set -euo pipefail
cd "$(dirname "$0")/.."
command -v clang-format >/dev/null || { echo "clang-format is missing: apt-get install clang-format" >&2; exit 1; }
mapfile -t files < <(git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'wmiemu/*.cpp' 'wmiemu/*.h')
bad=()
for f in "${files[@]}"; do
    clang-format --dry-run --Werror "$f" >/dev/null 2>&1 || bad+=("$f")
done
if [ ${#bad[@]} -gt 0 ]; then
    echo "These files differ from .clang-format:" >&2
    printf '  %s\n' "${bad[@]}" >&2
    echo "Fix with: clang-format -i \$(git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'wmiemu/*.cpp' 'wmiemu/*.h')" >&2
    exit 1
fi
echo "Formatting: ${#files[@]} files match .clang-format"
