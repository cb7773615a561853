#!/usr/bin/env bash
# The module as an integrator receives it: installs the build's "module" component into a
# staging prefix, moves the prefix elsewhere (the package must be relocatable), checks the
# pkg-config file, builds tests/consumer/host against the moved prefix with find_package, and runs
# it (under EMULATOR when given) against the router simulator on a loopback port.
# Usage: run-consumer.sh BUILD_DIR ROUTER_SIM PLATFORM_LIB PLATFORM_INCLUDE_DIR [CMAKE_ARG...] [-- EMULATOR...]
set -euo pipefail

build=${1:?build dir}
sim=${2:?router simulator}
platform_lib=${3:?platform library}
platform_include=${4:?platform include dir}
shift 4
cmake_args=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    cmake_args+=("$1")
    shift
done
[ $# -gt 0 ] && shift
emulator=("$@")
here=$(cd "$(dirname "$0")" && pwd)
if [ ! -x "$sim" ]; then
    echo "skipped: no router simulator at $sim (the native build makes it)"
    exit 77
fi

work=$(mktemp -d)
sim_pid=
cleanup() {
    [ -z "$sim_pid" ] || kill "$sim_pid" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

cmake --install "$build" --prefix "$work/stage" --component module >/dev/null
mv "$work/stage" "$work/prefix"
prefix=$work/prefix

pc=$(find "$prefix" -name fritzbox-xsi-module.pc)
flags=$(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs fritzbox-xsi-module)
include_dir=$(sed -nE 's/^-I([^ ]*).*/\1/p' <<<"$flags")
lib_dir=$(grep -oE -- '-L[^ ]*' <<<"$flags" | cut -c3-)
if [ ! -f "$include_dir/FritzBox.h" ] || [ ! -e "$lib_dir/libfritzbox-xsi-module.so" ]; then
    echo "pkg-config points elsewhere than the moved prefix: $flags" >&2
    exit 1
fi

cmake -S "$here/host" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DFRITZBOX_LINUX_PLATFORM="$platform_lib" -DFRITZBOX_LINUX_PLATFORM_INCLUDE_DIR="$platform_include" \
    "${cmake_args[@]}" >"$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }

"$sim" --port 0 --data "$here/../../data/sample-router" >"$work/sim.out" 2>&1 &
sim_pid=$!
for _ in $(seq 100); do
    grep -q '^listening on ' "$work/sim.out" && break
    sleep 0.1
done
listen=$(sed -n 's/^listening on //p' "$work/sim.out")
[ -n "$listen" ] || { echo "router simulator did not start:" >&2; cat "$work/sim.out" >&2; exit 1; }

document=$(FRITZBOX_PASSWORD=geheim "${emulator[@]}" "$work/build/consumer" "${listen%:*}" "${listen##*:}" admin)
echo "$document"
grep -q '<numberOfRecords>[1-9]' <<<"$document"
