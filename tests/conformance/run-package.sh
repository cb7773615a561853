#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The kit as a firmware team builds and runs it: installs the build's "module" and "conformance"
# components, moves the prefix, builds the kit's sources from there with find_package against the
# platform library given by path and without an adapter, and runs it (under EMULATOR when given)
# in the documented setup for a platform that cannot map host names: run-in-namespace.sh, the
# log read from stderr.
# Usage: run-package.sh BUILD_DIR PLATFORM_LIB [CMAKE_ARG...] [-- EMULATOR...]
set -euo pipefail

build=$1 platform=$2 cmake_args=()
shift 2
while [ $# -gt 0 ] && [ "$1" != -- ]; do cmake_args+=("$1") && shift; done
emulator=("${@:2}")
slow=()
[ ${#emulator[@]} -eq 0 ] || slow=(--slow 4)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for component in module conformance; do
    cmake --install "$build" --prefix "$work/stage" --component "$component" >/dev/null
done
mv "$work/stage" "$work/prefix"
kit=$work/prefix/share/fritzbox-xsi-module/conformance

cmake -S "$kit" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" -DFRITZBOX_PLATFORM="$platform" \
    "${cmake_args[@]}" >"$work/configure.log" || { cat "$work/configure.log" && exit 1; }
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log" && exit 1; }

# The Linux platform answers for the model and writes level-6 lines by these.
FRITZBOX_PHONE_MODEL=tern FRITZBOX_LOG_LEVEL=6 "$kit/run-in-namespace.sh" -- "${emulator[@]}" \
    "$work/build/fritzbox-conformance" --model tern --log-from stderr "${slow[@]}"
