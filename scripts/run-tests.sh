#!/bin/bash
# Builds everything and runs all tests (unit and end-to-end) under Wine through CTest.
# The tests make their own Wine prefixes inside the build tree.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
ctest --preset mingw "$@"
