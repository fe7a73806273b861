#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite: once as released, once under
# AddressSanitizer + UndefinedBehaviorSanitizer, once under ThreadSanitizer, and the
# Linux platform layer's own tests in Linux-platform builds the same three ways; then
# fuzzes every fuzz target for 100,000 executions (scripts/fuzz.sh, when clang is there).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
jobs=$(nproc)

# Each stage names what it builds: a build/ left by run-examples.sh (no tests) is
# reconfigured, and a stage that finds no test fails.
scripts/build.sh build -DQUIL_BUILD_TESTS=ON -DQUIL_BUILD_BENCH=ON
ctest --test-dir build --output-on-failure --no-tests=error -j"$jobs"

# The Linux platform layer, quil-live and quil-motiond: their targets and tests, plainly,
# under AddressSanitizer + UndefinedBehaviorSanitizer and under ThreadSanitizer. The tests
# run on umockdev's emulated devices (tests/support/umockdev/): about a minute of tests
# per build here, two under ThreadSanitizer, most of it recordings and buses in real time.
linux_stage() {
    local dir=$1 sanitize=$2
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUIL_PLATFORM=linux \
        -DQUIL_SANITIZE="$sanitize" -DQUIL_BUILD_TESTS=ON -DQUIL_BUILD_BENCH=OFF >/dev/null
    cmake --build "$dir" -j"$jobs" --target quil_linux_tests quil_live_tests quil_motiond_tests \
        quil_motiond_device_tests quil_service_bench
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 TSAN_OPTIONS=halt_on_error=1 \
        ctest --test-dir "$dir" --output-on-failure --no-tests=error -j"$jobs" -L linux
}
linux_stage build-linux ""
linux_stage build-linux-asan address,undefined
linux_stage build-linux-tsan thread

scripts/build.sh build-asan -DQUIL_SANITIZE=address,undefined -DQUIL_BUILD_TESTS=ON \
    -DQUIL_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build-asan --output-on-failure --no-tests=error -j"$jobs" -E '^format$'

scripts/build.sh build-tsan -DQUIL_SANITIZE=thread -DQUIL_BUILD_TESTS=ON -DQUIL_BUILD_BENCH=OFF
TSAN_OPTIONS=halt_on_error=1 \
    ctest --test-dir build-tsan --output-on-failure --no-tests=error -j"$jobs" -E '^format$'

scripts/fuzz.sh
