#!/usr/bin/env bash
# Installs what the build needs (Debian 12), then configures and builds.
# Usage: scripts/setup.sh [build-dir [extra cmake args...]]
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(cmake ninja-build g++ g++-multilib clang libclang-rt-14-dev
          libgtest-dev libgmock-dev libbenchmark-dev libicu-dev libffi-dev libsqlite3-dev
          pkg-config libdfp-dev
          libreoffice-calc-nogui libreoffice-base-drivers gnumeric python3-dbfread sqlite3)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

build=${1:-build}
shift || true
cmake -S . -B "$build" -G Ninja "$@" > /dev/null
cmake --build "$build" -j "$(nproc)"
# SheetJS, a reader of the export tests, lives in the build tree.
if [ -f "$build/tests/CTestTestfile.cmake" ] && [ ! -d "$build/npm/node_modules/xlsx" ]; then
  npm install --prefix "$build/npm" --no-audit --no-fund --silent xlsx@0.18.5
fi
