#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Checks that built ELF files carry the hardening of cmake/Hardening.cmake, from what readelf shows,
# and prints one table row per file:
#   RELRO       a GNU_RELRO segment (relocations made read-only after loading)
#   BIND_NOW    BIND_NOW, or NOW in FLAGS / FLAGS_1: everything resolved at load, so RELRO covers the GOT
#   PIE         a program (it has an INTERP segment) is of type DYN; a shared library always is
#   stack       __stack_chk_fail imported: some function checks its canary
#   fortify     "yes": some __*_chk imported; "n/a": none of the libc functions glibc fortifies is
#               imported. "unseen": only their plain forms are, which a fortified build also gives
#               when every call either has a buffer of unknown size or is proven safe when compiled
#               (read(fd, buf, sizeof buf)), or goes through a pointer (std::to_string's vsnprintf).
#               So one file cannot fail on it; the run fails when fortifiable calls are imported
#               but no file shows a __*_chk: then the build has no _FORTIFY_SOURCE at all. With
#               --single, for one file checked alone (the phone's module, whose size-optimised build
#               proves every remaining memcpy safe), "unseen" is reported but not failed on: the
#               suites check fortification over the module, the platform and the programs together.
# Usage: check-hardening.sh [--single] READELF FILE...   (a cross build passes its target's readelf)
set -euo pipefail

single=
[ "${1:-}" != --single ] || { single=1 && shift; }
[ $# -ge 2 ] || { echo "usage: check-hardening.sh [--single] READELF FILE..." >&2 && exit 2; }
readelf=$1
shift

# The libc functions that _FORTIFY_SOURCE=2 can replace with a __<name>_chk variant.
fortifiable='memcpy|memmove|mempcpy|memset|stpcpy|stpncpy|strcpy|strncpy|strcat|strncat|sprintf|snprintf|vsprintf|vsnprintf|printf|fprintf|vprintf|vfprintf|dprintf|vdprintf|asprintf|vasprintf|fgets|fgets_unlocked|fread|fread_unlocked|read|pread|pread64|readlink|readlinkat|recv|recvfrom|getcwd|getwd|realpath|confstr|getgroups|ttyname_r|getlogin_r|gethostname|getdomainname|wcscpy|wcsncpy|wmemcpy|wmemmove|wmemset|swprintf|poll|ppoll|syslog|vsyslog|explicit_bzero|longjmp'

failures=0 fortified=0 unseen=0
row() { printf '%-34s %-8s %-6s %-9s %-5s %-6s %s\n' "$@"; }
row file kind RELRO BIND_NOW PIE stack fortify
for file in "$@"; do
    segments=$("$readelf" -lW "$file") dynamic=$("$readelf" -dW "$file") header=$("$readelf" -hW "$file")
    imports=$("$readelf" --dyn-syms -W "$file" | awk '$7 == "UND" { sub(/@.*/, "", $8); print $8 }')

    grep -q 'INTERP' <<<"$segments" && kind=program || kind=library
    grep -q 'GNU_RELRO' <<<"$segments" && relro=yes || relro=no
    grep -qE '\(BIND_NOW\)|\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*[[:space:]]NOW' <<<"$dynamic" && now=yes || now=no
    grep -qE 'Type:[[:space:]]+DYN' <<<"$header" && pie=yes || pie=no
    grep -qx '__stack_chk_fail' <<<"$imports" && stack=yes || stack=no
    checked=$(grep -E '^__.+_chk$' <<<"$imports" | grep -vx '__stack_chk_fail' | tr '\n' ' ' || true)
    plain=$(grep -xE "$fortifiable" <<<"$imports" | tr '\n' ' ' || true)
    if [ -n "$checked" ]; then
        fortify="yes: ${checked% }" fortified=$((fortified + 1))
    elif [ -z "$plain" ]; then
        fortify="n/a: calls no fortifiable function"
    else
        fortify="unseen: only ${plain% }" unseen=$((unseen + 1))
    fi

    row "$(basename "$file")" "$kind" "$relro" "$now" "$pie" "$stack" "$fortify"
    for verdict in "$relro" "$now" "$pie" "$stack"; do
        [ "$verdict" != no ] || failures=$((failures + 1))
    done
done

if [ "$unseen" -gt 0 ] && [ "$fortified" -eq 0 ] && [ -z "$single" ]; then
    echo "check-hardening: no file imports a __*_chk function: built without _FORTIFY_SOURCE" >&2
    failures=$((failures + 1))
fi
if [ "$failures" -ne 0 ]; then
    echo "check-hardening: $failures missing protection(s), marked \"no\" above" >&2
    exit 1
fi
