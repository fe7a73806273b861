#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite: once as released, once under
# AddressSanitizer + UndefinedBehaviorSanitizer, once under ThreadSanitizer, with the
# Linux platform layer's own tests in a plain Linux-platform build; then fuzzes every
# fuzz target for a bounded time (scripts/fuzz.sh, when clang is there).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
jobs=$(nproc)

scripts/build.sh build
ctest --test-dir build --output-on-failure -j"$jobs"

# The Linux platform layer and quil-live: a plain build of their targets and their tests.
cmake -S . -B build-linux -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUIL_PLATFORM=linux \
    -DQUIL_BUILD_TESTS=ON -DQUIL_BUILD_BENCH=OFF >/dev/null
cmake --build build-linux -j"$jobs" --target quil_linux_tests quil_live_tests
ctest --test-dir build-linux --output-on-failure -j"$jobs" -L linux

scripts/build.sh build-asan -DQUIL_SANITIZE=address,undefined -DQUIL_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build-asan --output-on-failure -j"$jobs" -E '^format$'

scripts/build.sh build-tsan -DQUIL_SANITIZE=thread -DQUIL_BUILD_BENCH=OFF
TSAN_OPTIONS=halt_on_error=1 \
    ctest --test-dir build-tsan --output-on-failure -j"$jobs" -E '^format$'

scripts/fuzz.sh 60
