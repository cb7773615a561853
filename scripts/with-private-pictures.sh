#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Runs a command with a private, empty /data/images: a tmpfs there, in a mount namespace of its own.
# Every FritzBox object creates and deletes the phone's picture directory /data/images/fritzbox/;
# the tests and benchmarks that construct one run through this, so that they can run side
# by side (and beside another checkout's) and never touch the machine's own directory, which may
# even be read-only. As root the namespace is a plain mount namespace; otherwise one inside a user
# namespace, where the system allows those and /data/images exists.
#   scripts/with-private-pictures.sh [--or-skip] COMMAND [ARG...]
# Where no namespace can be made, COMMAND runs as it is, on the shared directory; with --or-skip
# (the tests) it does not run at all, and the exit status is 77, which ctest reports as skipped.
# Inside, FRITZBOX_PICTURES_NAMESPACE is "private" (or "none" after that fallback), so a script that
# wraps itself does so once.
set -euo pipefail

or_skip=
if [[ ${1:-} == --or-skip ]]; then
    or_skip=1 && shift
fi
if [[ -n "${FRITZBOX_PICTURES_NAMESPACE:-}" ]]; then
    exec "$@"
fi

if [[ $(id -u) -eq 0 ]]; then
    namespace=(unshare --mount --propagation private)
    mkdir -p /data/images 2>/dev/null || true  # the mount point: the only trace left on the machine
else
    namespace=(unshare --user --map-root-user --mount --propagation private)
fi
mount_pictures='mount -t tmpfs -o size=64m fritzbox-pictures /data/images'
# The probe mounts in a namespace of its own, which ends with it.
if "${namespace[@]}" sh -c "$mount_pictures" 2>/dev/null; then
    exec "${namespace[@]}" env FRITZBOX_PICTURES_NAMESPACE=private \
        sh -c "$mount_pictures && exec \"\$@\"" with-private-pictures "$@"
fi
if [[ -n $or_skip ]]; then
    echo "with-private-pictures: skipped, no private mount namespace for /data/images here" \
        "(it takes root, or user namespaces and an existing /data/images)"
    exit 77
fi
echo "with-private-pictures: no private mount namespace; using the shared /data/images/fritzbox/" >&2
FRITZBOX_PICTURES_NAMESPACE=none exec "$@"
