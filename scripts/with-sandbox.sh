#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Runs a command that may misbehave (a test suite with a planted fault) where it can only write
# into DIR: in a mount namespace of its own the root file system is read-only, /tmp, /var/tmp,
# /run and /data/images are fresh tmpfs mounts that vanish with the command, and DIR stays
# writable. A planted fault that shortens a path to delete (say /tmp/x to /tmp/) thus removes
# nothing outside DIR. DIR must not lie under one of the tmpfs mount points.
#   scripts/with-sandbox.sh DIR COMMAND [ARG...]
# As root this is a plain mount namespace, otherwise one inside a user namespace. Exit status 125
# when no such namespace can be made here; otherwise the command's.
set -euo pipefail

if [[ $# -lt 2 ]]; then
    echo "usage: with-sandbox.sh DIR COMMAND [ARG...]" >&2
    exit 2
fi
dir=$(realpath "$1")
shift
case "$dir/" in
    /tmp/* | /var/tmp/* | /run/* | /data/images/*)
        echo "with-sandbox: $dir lies under a directory the sandbox replaces" >&2
        exit 2
        ;;
esac

if [[ $(id -u) -eq 0 ]]; then
    namespace=(unshare --mount --propagation private)
    mkdir -p /data/images
else
    namespace=(unshare --user --map-root-user --mount --propagation private)
fi
# The bind of DIR onto itself makes it a mount of its own, which keeps its write access when the
# root mount (only this namespace's copy of it) is made read-only. /dev, a mount of its own, is
# made read-only too: its devices can still be read and written, but no planted fault can rename
# a file over one of them (a token file's replacement once took the place of /dev/zero).
setup='set -e
mount --bind "$0" "$0"
for private in /tmp /var/tmp /run /data/images; do
    [ -d "$private" ] && mount -t tmpfs -o mode=1777 sandbox "$private"
done
mount -o remount,bind,ro /
mount -o remount,bind,ro /dev'
if ! "${namespace[@]}" sh -c "$setup" "$dir" 2>/dev/null; then
    echo "with-sandbox: no private mount namespace can be made here" >&2
    exit 125
fi
exec "${namespace[@]}" sh -c "$setup"'
exec "$@"' "$dir" "$@"
