#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# fuzz/run-fuzzers.sh BUILD_DIR WORK_DIR SECONDS [RUNS] [TARGET...]
# Runs the fuzz targets one after another, each at most SECONDS (and RUNS executions unless 0) on its
# corpus WORK_DIR/<target>, seeded read-only from fuzz/corpus/<target>; crash inputs go to
# WORK_DIR/artifacts. The targets read router output without sockets or picture files, so runs
# beside each other and beside the tests do not meet.
set -euo pipefail

[[ $# -ge 3 ]] || { echo "usage: $0 BUILD_DIR WORK_DIR SECONDS [RUNS] [TARGET...]" >&2 && exit 2; }
source_dir=$(cd "$(dirname "$0")" && pwd) build_dir=$(cd "$1" && pwd) work_dir=$2 seconds=$3 runs=${4:-0}
targets=("${@:5}") && [[ ${#targets[@]} -gt 0 ]] ||
    targets=(call_list_fuzzer phonebook_export_fuzzer keyword_extraction_fuzzer serializer_fuzzer response_reader_fuzzer)

for target in "${targets[@]}"; do
    mkdir -p "$work_dir/$target" "$work_dir/artifacts" && log="$work_dir/$target.log"
    echo "== $target: ${seconds}s$([[ $runs -gt 0 ]] && echo ", at most $runs runs")"
    # -timeout: one input that takes this long is a hang (the module's I/O time-out is 5 s).
    "$build_dir/bin/$target" -max_total_time="$seconds" -runs="$((runs > 0 ? runs : -1))" -timeout=30 \
        -print_final_stats=1 -artifact_prefix="$work_dir/artifacts/$target-" \
        "$work_dir/$target" "$source_dir/corpus/$target" >"$log" 2>&1 || {
        status=$? && tail -n 60 "$log" >&2
        echo "$target failed (exit $status); the input is in $work_dir/artifacts" >&2 && exit "$status"
    }
    grep -E '^(#[0-9]+[[:space:]]+(INITED|DONE)|stat::(number_of_executed_units|new_units_added|peak_rss_mb))' "$log" || true
done
