#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Builds the module's packages twice from the same sources, in two checkouts at different places,
# and compares them byte for byte: the .debs and the .tar.gz of `make package` (the package-*
# presets) and the unstripped library, for this machine and, where the cross compiler is
# installed, for 32-bit ARM. The builds add -g, as firmware builds do, so that the debug
# information (and the build ID computed over it, which stripping keeps) has to be free of the
# checkouts' paths. A difference fails, with diffoscope's report where it is installed.
# Usage: build-twice.sh SOURCE_DIR WORK_DIR
set -euo pipefail

[ $# -eq 2 ] || { echo "usage: build-twice.sh SOURCE_DIR WORK_DIR" >&2 && exit 2; }
source_dir=$(cd "$1" && pwd) work=$2
rm -rf "$work" && mkdir -p "$work"
work=$(cd "$work" && pwd)
unset SOURCE_DATE_EPOCH CMAKE_GENERATOR DESTDIR  # each build takes the changelog's date itself

arches=(native)
if command -v arm-linux-gnueabihf-g++ >/dev/null; then
    arches+=(arm)
else
    echo "info: no arm-linux-gnueabihf-g++, the ARM packages are not compared"
fi

# The two checkouts: the tree as it is, without version control and build directories.
checkouts=("$work/first/fritzbox-xsi" "$work/second/a/longer/path/fritzbox-xsi")
for checkout in "${checkouts[@]}"; do
    mkdir -p "$checkout"
    (cd "$source_dir" && tar -c --exclude=.git --exclude='./build*' .) | tar -x -C "$checkout"
done

# make package for one architecture in one checkout, its output in <checkout>/packages-<arch>/.
build_packages() {
    local checkout=$1 arch=$2 build=$1/build-package-$2
    (
        cd "$checkout"
        cmake --preset "package-$arch" -DCMAKE_C_FLAGS=-g -DCMAKE_CXX_FLAGS=-g
        cmake --build --preset "package-$arch" -j 2
        cmake --build --preset "package-$arch" --target debs
        cpack --config "$build/CPackConfig.cmake" -B "$build/packages"
    ) >"$checkout/package-$arch.log" 2>&1 || { cat "$checkout/package-$arch.log" && exit 1; }
    mkdir "$checkout/packages-$arch"
    cp "$build"/packages/*.deb "$build"/packages/*.tar.gz "$build"/lib/libfritzbox-xsi-module.so.1.* "$checkout/packages-$arch/"
}

differences=0
for arch in "${arches[@]}"; do
    start=$SECONDS
    for checkout in "${checkouts[@]}"; do build_packages "$checkout" "$arch"; done
    echo "$arch: built twice in $((SECONDS - start)) s"
    for file in "${checkouts[0]}/packages-$arch"/*; do
        name=$(basename "$file") other=${checkouts[1]}/packages-$arch/$(basename "$file")
        if cmp -s "$file" "$other"; then
            echo "identical: $arch/$name ($(stat -c %s "$file") bytes)"
            continue
        fi
        differences=$((differences + 1))
        echo "DIFFERENT: $arch/$name" >&2
        if command -v diffoscope >/dev/null; then
            diffoscope --text - --max-report-size 200000 "$file" "$other" >&2 || true
        fi
    done
    [ "$(ls "${checkouts[0]}/packages-$arch" | wc -l)" -ge 4 ] || { echo "missing packages for $arch" >&2 && exit 1; }
done
if [ "$differences" -ne 0 ]; then
    echo "build-twice: $differences file(s) differ between two builds of the same sources" >&2
    exit 1
fi
echo "build-twice: every package is identical in both builds"
