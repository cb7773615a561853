#!/usr/bin/env bash
# Keeps the generated parts of docs/integration.md true to the library the build made. Each part
# sits between "<!-- begin NAME -->" and "<!-- end NAME -->" as a text block:
#   host-platform-symbols  what the host's platform must define (any build: the names do not
#                          depend on the target or the optimisation level)
#   runtime-versions       the highest symbol versions asked of libstdc++, libc and libgcc
#   platform-layouts       the output of the layout program (scripts/platform-layout.cpp)
#   runtime-symbols        every runtime symbol; written by "update", never compared, because the
#                          optimisation level changes which inline std:: code calls the runtime
# The last three are the 32-bit ARM target's and are handled only when a layout command is given.
# Usage: integration-doc.sh check|update <doc.md> <lib.so> <nm-tool> [layout-command ...]
set -euo pipefail

mode=${1:?usage: integration-doc.sh check|update <doc.md> <lib.so> <nm-tool> [layout-command ...]}
doc=${2:?doc}
lib=${3:?lib}
nm_tool=${4:?nm-tool}
shift 4
here=$(dirname "$0")
symbols=$("$here/host-symbols.sh" "$lib" "$nm_tool")

# The lines of section TITLE of host-symbols.sh's output, without the heading.
symbol_section() { awk -v title="$1" '/^[^ ]/ { on = index($0, title) == 1; next } on { sub(/^    /, ""); print }' <<<"$symbols"; }

# Highest version of each runtime symbol-version family (GLIBCXX_3.4.29, CXXABI_1.3.9, ...).
runtime_versions() {
    grep -oE '@[A-Z_]+_[0-9.]+$' <<<"$symbols" | tr -d @ | sort -V | awk -F_ '
        { family = $0; sub(/_[0-9.]+$/, "", family); highest[family] = $0 }
        END { for (f in highest) print highest[f] }' | LC_ALL=C sort
}

# The text between the markers of NAME in the doc, without the code fence lines.
doc_block() {
    awk -v name="$1" '$0 == "<!-- begin " name " -->" { on = 1; next } $0 == "<!-- end " name " -->" { on = 0 }
        on && !/^```/' "$doc"
}

replace_block() {  # name, file with the new text
    awk -v name="$1" -v file="$2" '
        $0 == "<!-- begin " name " -->" { print; print "```text"; while ((getline line < file) > 0) print line; print "```"; skip = 1; next }
        $0 == "<!-- end " name " -->" { skip = 0 }
        !skip' "$doc" >"$doc.new"
    mv "$doc.new" "$doc"
}

failures=0
handle() {  # name, generated text, compare (yes/no)
    local generated
    generated=$(mktemp)
    printf '%s\n' "$2" >"$generated"
    grep -qxF "<!-- begin $1 -->" "$doc" || { echo "integration-doc: $doc has no section $1" >&2; exit 1; }
    if [ "$mode" = update ]; then
        replace_block "$1" "$generated"
    elif [ "$3" = yes ] && ! diff -u --label "$doc ($1)" --label "this build" <(doc_block "$1") "$generated"; then
        failures=$((failures + 1))
    fi
    rm -f "$generated"
}

handle host-platform-symbols "$(symbol_section "host platform")" yes
if [ $# -gt 0 ]; then
    handle runtime-versions "$(runtime_versions)" yes
    handle platform-layouts "$("$@")" yes
    handle runtime-symbols "$(grep -v '^host platform' <<<"$symbols" | awk '/^[^ ]/ { on = 1 } on')" no
fi
if [ "$failures" -ne 0 ]; then
    echo "integration-doc: $doc differs from this build in $failures section(s)." >&2
    echo "If the change is meant, review it and rewrite the sections: cmake --build <arm-build> --target integration-doc" >&2
    exit 1
fi
echo "integration-doc: $doc $mode: ok"
