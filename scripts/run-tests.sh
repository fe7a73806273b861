#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite: once as released, once under
# AddressSanitizer + UndefinedBehaviorSanitizer, once under ThreadSanitizer; then
# fuzzes every fuzz target for a bounded time (scripts/fuzz.sh, when clang is there).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
jobs=$(nproc)

scripts/build.sh build
ctest --test-dir build --output-on-failure -j"$jobs"

scripts/build.sh build-asan -DQUIL_SANITIZE=address,undefined -DQUIL_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build-asan --output-on-failure -j"$jobs" -E '^format$'

scripts/build.sh build-tsan -DQUIL_SANITIZE=thread -DQUIL_BUILD_BENCH=OFF
TSAN_OPTIONS=halt_on_error=1 \
    ctest --test-dir build-tsan --output-on-failure -j"$jobs" -E '^format$'

scripts/fuzz.sh 60
