#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Gives every file of the tree that has none an SPDX header, the copyright line of the fritzbox-xsi
# authors and the licence identifier MIT, as a comment in the file's own syntax, added above the
# comment that explains the file (and below a #! line). Files whose bytes are data are licensed in
# .reuse/dep5 instead and left alone. Afterwards `reuse lint` (ctest reuse_lint) is clean; run it
# again for files added later.
# Usage: annotate-licences.sh   (from anywhere in the checkout; needs git and Debian's reuse)
set -euo pipefail

# The comment syntax of each kind of file, as reuse annotate's options (reuse does not know every
# kind by its name).
style_of() {
    case $1 in
    *.map) echo "--style c --multi-line" ;;  # the linker reads /* */ comments only
    *.cpp | *.h | *.inc | *.cpp.in) echo "--style c" ;;
    *.md | *.xsd) echo "--style html" ;;
    *) echo "--style python" ;;  # scripts, CMake, Make, recipes, Kconfig, YAML, tables: a # line
    esac
}

# The whole run is one function, read before it starts: the script's own header is written while
# it runs.
main() {
    cd "$(git -C "$(dirname "$0")" rev-parse --show-toplevel)"
    header=(--copyright "The fritzbox-xsi authors" --license MIT --year 2026 --no-replace)
    # A file that names its licence already keeps its header (the tag is split here so that reuse
    # does not take this line for one).
    licence_tag="SPDX-License"-Identifier:

    # Everything git knows, less the licence texts, what .reuse/dep5 covers and what has a header,
    # by comment syntax.
    dep5_patterns=$(sed -n 's/^Files: //p' .reuse/dep5 | tr ' ' '\n')
    declare -A files_of
    while IFS= read -r file; do
        case $file in LICENSE | LICENSES/* | .reuse/*) continue ;; esac
        covered=
        while IFS= read -r pattern; do
            # shellcheck disable=SC2053  # a dep5 pattern is a glob
            [[ $file == $pattern ]] && covered=1 && break
        done <<<"$dep5_patterns"
        [ -n "$covered" ] || grep -qF "$licence_tag" "$file" || files_of[$(style_of "$file")]+="$file"$'\n'
    done < <(git ls-files --cached --others --exclude-standard)
    newline=$'\n'
    for style in "${!files_of[@]}"; do
        mapfile -t files <<<"${files_of[$style]%"$newline"}"
        # shellcheck disable=SC2086  # the style is a list of options
        reuse annotate "${header[@]}" $style "${files[@]}" >/dev/null
    done
    reuse lint
}
main "$@"; exit
