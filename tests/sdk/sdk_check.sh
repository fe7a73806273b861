#!/usr/bin/env bash
# Checks the SDK as its users get it: installed into a prefix, packaged as .deb files,
# with a host program built outside the project against each.
#
#   sdk_check.sh STEP SOURCE_DIR BUILD_DIR WORK_DIR
#
# STEP: install | consumer-cmake | consumer-pkgconfig | debs | debs-consumer | lintian
set -euo pipefail
step=$1 src=$2 build=$3 work=$4
prefix=$work/prefix
debs=$work/debs
expected=$src/examples/flip.expected

# Builds examples/host with find_package against PREFIX, runs it, compares with the
# example flip's expected output.
consumer_cmake() {
    local prefix=$1 dir=$2
    rm -rf "$dir"
    cmake -S "$src/examples/host" -B "$dir" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$dir" >/dev/null
    "$dir/quil-host-example" | diff -u "$expected" -
}

# Compiles examples/host with the flags pkg-config gives for the .pc files in PCDIR
# and runs it on the plug-in the .pc file names.
consumer_pkgconfig() {
    local pcdir=$1 dir=$2
    rm -rf "$dir" && mkdir -p "$dir"
    local cflags libs plugin libdir
    cflags=$(PKG_CONFIG_PATH=$pcdir pkg-config --cflags quil-motion-host)
    libs=$(PKG_CONFIG_PATH=$pcdir pkg-config --libs quil-motion-host)
    plugin=$(PKG_CONFIG_PATH=$pcdir pkg-config --variable=plugin quil-motion)
    libdir=$(PKG_CONFIG_PATH=$pcdir pkg-config --variable=libdir quil-motion-host)
    # shellcheck disable=SC2086 # flags are word lists
    c++ -std=c++17 -Wall -Wextra -Werror $cflags "$src/examples/host/main.cpp" $libs \
        -o "$dir/quil-host-example"
    LD_LIBRARY_PATH=$libdir "$dir/quil-host-example" "$plugin" | diff -u "$expected" -
}

case $step in
install)
    rm -rf "$prefix"
    cmake --install "$build" --prefix "$prefix" >/dev/null
    # A relocatable install names no build or source directory in its text files.
    if grep -rlF -e "$build" -e "$src" "$prefix/lib/cmake" "$prefix/lib/pkgconfig" "$prefix/include"; then
        echo "absolute build paths in the files above" >&2
        exit 1
    fi
    ;;
consumer-cmake)
    consumer_cmake "$prefix" "$work/consumer-cmake"
    ;;
consumer-pkgconfig)
    consumer_pkgconfig "$prefix/lib/pkgconfig" "$work/consumer-pkgconfig"
    ;;
debs)
    rm -rf "$debs"
    cpack --config "$build/CPackConfig.cmake" -B "$debs" >/dev/null
    ls "$debs"/*.deb
    ;;
debs-consumer)
    root=$work/debs-root
    rm -rf "$root"
    for deb in "$debs"/*.deb; do
        dpkg -x "$deb" "$root"
    done
    consumer_cmake "$root/usr" "$work/debs-consumer-cmake"
    consumer_pkgconfig "$root/usr/lib/pkgconfig" "$work/debs-consumer-pkgconfig"
    # The packaged tool finds the packaged plug-in on its own.
    "$root/usr/bin/quil-replay" "$src/examples/flip.trace" | diff -u "$expected" -
    for page in "$root"/usr/share/man/man*/*; do
        warnings=$(man --warnings -l "$page" 2>&1 >/dev/null)
        [ -z "$warnings" ] || { echo "$page: $warnings" >&2; exit 1; }
    done
    ;;
lintian)
    # Errors fail the step; warnings are printed for the record.
    lintian --fail-on error "$debs"/*.deb
    ;;
*)
    echo "unknown step $step" >&2
    exit 2
    ;;
esac
