#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Lists what the module's library needs from the process that loads it: every undefined dynamic
# symbol, demangled, grouped by who provides it (the host's platform, the C++ runtime, the C
# library, libgcc), with the symbol version each runtime symbol asks for. docs/integration.md
# carries this list; scripts/integration-doc.sh compares it there.
# Usage: host-symbols.sh <lib.so> [nm-tool]
set -euo pipefail

lib=${1:?usage: host-symbols.sh <lib.so> [nm-tool]}
nm_tool=${2:-nm}

# "U name@VERSION" per line; weak undefined names (w) are optional hooks (_ITM_*, __gmon_start__)
# the loader does without, so they are left out.
undefined=$("$nm_tool" -D -C --undefined-only "$lib" | sed -nE 's/^ *U //p' |
    sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g')

section() {  # title, grep pattern on the version suffix
    local names
    names=$(grep -E "$2" <<<"$undefined" | LC_ALL=C sort -u || true)
    [ -n "$names" ] || return 0
    printf '%s (%s)\n' "$1" "$(wc -l <<<"$names")"
    sed 's/^/    /' <<<"$names"
}
section "host platform" '^[^@]*$'
section "C++ runtime, libstdc++" '@(GLIBCXX|CXXABI)_'
section "C library" '@GLIBC_'
section "libgcc" '@GCC_'
