#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Builds the module's Debian packages from a build tree configured for them (install prefix /usr,
# CMAKE_INSTALL_LIBDIR lib/<multiarch triplet>: the package-* presets):
#   libfritzbox-xsi-module1     the library and its SONAME link, a shlibs file, the ldconfig trigger,
#                               the bill of materials (fritzbox-xsi-module.spdx)
#   libfritzbox-xsi-module-dev  headers, the .so link, the CMake package, the pkg-config file, the
#                               platform ABI probe and the conformance kit's sources
# each with /usr/share/doc/<package>/copyright (machine-readable, the licence text taken from
# LICENSE) and changelog.Debian.gz. The control files come from cmake/debian/ through
# dpkg-gencontrol, the library's dependencies from dpkg-shlibdeps. Where lintian is installed it
# checks every package, and an error or a warning fails the run.
# Usage: build-debs.sh BUILD_DIR OUT_DIR DEB_ARCH
set -euo pipefail

[ $# -eq 3 ] || { echo "usage: build-debs.sh BUILD_DIR OUT_DIR DEB_ARCH" >&2 && exit 2; }
mkdir -p "$2"
build=$(cd "$1" && pwd) out=$(cd "$2" && pwd) source_dir=$(cd "$(dirname "$0")/.." && pwd)
runtime=libfritzbox-xsi-module1 dev=libfritzbox-xsi-module-dev
lib=usr/lib/$(dpkg-architecture -a"$3" -qDEB_HOST_MULTIARCH 2>/dev/null)
# dpkg-shlibdeps and dpkg-gencontrol take the architecture the packages are for from here.
export DEB_HOST_ARCH=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
umask 022

# dpkg's tools read debian/control and debian/changelog below the directory they run in.
mkdir "$work/debian" && cp "$source_dir/cmake/debian/control" "$source_dir/cmake/debian/changelog" "$work/debian/"
cd "$work"
version=$(dpkg-parsechangelog -SVersion)
# File times in the packages and the bill of materials' creation time: the changelog's date unless
# the environment sets one, so that a second build of the same sources gives the same bytes.
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(dpkg-parsechangelog -STimestamp)}

for component in module conformance; do
    DESTDIR=$work/stage cmake --install "$build" --prefix /usr --component "$component" --strip >/dev/null
done
[ -e "stage/$lib/libfritzbox-xsi-module.so.1" ] ||
    { echo "build-debs: the library is not in /$lib: configure with CMAKE_INSTALL_LIBDIR=${lib#usr/}" >&2 && exit 1; }
# The licence goes into each package's copyright file instead; the bill of materials describes the
# library, so it goes with the runtime package.
docs=stage/usr/share/doc/fritzbox-xsi-module
mkdir -p "debian/$runtime/usr/share/doc/$runtime" && mv "$docs/fritzbox-xsi-module.spdx" "debian/$runtime/usr/share/doc/$runtime/"
rm -r "$docs"

# Each package's files go under debian/<package>, where dpkg-shlibdeps and dpkg-gencontrol look.
mkdir -p "debian/$runtime/$lib" && mv stage/"$lib"/libfritzbox-xsi-module.so.1* "debian/$runtime/$lib/"
find "debian/$runtime/$lib" -type f -exec chmod 0644 {} +  # a shared library is not a program
mv stage "debian/$dev"

{
    printf '%s\n' 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' \
        'Upstream-Name: fritzbox-xsi' '' 'Files: *' "Copyright: $(sed -n 's/^Copyright (c) //p' "$source_dir/LICENSE")" \
        'License: Expat'
    sed -n '/^Permission/,$p' "$source_dir/LICENSE" | sed 's/^$/./; s/^/ /'
} >copyright
for package in "$runtime" "$dev"; do
    root=debian/$package
    mkdir -p "$root/DEBIAN" "$root/usr/share/doc/$package" "$root/usr/share/lintian/overrides"
    cp copyright "$root/usr/share/doc/$package/"
    gzip -9n <debian/changelog >"$root/usr/share/doc/$package/changelog.Debian.gz"
    # A first Debian revision is expected to close the bug that announced the package in Debian;
    # these packages are the firmware's, never uploaded there, so there is no such bug.
    echo "$package: initial-upload-closes-no-bugs" >"$root/usr/share/lintian/overrides/$package"
    touch "debian/$package.substvars"
done

# A program built against 1.x runs with any later 1.y; the runtime package says so to dpkg-shlibdeps.
echo "libfritzbox-xsi-module 1 $runtime (>= ${version%-*})" >"debian/$runtime/DEBIAN/shlibs"
echo 'activate-noawait ldconfig' >"debian/$runtime/DEBIAN/triggers"
# Warnings about symbols found in no library are off: the platform's symbols are the loading
# process's on purpose.
library=$(find "debian/$runtime/$lib" -type f -name 'libfritzbox-xsi-module.so.1.*')
dpkg-shlibdeps --warnings=6 -T"debian/$runtime.substvars" -e"$library"  # -e and the file in one word

for package in "$runtime" "$dev"; do
    root=debian/$package
    dpkg-gencontrol -p"$package" -P"$root" -T"debian/$package.substvars" -fdebian/files
    (cd "$root" && find usr -type f -print0 | sort -z | xargs -0 md5sum) >"$root/DEBIAN/md5sums"
    dpkg-deb --root-owner-group --build "$root" "$out/" >/dev/null
    deb=$out/${package}_${version}_$DEB_HOST_ARCH.deb
    echo "$deb"
    if command -v lintian >/dev/null && ! findings=$(lintian --fail-on error,warning "$deb" 2>&1); then
        grep -v '^running with root privileges' <<<"$findings" >&2
        exit 1
    fi
done
