#!/usr/bin/env bash
# Sets up, builds and replays every bundled example trace, printing what the host sees.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build -DQUIL_BUILD_TESTS=OFF -DQUIL_BUILD_BENCH=OFF
for trace in examples/*.trace; do
    echo "== ${trace}"
    build/quil-replay "$trace"
done
