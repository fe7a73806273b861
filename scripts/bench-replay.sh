#!/usr/bin/env bash
# Replay throughput against its floor, measured side by side: generates the one-hour
# trace (360,000 accelerometer samples), then in ROUNDS alternating rounds replays it
# with quil-replay as fast as it goes and runs the bare queue benchmark on as many
# samples; prints each round's rates and ratio and the median ratio, then one replay
# waiting after every record. Usage: scripts/bench-replay.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
rounds=${2:-5}
trace=$(mktemp --suffix=.trace)
trap 'rm -f "$trace"' EXIT
scripts/make-hour-trace.py "$trace"

/usr/bin/python3 - "$build" "$trace" "$rounds" <<'PY'
import json, statistics, subprocess, sys, time
build, trace, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
samples = 360000

def replay(*options):
    """Seconds taken and peak RSS in MB (GNU time's, which does not count the fork of
    this interpreter as Python's own accounting would)."""
    start = time.monotonic()
    run = subprocess.run(["/usr/bin/time", "-f", "%M", build + "/quil-replay", *options,
                          trace], check=True, stdout=subprocess.DEVNULL,
                         stderr=subprocess.PIPE, text=True)
    return time.monotonic() - start, int(run.stderr.split()[-1]) / 1024

def floor():
    bench = subprocess.run([build + "/quil_bench", "--benchmark_filter=BareQueueFloor",
                            "--benchmark_format=json"], check=True, capture_output=True,
                           text=True)
    return json.loads(bench.stdout)["benchmarks"][0]["items_per_second"]

ratios = []
peak_mb = 0.0
for round in range(rounds):
    fast, peak = replay()
    peak_mb = max(peak_mb, peak)
    queue = floor()
    ratios.append(samples / fast / queue)
    print("round %d: quil-replay %9.0f samples/s (%.2f s), bare queue %9.0f/s, ratio %.2f"
          % (round + 1, samples / fast, fast, queue, ratios[-1]))
every, _ = replay("--sync-every-record")
print("replay / floor: median %.2f, range %.2f to %.2f  (target >= 0.5)"
      % (statistics.median(ratios), min(ratios), max(ratios)))
print("quil-replay peak RSS: %.1f MB" % peak_mb)
print("quil-replay --sync-every-record: %9.0f samples/s  (%.2f s)" % (samples / every, every))
PY
