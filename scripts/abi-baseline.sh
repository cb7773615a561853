#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Compares a shared library built with debug information (-g) with its ABI baseline, libabigail's
# ABIXML description of it in abi/, or rewrites the baseline from the library after a reviewed
# change:
#   check   abidiff <baseline> <library>: quiet success when they agree; otherwise abidiff's
#           report, which names each type, data member, base class, virtual function slot,
#           enumerator or function signature that changed, and exit 1
#   update  abidw <library> > <baseline>
# Both describe only what the library exports and what its exported functions reach, and leave
# libstdc++'s internals out (abi/std-internals.suppr). The baseline holds no path of this machine:
# source locations, the compilation directory and the library's path are left out, and the
# sources' names in the debug information are relative to the tree (the top-level build's
# -ffile-prefix-map).
# Usage: abi-baseline.sh check|update <baseline.abi> <library.so>
set -euo pipefail

usage="usage: abi-baseline.sh check|update <baseline.abi> <library.so>"
mode=${1:?$usage}
baseline=${2:?$usage}
library=${3:?$usage}
suppressions=$(cd "$(dirname "$0")/../abi" && pwd)/std-internals.suppr

case $mode in
check)
    status=0
    abidiff --exported-interfaces-only --no-unreferenced-symbols --fail-no-debug-info --suppr "$suppressions" \
        "$baseline" "$library" || status=$?
    [ "$status" -eq 0 ] && echo "abi-baseline: $library matches $baseline" && exit 0
    # abidiff's exit status is a bit set: 1 error, 2 usage error, 4 a change, 8 an incompatible one.
    echo "abi-baseline: $library differs from $baseline (abidiff exit status $status)." >&2
    echo "If the change is meant, review it and rewrite the baselines: cmake --build <build> --target abi-baselines" >&2
    exit 1
    ;;
update)
    abidw --no-show-locs --no-comp-dir-path --no-corpus-path --type-id-style hash --exported-interfaces-only \
        --drop-undefined-syms --suppr "$suppressions" --out-file "$baseline" "$library"
    echo "abi-baseline: $baseline rewritten from $library"
    ;;
*)
    echo "$usage" >&2
    exit 2
    ;;
esac
