#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The phonebook sync's growth curve of earlier commits next to this tree's: builds this tree's
# bench/ against each commit in a git worktree of its own (without the tools, which an earlier
# commit may not have), runs the phonebook benchmarks of every build and prints one table.
#   bench/compare-phonebook.sh BUILD_DIR COMMIT...
# BUILD_DIR is this tree's benchmark build. BENCH_REPETITIONS (default 5) sets the repetitions.
# A commit's worktree is /tmp/fritzbox-bench-<commit>; it is kept for the next run.
set -euo pipefail

if [[ $# -lt 2 ]]; then
    echo "usage: $0 BUILD_DIR COMMIT..." >&2
    exit 2
fi
source_dir="$(cd "$(dirname "$0")/.." && pwd)"
if [[ -z "${FRITZBOX_PICTURES_NAMESPACE:-}" ]]; then
    exec "$source_dir/scripts/with-private-pictures.sh" "$0" "$@"
fi
build_dir="$(cd "$1" && pwd)"
shift
repetitions="${BENCH_REPETITIONS:-5}"
results="$build_dir/bench-results"
mkdir -p "$results"

# Builds the benchmark program of `commit` with this tree's bench/; prints its build directory.
build_commit() {
    local commit=$1 tree=$2
    if [[ ! -d "$tree" ]]; then
        git -C "$source_dir" worktree add --detach "$tree" "$commit" >&2
    fi
    rm -rf "$tree/bench"
    cp -r "$source_dir/bench" "$tree/bench"
    cmake -S "$tree" -B "$tree/build-bench" -G Ninja -DCMAKE_BUILD_TYPE=Release -DFRITZBOX_BUILD_BENCH=ON \
        -DFRITZBOX_BUILD_TOOLS=OFF >/dev/null
    cmake --build "$tree/build-bench" --target fritzbox_bench_fetch >&2
    echo "$tree/build-bench"
}

run_phonebook() {
    "$1/bin/fritzbox_bench_fetch" --benchmark_filter='BM_Phonebook(Sync|Download)/' \
        --benchmark_repetitions="$repetitions" --benchmark_display_aggregates_only=true \
        --benchmark_out="$2" --benchmark_out_format=json >/dev/null
}

tables=()
for commit in "$@"; do
    short="$(git -C "$source_dir" rev-parse --short "$commit")"
    run_phonebook "$(build_commit "$short" "/tmp/fritzbox-bench-$short")" "$results/phonebook-$short.json"
    tables+=("$short=$results/phonebook-$short.json")
done
run_phonebook "$build_dir" "$results/phonebook-current.json"
"$source_dir/bench/phonebook-table.py" "${tables[@]}" "current=$results/phonebook-current.json"
