#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The module's shared library size, stripped, as it would go into a firmware image: the native
# build's and the 32-bit ARM build's (make arm-module), each checked by
# scripts/check-module-library.sh, which prints the size.
#   bench/library-sizes.sh NATIVE_BUILD_DIR ARM_MODULE_BUILD_DIR
set -euo pipefail

if [[ $# -ne 2 ]]; then
    echo "usage: $0 NATIVE_BUILD_DIR ARM_MODULE_BUILD_DIR" >&2
    exit 2
fi
check="$(cd "$(dirname "$0")/.." && pwd)/scripts/check-module-library.sh"
library=lib/libfritzbox-xsi-module.so

echo "native ($(uname -m)): $("$check" "$1/$library" | grep 'stripped size')"
if [[ -f "$2/$library" ]]; then
    echo "32-bit ARM: $("$check" "$2/$library" arm-linux-gnueabihf-nm | grep 'stripped size')"
else
    echo "32-bit ARM: no $2/$library; make arm-module builds it" >&2
    exit 1
fi
