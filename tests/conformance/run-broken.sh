#!/usr/bin/env bash
# Runs the kit on a broken platform: LIBRARY loaded ahead of the platform, only the CHECKS named,
# and passes when the kit reached its summary, exited 1 and failed every one of them.
# Usage: run-broken.sh LIBRARY "CHECK..." KIT [EMULATOR...]
set -euo pipefail

library=$1 checks=($2) kit=$3
shift 3
only=()
for check in "${checks[@]}"; do only+=(--only "$check"); done
if [ $# -gt 0 ]; then
    command=("$@" -E "LD_PRELOAD=$library" "$kit")  # qemu: the guest's preload, not qemu's own
else
    command=(env "LD_PRELOAD=$library" "$kit")
fi
status=0
report=$("${command[@]}" --model tern "${only[@]}") || status=$?
echo "$report"
[ "$status" -eq 1 ] || { echo "expected exit status 1, got $status" && exit 1; }
[ "$(tail -n 1 <<<"$report")" = "0 passed, ${#checks[@]} failed" ] || { echo "expected every check to fail" && exit 1; }
for check in "${checks[@]}"; do
    grep -q "^FAIL $check: " <<<"$report" || { echo "expected FAIL $check" && exit 1; }
done
