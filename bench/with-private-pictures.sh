#!/usr/bin/env bash
# Runs a command with a private, empty /data/images: every FritzBox creates and deletes the phone's
# picture directory /data/images/fritzbox/, which tests running beside the benchmarks use too. As
# root the command gets a mount namespace of its own with a tmpfs there; elsewhere it runs as it is.
#   bench/with-private-pictures.sh COMMAND [ARG...]
set -euo pipefail

if [[ -n "${FRITZBOX_PRIVATE_PICTURES:-}" ]]; then
    exec "$@"
fi
if [[ $(id -u) -eq 0 ]] && unshare --mount --propagation private true 2>/dev/null; then
    mkdir -p /data/images
    exec unshare --mount --propagation private env FRITZBOX_PRIVATE_PICTURES=1 \
        bash -c 'mount -t tmpfs -o size=64m bench-pictures /data/images && exec "$@"' bench-pictures "$@"
fi
echo "with-private-pictures: no private mount namespace; using the shared /data/images/fritzbox/" >&2
exec "$@"
