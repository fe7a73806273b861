#!/usr/bin/env bash
# Builds the Debian packages (libquil-motion0, libquil-motion-dev, quil-motion-tools)
# from the build in DIR (default build/, built first if needed) into DIR/packages.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
scripts/build.sh "$dir"
rm -rf "$dir/packages"
cpack --config "$dir/CPackConfig.cmake" -B "$dir/packages" >/dev/null
ls "$dir"/packages/*.deb
