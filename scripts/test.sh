#!/usr/bin/env bash
# Builds and runs the whole test suite twice: as released, and under
# AddressSanitizer with UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

scripts/setup.sh build-test
ctest --test-dir build-test --output-on-failure -j "$jobs"

scripts/setup.sh build-asan -DZR_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j "$jobs"
echo "all tests passed"
