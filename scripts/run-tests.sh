#!/bin/bash
# Builds everything, runs all tests (unit and end-to-end) under Wine through CTest, and checks
# that src/ and tests/ keep the project's formatting.
# The tests make their own Wine prefixes inside the build tree.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
status=0
ctest --preset mingw "$@" || status=$?
# The sources keep the project's .clang-format: a difference fails the run too.
scripts/check-format.sh || status=1
exit $status
