#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Installs the Debian 12 packages that building, testing, fuzzing and benchmarking need.
# It runs apt-get only when something is missing, so a second call costs a few dpkg queries.
# Set SKIP_ARM=1 to leave out the 32-bit ARM cross toolchain and its emulator.
set -euo pipefail

native_packages=(
  build-essential cmake ninja-build pkg-config
  libcpp-httplib-dev nettle-dev libgtest-dev libgmock-dev googletest
  libbenchmark-dev libcli11-dev libxml2-dev libxml2-utils
  clang libclang-rt-14-dev clang-format
  valgrind time gcovr python3 lintian abigail-tools iproute2 reuse diffoscope-minimal libfiu-dev
)
arm_packages=(
  g++-arm-linux-gnueabihf qemu-user nettle-dev:armhf libc6:armhf libstdc++6:armhf
)

missing=()
native_arch=$(dpkg --print-architecture)
# A name without ":arch" means the native (or architecture-independent) package; dpkg-query lists
# every installed architecture of a multiarch package, one line each.
is_installed() {
    local name=${1%%:*} arch=$native_arch
    [[ $1 == *:* ]] && arch=${1#*:}
    dpkg-query -W -f='${Architecture} ${Status}\n' "$name" 2>/dev/null |
        grep -qE "^($arch|all) install ok installed$"
}

want=("${native_packages[@]}")
if [ "${SKIP_ARM:-0}" != 1 ]; then
  if ! dpkg --print-foreign-architectures | grep -qx armhf; then
    echo "install-deps: adding the armhf architecture for the cross build"
    dpkg --add-architecture armhf
    need_update=1
  fi
  want+=("${arm_packages[@]}")
fi

# Debian's armhf libfiu packages cannot be installed beside the native ones (both own
# /usr/lib/fiu), so the ARM suite's fault test takes them as files: downloaded here, unpacked into
# the ARM build tree by tests/faults/CMakeLists.txt.
armhf_debs=/var/cache/fritzbox-xsi/armhf
armhf_deb_packages=(libfiu0:armhf libfiu-dev:armhf)
fetch_armhf_debs() {
  [ "${SKIP_ARM:-0}" = 1 ] && return 0
  compgen -G "$armhf_debs/libfiu0_*_armhf.deb" >/dev/null && compgen -G "$armhf_debs/libfiu-dev_*_armhf.deb" >/dev/null &&
    return 0
  echo "install-deps: downloading ${armhf_deb_packages[*]} into $armhf_debs"
  mkdir -p "$armhf_debs"
  (cd "$armhf_debs" && apt-get download -qq "${armhf_deb_packages[@]}" 2>/dev/null) ||
    { apt-get update -qq && (cd "$armhf_debs" && apt-get download -qq "${armhf_deb_packages[@]}" 2>/dev/null); }
}

for p in "${want[@]}"; do is_installed "$p" || missing+=("$p"); done
if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  fetch_armhf_debs
  exit 0
fi

if [ "$(id -u)" != 0 ]; then
  echo "install-deps: missing packages (${missing[*]}); run as root or install them first" >&2
  exit 1
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# A mirror in the middle of a sync can fail one index file; the others are still good, so a
# failed update is tried once more and then the install goes ahead with what was fetched.
apt-get update -qq || { sleep 5; apt-get update -qq; } || echo "install-deps: package index update incomplete, going on" >&2
apt-get install -y -qq --no-install-recommends "${missing[@]}"
fetch_armhf_debs
