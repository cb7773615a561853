#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Keeps the generated parts of docs/integration.md true to the library the build made. Each part
# sits between "<!-- begin NAME -->" and "<!-- end NAME -->" as a text block:
#   host-platform-symbols  what the host's platform must define (any build: the names do not
#                          depend on the target or the optimisation level)
#   platform-layouts       sizes, CallInfo's member offsets and the virtual function slots of the
#                          platform objects the module compiles in, read from the 32-bit ARM
#                          platform ABI baseline (abi/platform-armhf.abi, which platform_abi_check
#                          holds to the headers): any build
#   runtime-versions       the highest symbol versions asked of libstdc++, libc and libgcc
#   runtime-symbols        every runtime symbol; written by "update", never compared, because the
#                          optimisation level changes which inline std:: code calls the runtime
# The last two are the 32-bit ARM target's and are handled only with --runtime.
# Usage: integration-doc.sh check|update <doc.md> <lib.so> <nm-tool> <platform-armhf.abi> [--runtime]
set -euo pipefail

usage="usage: integration-doc.sh check|update <doc.md> <lib.so> <nm-tool> <platform-armhf.abi> [--runtime]"
mode=${1:?$usage}
doc=${2:?$usage}
lib=${3:?$usage}
nm_tool=${4:?$usage}
abi=${5:?$usage}
runtime=${6:-}
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

# One value of the ABI baseline: an XPath expression's text.
abi_value() { xmllint --xpath "string($1)" "$abi"; }

# A class of the ABI baseline: its size, its base classes, and its own virtual functions with their
# vtable slots (a destructor without one: the complete and the deleting destructor take slots 0
# and 1).
layout_row() {  # display name (the baseline's name is the part after the last ::)
    local class="//class-decl[@name='${1##*::}' and @size-in-bits]" bits bases='' virtuals='' count i slot name
    bits=$(abi_value "$class/@size-in-bits")
    [ -n "$bits" ] || { echo "integration-doc: $abi describes no class $1" >&2 && exit 1; }
    count=$(abi_value "count($class/base-class)")
    for i in $(seq "$count"); do
        name=$(abi_value "//class-decl[@id=string($class/base-class[$i]/@type-id)]/@name")
        bases+="${bases:+, }$name"
    done
    count=$(abi_value "count($class/member-function[@vtable-offset])")
    for i in $(seq "$count"); do
        slot=$(abi_value "$class/member-function[@vtable-offset][$i]/@vtable-offset")
        name=$(abi_value "$class/member-function[@vtable-offset][$i]/function-decl/@name")
        [ "$slot" -ge 0 ] && name="$slot $name"
        virtuals+="${virtuals:+, }$name"
    done
    printf '%-36s size %3d%s%s\n' "$1" $((bits / 8)) "${bases:+  base: $bases}" "${virtuals:+  virtual: $virtuals}"
}

layout_table() {
    local standard="//class-decl[@size-in-bits and starts-with(@name"
    printf 'std::string %d, std::list %d, std::multimap %d\n' \
        $(($(abi_value "$standard, 'basic_string<')]/@size-in-bits") / 8)) \
        $(($(abi_value "$standard, 'list<')]/@size-in-bits") / 8)) \
        $(($(abi_value "$standard, 'multimap<')]/@size-in-bits") / 8))
    local row i members="//class-decl[@name='CallInfo' and @size-in-bits]/data-member"
    for row in SecurityCertificate SecurityKey CertificateVerificationPolicy OnlineCertStatusPolicy \
        SecureTransportContext SecureConnection HttpClientIfc HttpClient Cryptographer GPALException \
        SecureTransportException CallInfo MissedCallItem::MissedCallInfo DialledCallItem::DialledCallInfo \
        ReceivedCallItem::ReceivedCallInfo CallItem CallItemWithPicture MissedCallItem DialledCallItem \
        ReceivedCallItem; do
        layout_row "$row"
        [ "$row" = CallInfo ] || continue
        for i in $(seq "$(abi_value "count($members)")"); do
            printf '    %-32s offset %3d\n' "$(abi_value "$members[$i]/var-decl/@name")" \
                $(($(abi_value "$members[$i]/@layout-offset-in-bits") / 8))
        done
    done
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
handle platform-layouts "$(layout_table)" yes
if [ "$runtime" = --runtime ]; then
    handle runtime-versions "$(runtime_versions)" yes
    handle runtime-symbols "$(grep -v '^host platform' <<<"$symbols" | awk '/^[^ ]/ { on = 1 } on')" no
fi
if [ "$failures" -ne 0 ]; then
    echo "integration-doc: $doc differs from this build in $failures section(s)." >&2
    echo "If the change is meant, review it and rewrite the sections: cmake --build <arm-build> --target integration-doc" >&2
    exit 1
fi
echo "integration-doc: $doc $mode: ok"
