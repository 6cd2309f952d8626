#!/usr/bin/env bash
# Builds and runs the whole test suite twice: as released, and under
# AddressSanitizer with UndefinedBehaviorSanitizer. Then compiles the other
# documented builds (optimised with benchmarks, and the clang fuzz targets)
# so that neither can break unnoticed; those are not run here.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

scripts/setup.sh build-test
ctest --test-dir build-test --output-on-failure -j "$jobs"

scripts/setup.sh build-asan -DZR_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j "$jobs"

scripts/setup.sh build-bench -DZR_BUILD_BENCH=ON -DCMAKE_BUILD_TYPE=Release
scripts/setup.sh build-fuzz -DZR_BUILD_FUZZ=ON -DZR_BUILD_TESTS=OFF \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
echo "all tests passed; the benchmark and fuzz builds compile"
