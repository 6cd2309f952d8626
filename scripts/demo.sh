#!/usr/bin/env bash
# Installs, builds and runs the demonstration program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build -DZR_BUILD_TESTS=OFF
exec build/tools/zrdemo
