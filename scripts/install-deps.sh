#!/usr/bin/env bash
# Installs the Debian packages Kestrum needs to build, test and run.
# Safe to run repeatedly: packages already present are skipped, and apt is
# only touched when something is missing.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build ccache pkg-config git
  clang clang-format libclang-rt-dev
  libpugixml-dev libicu-dev libical-dev libplist-dev
  libcurl4-openssl-dev libsecret-1-dev libbelcard-dev
  libcli11-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  python3 tzdata locales
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  SUDO=""
  if [[ $(id -u) -ne 0 ]]; then SUDO="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
