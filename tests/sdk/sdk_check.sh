#!/usr/bin/env bash
# Checks the SDK as its users get it: installed into a prefix, packaged as .deb files,
# with a host program built outside the project against each.
#
#   sdk_check.sh STEP SOURCE_DIR BUILD_DIR WORK_DIR
#
# STEP: install | consumer-cmake | consumer-pkgconfig | debs | debs-consumer | debs-plot |
#       lintian
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
# and runs it on the plug-in the .pc file names. SYSROOT: where a package's /usr paths
# were unpacked (empty for an install into a prefix); pkg-config puts it in front of
# every path it prints.
consumer_pkgconfig() {
    local pcdir=$1 dir=$2 sysroot=${3:-}
    rm -rf "$dir" && mkdir -p "$dir"
    local cflags libs plugin libdir
    export PKG_CONFIG_PATH=$pcdir PKG_CONFIG_SYSROOT_DIR=$sysroot
    cflags=$(pkg-config --cflags quil-motion-host)
    libs=$(pkg-config --libs quil-motion-host)
    plugin=$(pkg-config --variable=plugin quil-motion)
    libdir=$(pkg-config --variable=libdir quil-motion-host)
    unset PKG_CONFIG_PATH PKG_CONFIG_SYSROOT_DIR
    # shellcheck disable=SC2086 # flags are word lists
    c++ -std=c++17 -Wall -Wextra -Werror $cflags "$src/examples/host/main.cpp" $libs \
        -o "$dir/quil-host-example"
    LD_LIBRARY_PATH=$libdir "$dir/quil-host-example" "$plugin" | diff -u "$expected" -
}

# The service as its package has it, unpacked under ROOT: on a private bus it replays the
# example flip through its own plug-in (the Linux layer's, not the host one that
# libquil-motion0 puts beside it), and quil-watch prints it as quil-replay does. The bus
# policy is one dbus-daemon reads, and the unit passes systemd's security review.
service_check() {
    local root=$1 dir=$work/service-check
    rm -rf "$dir" && mkdir -p "$dir"
    local daemon="" service="" watch=""
    stop_all() {
        for pid in $watch $service $daemon; do
            kill "$pid" 2>/dev/null || true
        done
    }
    trap stop_all EXIT
    dbus-daemon --session --address="unix:path=$dir/bus" --nofork --print-address=1 \
        >"$dir/address" 2>/dev/null &
    daemon=$!
    wait_for() { for _ in $(seq 200); do eval "$1" && return 0; sleep 0.05; done; return 1; }
    wait_for '[ -s "$dir/address" ]'
    export DBUS_SESSION_BUS_ADDRESS=unix:path=$dir/bus
    "$root/usr/sbin/quil-motiond" --session --replay "$src/examples/flip.trace" 2>"$dir/service.log" &
    service=$!
    wait_for 'grep -q "serving " "$dir/service.log"' || { cat "$dir/service.log" >&2; return 1; }
    "$root/usr/bin/quil-watch" --session monitor flip >"$dir/watch.out" 2>"$dir/watch.err" &
    watch=$!
    wait_for '[ "$(grep -c "^report" "$dir/watch.out")" -ge 2 ]' ||
        { cat "$dir/service.log" "$dir/watch.err" >&2; return 1; }
    grep '^report' "$dir/watch.out" | diff -u <(grep '^report' "$expected") -
    kill -TERM "$service" && wait "$service"
    service=""
    stop_all
    trap - EXIT

    cat >"$dir/system.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=$dir/system</listen>
  <policy context="default"><allow user="*"/></policy>
  <include>$root/usr/share/dbus-1/system.d/org.quilmotion.Motion1.conf</include>
</busconfig>
CONF
    timeout 2 dbus-daemon --config-file="$dir/system.conf" --nofork --print-address=1 \
        >"$dir/system.out" 2>"$dir/system.err" || true
    [ -s "$dir/system.out" ] || { cat "$dir/system.err" >&2; return 1; }
    if command -v systemd-analyze >/dev/null; then
        systemd-analyze security --offline=true --root="$root" --threshold=10 \
            quil-motiond.service >"$dir/security.out" 2>&1 ||
            { tail -n 3 "$dir/security.out" >&2; return 1; }
    fi
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
    # The packages as a user makes them: a build of their own, for /usr.
    rm -rf "$debs"
    "$src/scripts/package.sh" "$work/package-build"
    cp -R "$work/package-build/packages" "$debs"
    ;;
debs-consumer)
    root=$work/debs-root
    rm -rf "$root"
    for deb in "$debs"/*.deb; do
        dpkg -x "$deb" "$root"
    done
    consumer_cmake "$root/usr" "$work/debs-consumer-cmake"
    pcdir=$(dirname "$(find "$root/usr/lib" -name quil-motion.pc)")
    consumer_pkgconfig "$pcdir" "$work/debs-consumer-pkgconfig" "$root"
    # pkg-config's own flags name /usr plainly (the system directory it even leaves out).
    ! PKG_CONFIG_PATH=$pcdir pkg-config --cflags --libs quil-motion-host | grep -F ..
    # The packaged tool finds the packaged plug-in on its own.
    "$root/usr/bin/quil-replay" "$src/examples/flip.trace" | diff -u "$expected" -
    service_check "$root"
    for page in "$root"/usr/share/man/man*/*; do
        warnings=$(man --warnings -l "$page" 2>&1 >/dev/null)
        [ -z "$warnings" ] || { echo "$page: $warnings" >&2; exit 1; }
    done
    ;;
debs-plot)
    # quil-plot as installed with --no-install-recommends: it draws, and loads nothing
    # from outside what its package's Depends bring.
    root=$work/debs-plot-root
    rm -rf "$root"
    for deb in "$debs"/*.deb; do
        dpkg -x "$deb" "$root"
    done
    "$src/tests/sdk/plot_needs_only_depends.py" "$debs"/quil-motion-plot_*.deb "$root" \
        "$src/examples/pinch_open.trace" "$work/debs-plot.png"
    version=$(sed -n 's/^project(QuilMotion VERSION \([0-9.]*\).*/\1/p' "$src/CMakeLists.txt")
    [ "$("$root/usr/bin/quil-plot" --version)" = "quil-plot $version" ]
    ;;
lintian)
    # Anything lintian says, pedantic included, fails the step but the tags
    # cmake/debian/lintian-tags lists with the reason they stay.
    allowed=$(sed -n 's/^\([a-z0-9.-]*\):.*/\1/p' "$src/cmake/debian/lintian-tags" | paste -sd'|')
    found=$(lintian --pedantic --display-info "$debs"/*.deb 2>/dev/null | grep -E '^[EWIP]: ' || true)
    left=$(printf '%s\n' "$found" | grep -vE ": ($allowed)( |$)" | grep . || true)
    printf '%s\n' "$found"
    [ -z "$left" ] || { echo "lintian tags not explained in cmake/debian/lintian-tags:" >&2; echo "$left" >&2; exit 1; }
    ;;
*)
    echo "unknown step $step" >&2
    exit 2
    ;;
esac
