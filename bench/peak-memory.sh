#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Peak memory of one directory sync (download, conversion, document) of a large phonebook, as a
# multiple of the export's size. The router runs as a separate process; the client runs once with
# the sync and once without it (baseline), each RUNS times, and the figure is the difference of the
# median peaks:
#   - max RSS from /usr/bin/time (what `/usr/bin/time -v` reports as "Maximum resident set size"),
#   - heap peak from valgrind's massif (heap bytes plus allocator overhead), when valgrind is there.
#   bench/peak-memory.sh BUILD_DIR [CONTACTS] [RUNS]
set -euo pipefail

if [[ $# -lt 1 ]]; then
    echo "usage: $0 BUILD_DIR [CONTACTS] [RUNS]" >&2
    exit 2
fi
script_dir="$(cd "$(dirname "$0")" && pwd)"
if [[ -z "${FRITZBOX_PICTURES_NAMESPACE:-}" ]]; then
    exec "$script_dir/../scripts/with-private-pictures.sh" "$0" "$@"
fi
program="$(cd "$1" && pwd)/bin/fritzbox_bench_peak_memory"
contacts="${2:-20000}"
runs="${3:-5}"

work=$(mktemp -d)
router_pid=""
cleanup() {
    if [[ -n "$router_pid" ]]; then
        kill "$router_pid" 2>/dev/null || true
        wait "$router_pid" 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT

"$program" serve "$contacts" >"$work/router" &
router_pid=$!
for _ in $(seq 100); do
    [[ -s "$work/router" ]] && break
    sleep 0.1
done
read -r port export_bytes <"$work/router"

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

# Median max RSS in KiB of RUNS runs of one mode.
max_rss_kib() {
    for _ in $(seq "$runs"); do
        /usr/bin/time -f %M -o "$work/rss" "$program" "$1" "$port" >"$work/$1.out"
        cat "$work/rss"
    done | median
}

# Largest heap size (requested bytes plus allocator overhead) of one massif run, in bytes.
heap_peak_bytes() {
    valgrind --tool=massif --massif-out-file="$work/massif.$1" "$program" "$1" "$port" >/dev/null 2>&1
    awk -F= '/^mem_heap_B=/ { heap = $2 } /^mem_heap_extra_B=/ { total = heap + $2; if (total > peak) peak = total }
             END { print peak + 0 }' "$work/massif.$1"
}

multiple() { awk -v bytes="$1" -v size="$export_bytes" 'BEGIN { printf "%.2f", bytes / size }'; }

baseline_kib=$(max_rss_kib baseline)
sync_kib=$(max_rss_kib sync)
rss_added=$(((sync_kib - baseline_kib) * 1024))
echo "export: $contacts contacts, $export_bytes bytes; client after the sync: $(cat "$work/sync.out")"
echo "max RSS, median of $runs: baseline $baseline_kib KiB, sync $sync_kib KiB;" \
    "the sync adds $rss_added bytes = $(multiple "$rss_added") x the export"
if command -v valgrind >/dev/null; then
    baseline_heap=$(heap_peak_bytes baseline)
    sync_heap=$(heap_peak_bytes sync)
    heap_added=$((sync_heap - baseline_heap))
    echo "heap peak (massif): baseline $baseline_heap bytes, sync $sync_heap bytes;" \
        "the sync adds $heap_added bytes = $(multiple "$heap_added") x the export"
fi
