#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The module as an integrator receives it: installs the build's "module" component, moves the
# prefix (the package must be relocatable), checks its pkg-config file, builds tests/consumer/host
# against it with find_package, compares the package's platform ABI probe built there with the
# package's baseline, and runs the host (under EMULATOR when given) against the simulator.
# Usage: run-consumer.sh BUILD_DIR ROUTER_SIM PLATFORM_LIB PLATFORM_INCLUDE_DIR [CMAKE_ARG...] [-- EMULATOR...]
set -euo pipefail

build=$1 sim=$2 platform=("-DFRITZBOX_LINUX_PLATFORM=$3" "-DFRITZBOX_LINUX_PLATFORM_INCLUDE_DIR=$4") cmake_args=()
shift 4
while [ $# -gt 0 ] && [ "$1" != -- ]; do cmake_args+=("$1") && shift; done
emulator=("${@:2}")
here=$(cd "$(dirname "$0")" && pwd)
[ -x "$sim" ] || { echo "skipped: no router simulator at $sim (the native build makes it)" && exit 77; }

work=$(mktemp -d) sim_pid=
trap '[ -z "$sim_pid" ] || kill "$sim_pid"; rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/stage" --component module >/dev/null
mv "$work/stage" "$work/prefix"

flags=$(PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name fritzbox-xsi-module.pc)") \
    pkg-config --cflags --libs fritzbox-xsi-module)
if [ ! -f "$(sed -nE 's/^-I([^ ]*).*/\1/p' <<<"$flags")/FritzBox.h" ] ||
    [ ! -e "$(grep -oE -- '-L[^ ]*' <<<"$flags" | cut -c3-)/libfritzbox-xsi-module.so" ]; then
    echo "pkg-config points elsewhere than the moved prefix: $flags" >&2 && exit 1
fi

cmake -S "$here/host" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" "${platform[@]}" \
    "${cmake_args[@]}" >"$work/configure.log" || { cat "$work/configure.log" && exit 1; }
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log" && exit 1; }
cmake --build "$work/build" --target platform-abi-check >"$work/abi.log" || { cat "$work/abi.log" && exit 1; }

"$sim" --port 0 --data "$here/../../data/sample-router" >"$work/sim.out" 2>&1 &
sim_pid=$!
for _ in $(seq 100); do grep -q '^listening on ' "$work/sim.out" && break || sleep 0.1; done
listen=$(sed -n 's/^listening on //p' "$work/sim.out")
[ -n "$listen" ] || { echo "router simulator did not start: $(cat "$work/sim.out")" >&2 && exit 1; }

document=$(FRITZBOX_PASSWORD=geheim "${emulator[@]}" "$work/build/consumer" "${listen%:*}" "${listen##*:}" admin)
echo "$document"
grep -q '<numberOfRecords>[1-9]' <<<"$document"
