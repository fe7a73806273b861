#!/usr/bin/env bash
# Replay throughput against its floor, measured side by side: generates the one-hour
# trace (360,000 accelerometer samples), replays it with quil-replay (as fast as it
# goes, then waiting after every record), runs the bare queue benchmark on as many
# samples, and prints the rates and their ratio. Usage: scripts/bench-replay.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
trace=$(mktemp --suffix=.trace)
trap 'rm -f "$trace"' EXIT
scripts/make-hour-trace.py "$trace"
samples=360000

seconds() {  # wall-clock seconds of a command, its output discarded
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}

floor=$("$build/quil_bench" --benchmark_filter=BareQueueFloor --benchmark_format=json |
    /usr/bin/python3 -c 'import json,sys; print(json.load(sys.stdin)["benchmarks"][0]["items_per_second"])')
fast=$(seconds "$build/quil-replay" "$trace")
peak=$( { /usr/bin/time -f "%M" "$build/quil-replay" "$trace" >/dev/null; } 2>&1 | tail -1)
every=$(seconds "$build/quil-replay" --sync-every-record "$trace")

/usr/bin/python3 - "$samples" "$floor" "$fast" "$every" "$peak" <<'PY'
import sys
samples, floor, fast, every, peak = int(sys.argv[1]), *map(float, sys.argv[2:])
print("bare queue floor:            %9.0f samples/s" % floor)
print("quil-replay:                 %9.0f samples/s  (%.2f s, peak RSS %.0f MB)" % (samples / fast, fast, peak / 1024))
print("quil-replay --sync-every-record: %5.0f samples/s  (%.2f s)" % (samples / every, every))
print("replay / floor:              %9.2f  (target >= 0.5)" % (samples / fast / floor))
PY
