#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Line and branch coverage of a test run in a --coverage build (see `make coverage`): one summary
# line per area on the terminal, an HTML report in BUILD_DIR/coverage/index.html and a text report
# per area beside it. Branches that only an exception takes, and those the compiler marks
# unreachable, are left out: they are the compiler's, not decisions of our code.
#   scripts/coverage.sh BUILD_DIR
set -euo pipefail

build=$1 report=$1/coverage
areas=(src platform/linux tools/common tools/fritzbox-xsi)
filters=() && for area in "${areas[@]}"; do filters+=(--filter "$area/"); done
mkdir -p "$report"

# The gcov pass reads every object once; the areas are cut from its trace file.
gcovr --root . --object-directory "$build" --exclude-directories "$build/CMakeFiles/[0-9]" \
    --exclude-throw-branches --exclude-unreachable-branches "${filters[@]}" \
    --json "$report/coverage.json" --html-details "$report/index.html"
summary() {  # summary NAME FILTER...: "NAME  lines N % (a/b)  branches N % (a/b)"
    local name=$1 && shift
    gcovr --root . --add-tracefile "$report/coverage.json" "$@" --print-summary --txt "$report/${name//\//-}.txt" |
        sed -n 's/^\(lines\|branches\): \([0-9.]*%\) (\([0-9]*\) out of \([0-9]*\))$/\1 \2 \3 \4/p' |
        awk -v name="$name" '{ cell[$1] = sprintf("%s %7s (%s/%s)", $1, $2, $3, $4) }
            END { printf "%-20s %-30s %s\n", name, cell["lines"], cell["branches"] }'
}
for area in "${areas[@]}"; do summary "$area" --filter "$area/"; done
summary all "${filters[@]}"
echo "HTML report: $report/index.html"
