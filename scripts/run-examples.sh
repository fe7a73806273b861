#!/usr/bin/env bash
# Sets up, builds and replays every bundled example trace, printing what the host sees.
# Builds only what replaying needs, in build/, and says how far it has got.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
echo "examples: building the plug-in and quil-replay in build/ (a few minutes the first time)" >&2
QUIL_QUIET_BUILD=1 scripts/build.sh build -DQUIL_BUILD_TESTS=OFF -DQUIL_BUILD_BENCH=OFF \
    -DQUIL_BUILD_FUZZ=OFF
for trace in examples/*.trace; do
    echo "== ${trace}"
    build/quil-replay "$trace"
done
echo "examples: replayed $(ls examples/*.trace | wc -l) traces with build/quil-replay; examples/README.md says what each shows" >&2
