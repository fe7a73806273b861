#!/usr/bin/env bash
# Rewrites the expected replay output of every recording under tests/data/recordings,
# after an intended change to the importer or the library. Builds first (into DIR,
# default build/). Review the diff before committing it.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
scripts/build.sh "$dir"
root=$PWD/tests/data/recordings
find "$root" -path "$root/expected" -prune -o -type f \
    \( -name '*.csv' -o -name '*.evemu' -o -name '*.events' -o -name '*.txt' \) -print |
    sort | while read -r path; do
    recording=${path#"$root"/}
    cmake -DIMPORT="$PWD/$dir/quil-import" -DREPLAY="$PWD/$dir/quil-replay" -DROOT="$root" \
        -DRECORDING="$recording" -DOUT="$PWD/$dir/imported" -DUPDATE=ON \
        -P cmake/run_import_test.cmake
    echo "updated expected/$recording.expected"
done
