#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Checks the module's shared library before it goes into a firmware image: the module's own
# classes are exported and nothing else is (no std:: instantiation, no helper), each of them under
# the version node FRITZBOX_XSI_1.0 (cmake/fritzbox-xsi-module.map), every platform name is left for
# the host process to resolve (referenced, never defined: a second copy in the module would shadow
# or clash with the firmware's), every library it needs (DT_NEEDED) is named in the package's bill of
# materials (cmake/fritzbox-xsi-module.spdx.in), and it reports the library's stripped size, the
# figure that counts on the phone's flash, and fails when it is over max-bytes (when given).
# Usage: check-module-library.sh <lib.so> [nm-tool [strip-tool [max-bytes]]]
# A cross build passes its target's tools (arm-linux-gnueabihf-nm and -strip; readelf is taken from
# beside nm).
set -euo pipefail

lib=${1:?usage: check-module-library.sh <lib.so> [nm-tool [strip-tool [max-bytes]]]}
nm_tool=${2:-nm}
strip_tool=${3:-${nm_tool%nm}strip}
max_bytes=${4:-}
readelf_tool=${nm_tool%nm}readelf
bill_of_materials=$(dirname "$0")/../cmake/fritzbox-xsi-module.spdx.in

module_names=(FritzBox BroadsoftServiceHelper)
version_node=FRITZBOX_XSI_1.0
# The platform names whose definitions are all out of line, so the host alone defines them. (Classes
# defined inline in the platform headers, such as CallItem or SecureTransportException, get a
# private copy of their inline members and typeinfo in the module; the check below keeps those
# copies out of the dynamic table.)
platform_names=(logAppQel loggingOnAppQel HttpClient SecureConnection SecureTransportContext ClientUtils Storage
                Serializer Cryptographer HardwareVersion)

# Demangled symbol names only (the address and type columns removed); dynamic ones end in
# @@VERSION (the default version a new link binds to) or @VERSION.
symbol_names() { "$nm_tool" -C "$@" "$lib" | sed -E 's/^[0-9a-fA-F ]+ [A-Za-z] //'; }
# The node's own name is an absolute dynamic symbol; the others are the library's exports.
exported_with_versions=$(symbol_names -D --defined-only | grep -vxF "$version_node" || true)
exported=$(sed -E 's/@@?[^@]+$//' <<<"$exported_with_versions")
undefined=$(symbol_names -D --undefined-only)
# The full symbol table also shows local definitions (none if the library is already stripped).
defined=$( (printf '%s\n' "$exported"; symbol_names --defined-only 2>/dev/null) | sort -u)

# The symbols that belong to NAME itself: its members, its vtable/typeinfo/thunks, or the function
# NAME. A name merely mentioned in a parameter or template argument (unique_ptr<HttpClient>) is not.
owned_by() { grep -E "^([a-z -]+ (for|to) )?$1(::|\(|$)" || true; }

failures=0
fail() {
    echo "FAIL: $lib $1" >&2
    failures=$((failures + 1))
}
for name in "${module_names[@]}"; do
    [ -n "$(owned_by "$name" <<<"$exported")" ] || fail "exports no $name symbol"
done
unversioned=$(grep -vF "@@$version_node" <<<"$exported_with_versions" || true)
[ -z "$unversioned" ] ||
    fail "exports $(wc -l <<<"$unversioned") symbol(s) outside the version $version_node, such as:"$'\n'"$(head -3 <<<"$unversioned" | sed 's/^/    /')"
module_pattern=$(IFS='|'; echo "${module_names[*]}")
foreign=$(owned_by "($module_pattern)" <<<"$exported" | grep -vxF -f - <(printf '%s\n' "$exported") || true)
[ -z "$foreign" ] || fail "exports more than its classes:"$'\n'"$(sed 's/^/    /' <<<"$foreign")"
for name in "${platform_names[@]}"; do
    own=$(owned_by "$name" <<<"$defined")
    if [ -n "$own" ]; then
        fail "defines platform symbols of $name:"$'\n'"$(sed 's/^/    /' <<<"$own")"
    elif [ -z "$(owned_by "$name" <<<"$undefined")" ]; then
        fail "does not reference $name from the host"
    fi
done

# (A sanitizer build's module also needs the sanitizer runtimes; such a build is never packaged.)
for needed in $("$readelf_tool" -dW "$lib" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]$/\1/p' | grep -vE '^lib[a-z]*san\.so'); do
    grep -qF "$needed" "$bill_of_materials" || fail "needs $needed, which the bill of materials does not name"
done

stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"$strip_tool" -o "$stripped" "$lib"
size=$(stat -c %s "$stripped")
echo "$(basename "$lib"): stripped size $size bytes ($(stat -L -c %s "$lib") unstripped)"
[ -z "$max_bytes" ] || [ "$size" -le "$max_bytes" ] || fail "is $size bytes stripped, over the $max_bytes allowed"

if [ "$failures" -ne 0 ]; then
    echo "check-module-library: $failures problem(s) in $lib" >&2
    exit 1
fi
echo "check-module-library: $lib exports only the module's classes, as $version_node, and leaves the platform to the host"
