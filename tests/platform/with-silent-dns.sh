#!/bin/sh

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Runs a test program in network and mount namespaces of its own, where the resolver's only name
# server is 127.0.0.1:53, which the program itself holds and never answers: a DNS server that is
# unreachable without refusing. Exit 77 (skipped) where namespaces cannot be made.
# Usage: with-silent-dns.sh PROGRAM [ARGS...]
unshare -n -m true 2>/dev/null || { echo "with-silent-dns: no namespaces here, skipped"; exit 77; }
exec unshare -n -m sh -c '
  set -e
  ip link set lo up
  conf=$(mktemp)
  echo "nameserver 127.0.0.1" >"$conf"
  mount --bind "$conf" /etc/resolv.conf
  rm -f "$conf"
  FRITZBOX_SILENT_DNS=1 exec "$@"' with-silent-dns "$@"
