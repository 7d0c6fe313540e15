#!/usr/bin/env bash
# Installs what is missing, builds the kestrum tool and runs its main job.
set -euo pipefail
cd "$(dirname "$0")/.."
# Let clones at other paths share one compiler cache.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
bash scripts/install-deps.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target kestrum-cli
./build/dev/kestrum --version
# Until plans are read from files, the main job schedules the built-in sample plan.
./build/dev/kestrum demo
