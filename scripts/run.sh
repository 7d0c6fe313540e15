#!/usr/bin/env bash
# Installs what is missing, builds the kestrum tool and runs its main job.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target kestrum-cli
./build/dev/kestrum --version
./build/dev/kestrum --help
