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

/usr/bin/python3 - "$build" "$trace" <<'PY'
import json, resource, subprocess, sys, time
build, trace = sys.argv[1], sys.argv[2]
samples = 360000

def replay(*options):
    start = time.monotonic()
    subprocess.run([build + "/quil-replay", *options, trace], check=True,
                   stdout=subprocess.DEVNULL)
    return time.monotonic() - start

fast = replay()
peak_mb = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024  # quil-replay's
bench = subprocess.run([build + "/quil_bench", "--benchmark_filter=BareQueueFloor",
                        "--benchmark_format=json"], check=True, capture_output=True, text=True)
floor = json.loads(bench.stdout)["benchmarks"][0]["items_per_second"]
every = replay("--sync-every-record")
print("bare queue floor:                %9.0f samples/s" % floor)
print("quil-replay:                     %9.0f samples/s  (%.2f s, peak RSS %.0f MB)"
      % (samples / fast, fast, peak_mb))
print("quil-replay --sync-every-record: %9.0f samples/s  (%.2f s)" % (samples / every, every))
print("replay / floor:                  %9.2f  (target >= 0.5)" % (samples / fast / floor))
PY
