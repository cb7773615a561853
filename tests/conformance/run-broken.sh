#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Runs the kit on a broken platform: LIBRARY loaded ahead of the platform, only the CHECKS named,
# and passes when the kit reached its summary, exited 1 and failed every one of them. With CHECKS
# "PASS" the library is an equivalent platform: every check runs and every one must pass.
# Usage: run-broken.sh LIBRARY "CHECK..."|PASS KIT [EMULATOR...]
set -euo pipefail

library=$1 kit=$3
read -r -a checks <<<"$2"
shift 3
only=()
for check in "${checks[@]}"; do only+=(--only "$check"); done
if [ $# -gt 0 ]; then
    # qemu: the guest's preload, not qemu's own; emulation stretches the kit's time bounds
    command=("$@" -E "LD_PRELOAD=$library" "$kit" --model tern --slow 4)
else
    command=(env "LD_PRELOAD=$library" "$kit" --model tern)
fi
if [ "${checks[*]}" = PASS ]; then
    exec "${command[@]}"
fi
status=0
report=$("${command[@]}" "${only[@]}") || status=$?
echo "$report"
[ "$status" -eq 1 ] || { echo "expected exit status 1, got $status" && exit 1; }
[ "$(tail -n 1 <<<"$report")" = "0 passed, ${#checks[@]} failed" ] || { echo "expected every check to fail" && exit 1; }
for check in "${checks[@]}"; do
    grep -q "^FAIL $check: " <<<"$report" || { echo "expected FAIL $check" && exit 1; }
done
