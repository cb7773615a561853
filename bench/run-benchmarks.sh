#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Everything `make bench` measures, in a private picture directory (scripts/with-private-pictures.sh):
# the Google Benchmark programs, each benchmark repeated and shown as mean, median, spread and
# coefficient of variation (the figures in docs/performance.md are the medians); the peak memory
# of a 20,000-contact directory sync; the module library's stripped sizes, native and 32-bit ARM.
#   bench/run-benchmarks.sh BUILD_DIR ARM_MODULE_BUILD_DIR
# BENCH_REPETITIONS (default 5) sets the repetitions. BENCH_BASELINE="<commit>..." adds the
# directory sync's curves of those commits' libraries next to this tree's
# (bench/compare-phonebook.sh). The runs' JSON goes to BUILD_DIR/bench-results/.
set -euo pipefail

if [[ $# -ne 2 ]]; then
    echo "usage: $0 BUILD_DIR ARM_MODULE_BUILD_DIR" >&2
    exit 2
fi
bench_dir="$(cd "$(dirname "$0")" && pwd)"
if [[ -z "${FRITZBOX_PICTURES_NAMESPACE:-}" ]]; then
    exec "$bench_dir/../scripts/with-private-pictures.sh" "$0" "$@"
fi
build_dir="$1"
arm_module_build_dir="$2"
repetitions="${BENCH_REPETITIONS:-5}"
results="$build_dir/bench-results"
mkdir -p "$results"

echo "== machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //')," \
    "$(free -h | awk '/^Mem:/ { print $2 }') memory, load average $(cut -d' ' -f1-3 /proc/loadavg)"

for program in conversion sync fetch router_sim; do
    binary="$build_dir/bin/fritzbox_bench_$program"
    if [[ ! -x "$binary" ]]; then
        echo "== $program: not built (the router simulator needs FRITZBOX_BUILD_TOOLS=ON)" >&2
        continue
    fi
    echo "== $program"
    "$binary" --benchmark_repetitions="$repetitions" --benchmark_display_aggregates_only=true \
        --benchmark_out="$results/$program.json" --benchmark_out_format=json
done

echo "== peak memory"
"$bench_dir/peak-memory.sh" "$build_dir" 20000 "$repetitions"

echo "== module library"
"$bench_dir/library-sizes.sh" "$build_dir" "$arm_module_build_dir"

if [[ -n "${BENCH_BASELINE:-}" ]]; then
    echo "== phonebook curve: $BENCH_BASELINE and this tree"
    # Word splitting on purpose: the variable lists commits.
    # shellcheck disable=SC2086
    "$bench_dir/compare-phonebook.sh" "$build_dir" $BENCH_BASELINE
fi
