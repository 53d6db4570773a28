#!/bin/bash
# Configures and builds the mingw-w64 cross-build (build/mingw).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/prerequisites.sh
cmake --preset mingw >/dev/null
cmake --build --preset mingw -j "$(nproc)"
