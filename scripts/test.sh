#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the whole test suite.
#   bash scripts/test.sh            # the development build (preset "dev")
#   bash scripts/test.sh asan       # the same suite under AddressSanitizer + UBSan
set -euo pipefail
cd "$(dirname "$0")/.."
# Let clones at other paths share one compiler cache.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
PRESET="${1:-dev}"
bash scripts/install-deps.sh
cmake --preset "$PRESET"
cmake --build --preset "$PRESET"
ctest --preset "$PRESET"
