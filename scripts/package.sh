#!/usr/bin/env bash
# Builds the Debian packages into DIR/packages (DIR default build-package/): installs
# what is needed first, configures DIR for /usr with Debian's hardening flags, builds
# and runs the package generator, then names the packages it wrote.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-package}
scripts/setup.sh

# Debian's hardening (fortify, stack protector, relro, bindnow, PIE), as dpkg-buildflags
# gives it; CMake reads the preprocessor flags with the compiler's. No compiler
# signature in the binaries (.comment), as Debian's own packages strip it.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
CXXFLAGS="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS) -fno-ident"
CFLAGS="$(dpkg-buildflags --get CFLAGS) $(dpkg-buildflags --get CPPFLAGS) -fno-ident"
LDFLAGS="$(dpkg-buildflags --get LDFLAGS)"
export CXXFLAGS CFLAGS LDFLAGS
if [ -f "$dir/CMakeCache.txt" ] && ! grep -q '^QUIL_DEBIAN_PACKAGE:BOOL=ON' "$dir/CMakeCache.txt"; then
    echo "package: $dir holds another kind of build; give another DIR" >&2
    exit 2
fi
echo "package: building for /usr in $dir (a few minutes the first time)" >&2
QUIL_QUIET_BUILD=1 scripts/build.sh "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_INSTALL_PREFIX=/usr -DQUIL_DEBIAN_PACKAGE=ON -DQUIL_BUILD_TESTS=OFF \
    -DQUIL_BUILD_BENCH=OFF -DQUIL_BUILD_FUZZ=OFF

# quil-motiond hosts the plug-in built for the Linux layer: a Linux-platform build of its
# own, inside DIR, makes that one package.
QUIL_QUIET_BUILD=1 scripts/build.sh "$dir/linux-service" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_INSTALL_PREFIX=/usr -DQUIL_DEBIAN_PACKAGE=ON -DQUIL_PLATFORM=linux \
    -DQUIL_BUILD_TESTS=OFF -DQUIL_BUILD_BENCH=OFF -DQUIL_BUILD_FUZZ=OFF

echo "package: making the packages" >&2
rm -rf "$dir/packages"
for build in "$dir" "$dir/linux-service"; do
    if ! cpack --config "$build/CPackConfig.cmake" -B "$build/cpack" >"$build/cpack.log" 2>&1; then
        echo "package: the package generator failed; its output:" >&2
        cat "$build/cpack.log" >&2
        exit 1
    fi
    mkdir -p "$dir/packages"
    mv "$build"/cpack/*.deb "$dir/packages/"
    rm -rf "$build/cpack"
done

# Finished as Debian's own tools finish a package: no compiler signature (.comment) in
# the binaries, and no maintainer script that only calls ldconfig where the ldconfig
# trigger does that.
for deb in "$dir"/packages/*.deb; do
    root=$(mktemp -d)
    dpkg-deb -R "$deb" "$root"
    find "$root" -path "$root/DEBIAN" -prune -o -type f -print | while read -r file; do
        if file -b "$file" | grep -q '^ELF'; then
            objcopy --remove-section=.comment "$file"
        fi
    done
    if [ -f "$root/DEBIAN/triggers" ]; then
        for script in postinst postrm; do
            if [ -f "$root/DEBIAN/$script" ] && ! grep -v -e '^#' -e '^\s*$' -e 'ldconfig' \
                -e '^set -e' -e '^fi' -e '^if ' -e '^exit 0' "$root/DEBIAN/$script" | grep -q .; then
                rm "$root/DEBIAN/$script"
            fi
        done
    fi
    (cd "$root" && find . -path ./DEBIAN -prune -o -type f -print | sed 's|^\./||' | sort |
        xargs -r md5sum >DEBIAN/md5sums)
    dpkg-deb --root-owner-group -Zxz --build "$root" "$deb" >/dev/null
    rm -rf "$root"
    echo "package: wrote $deb"
done
case $dir in
    /*) where=$dir ;;
    *) where=./$dir ;;
esac
echo "package: install them with: sudo apt-get install $where/packages/*.deb" >&2
