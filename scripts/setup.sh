#!/usr/bin/env bash
# Installs the Debian 12 packages the project builds with. Quick when all are there.
set -euo pipefail

packages=(g++ make cmake ninja-build pkg-config binutils libcjson-dev libgtest-dev libgmock-dev
          libbenchmark-dev clang-format
          # peak memory of a replay in scripts/bench-replay.sh
          time
          # touch decoding (event names) in the importer and the Linux platform
          libevdev-dev
          # the Linux platform finds and follows its devices through udev; its tests
          # run it on emulated devices
          libudev-dev umockdev libumockdev-dev
          # libFuzzer runs
          clang libclang-rt-14-dev
          # packages, man pages and the reference
          dpkg-dev fakeroot file lintian scdoc doxygen man-db
          # quil-plot and its tests
          python3 python3-matplotlib python3-pil python3-pytest
          # quil-motiond and quil-watch on D-Bus; their tests' bus and Python client
          libsdbus-c++-dev dbus-daemon python3-dbus python3-gi)
missing=()
for pkg in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${missing[*]}" >&2
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup: run as root or install sudo" >&2; exit 1; }
    sudo="sudo"
fi
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
