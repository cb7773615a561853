#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The directory sync's growth curve of earlier commits next to this tree's, side by side in one
# run. This tree's fritzbox_bench_sync uses nothing of the module but FritzBox and nothing of the
# platform but its public controls, so it runs unchanged on any commit's module and platform
# libraries: once per commit with that commit's libraries put in front (LD_LIBRARY_PATH), then
# with this tree's. Router model, data and benchmark code are the same in every run; only the
# libraries under test differ, and each run's "module_library" context line proves which it loaded.
#   bench/compare-phonebook.sh BUILD_DIR COMMIT...
# BUILD_DIR is this tree's benchmark build. BENCH_REPETITIONS (default 5) sets the repetitions.
# A commit's worktree is /tmp/fritzbox-bench-<commit>, its libraries built (Release, as that
# commit builds them) in build-libs/; both are kept for the next run.
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
program="$build_dir/bin/fritzbox_bench_sync"
mkdir -p "$results"

# Builds the module and platform libraries of `commit` in its own worktree; prints the
# directories that hold them, as a library path.
build_libraries() {
    local commit=$1 tree=$2
    if [[ ! -d "$tree" ]]; then
        git -C "$source_dir" worktree add --detach "$tree" "$commit" >&2
    fi
    cmake -S "$tree" -B "$tree/build-libs" -G Ninja -DCMAKE_BUILD_TYPE=Release -DFRITZBOX_BUILD_TESTS=OFF \
        -DFRITZBOX_BUILD_TOOLS=OFF -DBUILD_TESTING=OFF >/dev/null
    cmake --build "$tree/build-libs" --target fritzbox_module fritzbox_platform >&2
    find "$tree/build-libs" \( -name 'libfritzbox-xsi-module.so*' -o -name 'libfritzbox-platform.so*' \) \
        -printf '%h\n' | sort -u | paste -sd:
}

# Runs the phonebook syncs with `library_path` in front; fails unless the module came from there.
run_phonebook() {
    local library_path=$1 out=$2 expected_prefix=$3
    LD_LIBRARY_PATH="$library_path" "$program" --benchmark_filter='BM_PhonebookSync/' \
        --benchmark_repetitions="$repetitions" --benchmark_display_aggregates_only=true \
        --benchmark_out="$out" --benchmark_out_format=json >/dev/null
    local loaded
    loaded=$(python3 -c 'import json, sys; print(json.load(open(sys.argv[1]))["context"]["module_library"])' "$out")
    if [[ "$loaded" != "$expected_prefix"* ]]; then
        echo "$0: the run meant for $expected_prefix loaded $loaded" >&2
        exit 1
    fi
}

tables=()
for commit in "$@"; do
    short="$(git -C "$source_dir" rev-parse --short "$commit")"
    tree="/tmp/fritzbox-bench-$short"
    run_phonebook "$(build_libraries "$short" "$tree")" "$results/phonebook-$short.json" "$tree/"
    tables+=("$short=$results/phonebook-$short.json")
done
run_phonebook "" "$results/phonebook-current.json" "$build_dir/"
"$source_dir/bench/phonebook-table.py" "${tables[@]}" "current=$results/phonebook-current.json"
