#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Runs the conformance kit on a PC with the setup it needs when the platform cannot map host
# names: in user, network and mount namespaces of its own, where
#   - a private hosts file sends fritz.box to 127.0.0.1 and other.test to 127.0.0.2 (bind-mounted
#     over /etc/hosts, and over SYSROOT/etc/hosts for qemu, whose -L prefix is read first),
#   - loopback is up and port 80 is free to take (the namespace's root may bind it),
#   - /data/images is an empty tmpfs, so the module's picture directory is the run's own.
# Usage: run-in-namespace.sh [--sysroot SYSROOT] [--] COMMAND [ARG...]
#   e.g. run-in-namespace.sh ./fritzbox-conformance --model gull --log-from stderr
#        run-in-namespace.sh --sysroot /opt/sdk/sysroot -- qemu-arm -L /opt/sdk/sysroot \
#            -E LD_LIBRARY_PATH=/opt/platform/lib ./fritzbox-conformance --model gull --slow 4
# The sysroot must hold no /data (qemu would look there first). Exit status: COMMAND's, or 77
# when the namespaces cannot be made here (it takes root, or user namespaces and an existing
# /data/images).
set -euo pipefail

sysroot=
if [[ ${1:-} == --sysroot ]]; then
    sysroot=$2 && shift 2
fi
[[ ${1:-} == -- ]] && shift
[ $# -gt 0 ] || { echo "usage: run-in-namespace.sh [--sysroot SYSROOT] [--] COMMAND [ARG...]" >&2 && exit 2; }
if [ -n "$sysroot" ] && [ ! -f "$sysroot/etc/hosts" ]; then
    echo "run-in-namespace: $sysroot/etc/hosts is missing; the hosts file is mounted over it" >&2 && exit 2
fi

hosts=$(mktemp)
trap 'rm -f "$hosts"' EXIT
printf '127.0.0.1 localhost\n::1 localhost\n127.0.0.1 fritz.box\n127.0.0.2 other.test\n' >"$hosts"

if [[ $(id -u) -eq 0 ]]; then
    mkdir -p /data/images 2>/dev/null || true  # the mount point: the only trace left on the machine
    namespaces=(unshare --net --mount --propagation private)
else
    namespaces=(unshare --user --map-root-user --net --mount --propagation private)
fi
setup='ip link set lo up && mount --bind "$0" /etc/hosts &&
    { [ -z "$1" ] || [ "$1" = / ] || mount --bind "$0" "$1/etc/hosts"; } &&
    mount -t tmpfs -o size=64m conformance-pictures /data/images'
if ! "${namespaces[@]}" sh -c "$setup" "$hosts" "$sysroot" 2>/dev/null; then
    echo "run-in-namespace: skipped, no namespaces with loopback, hosts file and /data/images here" \
        "(it takes root, or user namespaces and an existing /data/images)"
    exit 77
fi
"${namespaces[@]}" sh -c "$setup && shift && exec \"\$@\"" "$hosts" "$sysroot" "$@"
