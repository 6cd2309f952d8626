#!/usr/bin/env bash
# Installs what the build needs (Debian 12), then configures and builds.
# Usage: scripts/setup.sh [build-dir [extra cmake args...]]
# Prints one line per step; the tools' output goes to <build-dir>/setup.log,
# whose tail is shown when a step fails.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build}
shift || true
mkdir -p "$build"
log="$build/setup.log"
: > "$log"

step() {
  local what=$1
  shift
  echo "$what"
  if ! "$@" >> "$log" 2>&1; then
    echo "failed: $what (last lines of $log follow)" >&2
    tail -n 40 "$log" >&2
    exit 1
  fi
}

packages=(cmake ninja-build g++ g++-multilib clang libclang-rt-14-dev
          libgtest-dev libgmock-dev libbenchmark-dev libicu-dev libffi-dev libsqlite3-dev
          pkg-config libdfp-dev
          libreoffice-calc-nogui libreoffice-base-drivers gnumeric python3-dbfread sqlite3)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo_cmd=()
  [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  step "updating the package lists" "${sudo_cmd[@]}" apt-get update
  step "installing: ${missing[*]}" "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"
fi

step "configuring $build" cmake -S . -B "$build" -G Ninja "$@"
step "building $build" cmake --build "$build" -j "$(nproc)"
# SheetJS, a reader of the export tests, lives in the build tree.
if [ -f "$build/tests/CTestTestfile.cmake" ] && [ ! -d "$build/npm/node_modules/xlsx" ]; then
  step "installing SheetJS into $build/npm" npm install --prefix "$build/npm" --no-audit --no-fund xlsx@0.18.5
fi
