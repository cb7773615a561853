#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Fails when the module calls a platform operation that no row of the kit's registry names: every
# platform symbol the module's library leaves undefined (scripts/host-symbols.sh), and every
# virtual platform operation its sources call (the platform's vtables carry those, not its symbol
# table).
# Usage: registry-coverage.sh REGISTRY MODULE_LIBRARY NM SOURCE_DIR
set -euo pipefail

registry=$1 library=$2 nm_tool=$3 root=$4

# "Class::name" or "name": what a registry row's operations column holds.
named=$(grep -v '^#' "$registry" | cut -f3 | tr ' ' '\n' | sort -u)
symbols=$("$root/scripts/host-symbols.sh" "$library" "$nm_tool" |
    sed -n '/^host platform/,/^[^ ]/{s/^    //p}' | sed -E 's/(\[abi:[^]]*\])?\(.*$//')

# The virtual functions the platform headers declare ("Class::name", the destructors as
# "Class::~Class"), kept when the module's sources call them (by name, or by deleting the class).
virtuals=$(awk '/^class [A-Za-z]+/ { cls = $2 }
    /virtual / { match($0, /~?[A-Za-z_]+\(/); if (RSTART) print cls "::" substr($0, RSTART, RLENGTH - 1) }' \
    "$root"/platform/*.h | sed -E 's/^HttpClientIfc::/HttpClient::/; s/::~HttpClientIfc$/::~HttpClient/;
    s/^SecureTransportContextIfc::~SecureTransportContextIfc$/SecureTransportContext::~SecureTransportContext/' |
    sort -u | while read -r operation; do
        name=${operation#*::}
        if [[ $name == "~"* ]]; then
            grep -qE "(unique_ptr<|new )${name#\~}\b" "$root"/src/*.cpp "$root"/src/*.h && echo "$operation"
        else
            grep -qE "(->|\.)$name\(" "$root"/src/*.cpp && echo "$operation"
        fi
    done || true)

missing=$(comm -23 <(printf '%s\n%s\n' "$symbols" "$virtuals" | sort -u) <(echo "$named"))
if [ -n "$missing" ]; then
    echo "platform operations the module calls that no assumption of $registry names:"
    echo "$missing"
    exit 1
fi
echo "every platform operation the module calls is in the registry:"
printf '%s\n%s\n' "$symbols" "$virtuals" | sort -u
