#!/usr/bin/env bash
# Configures and builds into DIR (default build/). Extra arguments go to cmake; every
# stage that calls this names the options it needs, so it never depends on what an
# earlier stage left in DIR's cache. With QUIL_QUIET_BUILD=1 the compiler's lines are
# replaced by a progress line every tenth of the way.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
shift || true
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
if [ "${QUIL_QUIET_BUILD:-0}" = 1 ]; then
    log=$dir/build.log
    # Ninja's "[N/TOTAL]" lines, shown at each further tenth; everything on failure.
    if ! cmake --build "$dir" -j"$(nproc)" 2>&1 | tee "$log" | awk -v dir="$dir" '
        /^\[[0-9]+\/[0-9]+\]/ {
            step = $1; gsub(/[][]/, "", step); split(step, n, "/")
            tenth = int(10 * n[1] / n[2])
            if (tenth > shown) {
                shown = tenth
                printf "build: %s %d%% (%d of %d steps)\n", dir, 10 * tenth, n[1], n[2]
                fflush()
            }
        }'; then
        echo "build: failed; the whole log is $log" >&2
        tail -n 40 "$log" >&2
        exit 1
    fi
else
    cmake --build "$dir" -j"$(nproc)"
fi
