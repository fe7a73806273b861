#!/usr/bin/env bash
# Builds the fuzz targets of fuzz/ with clang and libFuzzer under AddressSanitizer +
# UndefinedBehaviorSanitizer (build-fuzz/) and runs each from a scratch copy of its
# committed corpus under fuzz/corpus/<target>, so the repository is never written:
# 100,000 executions each by default, or for SECONDS each when given (and then at
# least 100,000 executions, or the run fails). A crash, leak, timeout or sanitizer
# report fails the run and names the reproducer; the executions of every target are
# printed. Without clang it says so and succeeds.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-}
case $seconds in
    *[!0-9]*) echo "usage: scripts/fuzz.sh [SECONDS]" >&2; exit 2 ;;
esac
floor=100000
if [ -n "$seconds" ]; then
    budget=(-max_total_time="$seconds")
else
    # The cap is only a guard against a machine far slower than this one.
    budget=(-runs="$floor" -max_total_time=1800)
fi

cxx=$(command -v clang++ || command -v clang++-14 || true)
cc=$(command -v clang || command -v clang-14 || true)
if [ -z "$cxx" ] || [ -z "$cc" ]; then
    echo "fuzz: clang not found, fuzzing skipped" >&2
    exit 0
fi

dir=build-fuzz
# fuzzer-no-link gives libFuzzer coverage of the library itself, not only of the
# target's own file; only the targets are built, as the plug-in's own link check
# (-z defs) does not hold for clang's sanitizer runtimes.
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DQUIL_BUILD_FUZZ=ON -DQUIL_SANITIZE=address,undefined,fuzzer-no-link \
    -DQUIL_BUILD_BENCH=OFF >/dev/null
cmake --build "$dir" --target quil_fuzzers -j"$(nproc)"

targets=()
for source in fuzz/fuzz_*.cpp; do
    name=${source#fuzz/fuzz_}
    targets+=("${name%.cpp}")
done

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
out=$dir/fuzz-results
rm -rf "$out"
mkdir -p "$out"

run_target() {
    local target=$1
    mkdir -p "$scratch/$target" "$out/$target"
    if [ -d "fuzz/corpus/$target" ]; then
        cp -R "fuzz/corpus/$target/." "$scratch/$target/"
    fi
    local rc=0
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        "$dir/fuzz_$target" "${budget[@]}" -timeout=60 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$out/$target/" "$scratch/$target" \
        >"$out/$target.log" 2>&1 || rc=$?
    echo "$rc" >"$out/$target.rc"
}

# The quick targets as many at a time as there are cores; then the plug-in, whose
# every input starts and stops the library's threads, alone with every core.
slots=$(nproc)
running=0
what=${seconds:+for ${seconds}s}
for target in "${targets[@]}"; do
    [ "$target" = plugin ] && continue
    if [ "$running" -ge "$slots" ]; then
        wait -n || true
        running=$((running - 1))
    fi
    echo "fuzz: $target ${what:-for $floor executions}" >&2
    run_target "$target" &
    running=$((running + 1))
done
wait
echo "fuzz: plugin ${what:-for $floor executions}" >&2
run_target plugin

failed=0
for target in "${targets[@]}"; do
    rc=$(cat "$out/$target.rc" 2>/dev/null || echo 1)
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$out/$target.log" | tail -n 1)
    if [ "$rc" -eq 0 ] && [ "${runs:-0}" -ge "$floor" ]; then
        echo "fuzz: $target: $runs executions, no findings" >&2
        continue
    fi
    if [ "$rc" -eq 0 ]; then
        failed=1
        echo "fuzz: $target FAILED: ${runs:-no} executions, fewer than $floor" >&2
        continue
    fi
    failed=1
    echo "fuzz: $target FAILED (exit $rc); last lines of $out/$target.log:" >&2
    tail -n 40 "$out/$target.log" >&2
    for artifact in "$out/$target"/*; do
        [ -e "$artifact" ] || continue
        echo "fuzz: $target: reproducer $artifact (run: $dir/fuzz_$target $artifact)" >&2
    done
done
exit "$failed"
