#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Builds the module the way a firmware build system does, from the recipes in contrib/, with
# nothing but the ARM cross compiler (an empty target sysroot: no GoogleTest, CLI11, cpp-httplib or
# Nettle to be found), and checks what lands:
#   yocto      OE-core's cmake class: a generated toolchain file around the cross compiler with the
#              distribution's flags and find roots, the recipe's EXTRA_OECMAKE and no build type,
#              Ninja, out of tree, `DESTDIR=image cmake --build --target install` (no stripping),
#              the files split into the recipe's packages as package.bbclass does
#   buildroot  pkg-cmake.mk: Buildroot's toolchain file (CMAKE_SYSROOT = staging) and -D switches,
#              the .mk's _CONF_OPTS after them, Unix Makefiles in <source>/buildroot-build,
#              install/fast into staging and target, the .mk's target hooks, target-finalize's
#              clean-up and strip
# Both then: the module at most 48 KiB stripped, exporting only its classes under its version node,
# hardened by the distribution's flags; headers, the CMake package and the .pc usable from the
# staging sysroot by a small consumer (CMake; pkg-config with PKG_CONFIG_SYSROOT_DIR, by pkgconf's
# and by freedesktop pkg-config's rules); the ABI probe and the conformance kit on the development
# side only.
# Usage: emulated-build.sh yocto|buildroot SOURCE_DIR CROSS_PREFIX WORK_DIR
#   CROSS_PREFIX e.g. /usr/bin/arm-linux-gnueabihf-
set -euo pipefail

usage="usage: emulated-build.sh yocto|buildroot SOURCE_DIR CROSS_PREFIX WORK_DIR"
[ $# -eq 4 ] || { echo "$usage" >&2 && exit 2; }
system=$1 source_dir=$(cd "$2" && pwd) cross=$3 work=$4
here=$(cd "$(dirname "$0")" && pwd)
flash_budget=49152
# The distributions' hardening (Yocto's security_flags.inc, Buildroot's BR2_SSP_STRONG,
# BR2_FORTIFY_SOURCE_2 and BR2_RELRO_FULL), which the recipes leave the module to.
security_cflags="-fstack-protector-strong -O2 -D_FORTIFY_SOURCE=2 -Wformat -Wformat-security -Werror=format-security"
relro_ldflags="-Wl,-z,relro,-z,now"

rm -rf "$work" && mkdir -p "$work"
unset CMAKE_GENERATOR CMAKE_BUILD_TYPE DESTDIR MAKEFLAGS  # neither system inherits ctest's settings

failures=0
fail() { echo "FAIL ($system): $*" >&2 && failures=$((failures + 1)); }
# Runs a step quietly, its output in WORK/<name>.log, shown when it fails.
step() {
    local name=$1
    shift
    echo "== $name: $*"
    "$@" >"$work/$name.log" 2>&1 || { cat "$work/$name.log" && fail "$name failed" && exit 1; }
}

# A variable of the recipe (NAME = "value" on one line).
recipe_value() { sed -nE "s/^$1 = \"(.*)\"\$/\\1/p" "$2"; }

# --- Yocto -----------------------------------------------------------------------------------

yocto_toolchain_file() {  # as cmake.bbclass writes ${WORKDIR}/toolchain.cmake
    cat <<EOF
set( CMAKE_SYSTEM_NAME Linux )
set( CMAKE_SYSTEM_PROCESSOR arm )
set( CMAKE_C_COMPILER ${tool}gcc )
set( CMAKE_CXX_COMPILER ${tool}g++ )
set( CMAKE_ASM_COMPILER ${tool}gcc )
find_program( CMAKE_AR ${tool}gcc-ar DOC "Archiver" REQUIRED )
set( CMAKE_C_FLAGS "$arch_flags --sysroot=$sysroot $CFLAGS" CACHE STRING "CFLAGS" )
set( CMAKE_CXX_FLAGS "$arch_flags --sysroot=$sysroot $CXXFLAGS" CACHE STRING "CXXFLAGS" )
set( CMAKE_ASM_FLAGS "$arch_flags --sysroot=$sysroot $CFLAGS" CACHE STRING "ASM FLAGS" )
set( CMAKE_C_FLAGS_RELEASE "-DNDEBUG" CACHE STRING "Additional CFLAGS for release" )
set( CMAKE_CXX_FLAGS_RELEASE "-DNDEBUG" CACHE STRING "Additional CXXFLAGS for release" )
set( CMAKE_ASM_FLAGS_RELEASE "-DNDEBUG" CACHE STRING "Additional ASM FLAGS for release" )
set( CMAKE_C_LINK_FLAGS "$arch_flags --sysroot=$sysroot $CFLAGS $LDFLAGS" CACHE STRING "LDFLAGS" )
set( CMAKE_CXX_LINK_FLAGS "$arch_flags --sysroot=$sysroot $CXXFLAGS $LDFLAGS" CACHE STRING "LDFLAGS" )
set( CMAKE_FIND_ROOT_PATH $sysroot $native_sysroot )
set( CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY )
set( CMAKE_FIND_ROOT_PATH_MODE_PROGRAM ONLY )
set( CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY )
set( CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY )
set( CMAKE_PROGRAM_PATH "/" )
set( CMAKE_INSTALL_RPATH  )
set( CMAKE_BUILD_RPATH_USE_ORIGIN ON )
set( CMAKE_LIBRARY_PATH /usr/lib /lib )
list(APPEND CMAKE_C_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
EOF
}

# The package a file of the image goes to: the first of PACKAGES whose FILES match it (a pattern
# matches the file itself, a glob over it, or a directory above it), as package.bbclass splits.
yocto_package_of() {
    local file=$1 package pattern patterns
    for package in "${packages[@]}"; do
        read -ra patterns <<<"${files[$package]:-}"
        for pattern in "${patterns[@]}"; do
            # shellcheck disable=SC2053  # the pattern is a glob on purpose
            if [[ $file == $pattern || $file == "$pattern"/* ]]; then
                echo "$package" && return
            fi
        done
    done
}

yocto() {
    local recipe=$source_dir/contrib/yocto/meta-fritzbox-xsi/recipes-support/fritzbox-xsi/fritzbox-xsi-module_1.0.bb
    local pn=fritzbox-xsi-module workdir=$work
    local build=$workdir/build image=$workdir/image
    tool=$(basename "$cross")  # the tools by name, as the recipe sysroot's PATH offers them
    sysroot=$workdir/recipe-sysroot native_sysroot=$workdir/recipe-sysroot-native
    mkdir -p "$sysroot" "$native_sysroot/usr/bin"
    # The cross tools and ninja as the native sysroot holds them, found through PATH and the find roots.
    ln -s "$cross"* "$(command -v ninja)" "$native_sysroot/usr/bin/"
    export PATH=$native_sysroot/usr/bin:$PATH
    local debug_maps="-fmacro-prefix-map=$source_dir=/usr/src/debug/$pn/1.0 -fdebug-prefix-map=$source_dir=/usr/src/debug/$pn/1.0 -fdebug-prefix-map=$build=/usr/src/debug/$pn/1.0 -fdebug-prefix-map=$sysroot= -fdebug-prefix-map=$native_sysroot="
    arch_flags="-mthumb -mfpu=neon-vfpv4 -mfloat-abi=hard -mcpu=cortex-a7"
    # bitbake exports these to the task too; CMake takes LDFLAGS from there for shared libraries.
    export CFLAGS="-O2 -pipe -g -feliminate-unused-debug-types $debug_maps $security_cflags"
    export CXXFLAGS="$CFLAGS -fvisibility-inlines-hidden"
    export LDFLAGS="-Wl,-O1 -Wl,--hash-style=gnu -Wl,--as-needed $debug_maps $relro_ldflags"
    yocto_toolchain_file >"$workdir/toolchain.cmake"

    # do_populate_lic compares the licence file with the recipe's checksum.
    [ "$(recipe_value LIC_FILES_CHKSUM "$recipe")" = "file://LICENSE;md5=$(md5sum <"$source_dir/LICENSE" | cut -d' ' -f1)" ] ||
        fail "LIC_FILES_CHKSUM is not the md5 of LICENSE"
    local extra_oecmake
    extra_oecmake=$(recipe_value EXTRA_OECMAKE "$recipe")
    [ -n "$extra_oecmake" ] || fail "$recipe sets no EXTRA_OECMAKE"
    # shellcheck disable=SC2086  # EXTRA_OECMAKE is a list of words
    step configure cmake -G Ninja -DCMAKE_MAKE_PROGRAM=ninja -S "$source_dir" -B "$build" \
        -DCMAKE_INSTALL_PREFIX:PATH=/usr -DCMAKE_INSTALL_BINDIR:PATH=bin -DCMAKE_INSTALL_SBINDIR:PATH=sbin \
        -DCMAKE_INSTALL_LIBEXECDIR:PATH=libexec -DCMAKE_INSTALL_SYSCONFDIR:PATH=/etc \
        -DCMAKE_INSTALL_SHAREDSTATEDIR:PATH=../com -DCMAKE_INSTALL_LOCALSTATEDIR:PATH=/var \
        -DCMAKE_INSTALL_LIBDIR:PATH=lib -DCMAKE_INSTALL_INCLUDEDIR:PATH=include -DCMAKE_INSTALL_DATAROOTDIR:PATH=share \
        -DPYTHON_EXECUTABLE:PATH=python3 -DLIB_SUFFIX= -DCMAKE_INSTALL_SO_NO_EXE=0 \
        -DCMAKE_TOOLCHAIN_FILE="$workdir/toolchain.cmake" -DCMAKE_NO_SYSTEM_FROM_IMPORTED=1 \
        -DCMAKE_EXPORT_NO_PACKAGE_REGISTRY=ON -DFETCHCONTENT_FULLY_DISCONNECTED=ON $extra_oecmake -Wno-dev
    step compile cmake --build "$build" --target all -- -j2
    step install env DESTDIR="$image" cmake --build "$build" --target install

    local module
    module=$(find "$image/usr/lib" -name 'libfritzbox-xsi-module.so.1.*' -type f)
    # Yocto strips and splits the debug information itself; its QA fails an already-stripped file.
    "${cross}readelf" -SW "$module" | grep -q '\.symtab' || fail "the install stripped the module"
    "${cross}readelf" -SW "$module" | grep -q '\.debug_info' || fail "the distribution's -g did not reach the module"
    check_module "$module"

    # The recipe's packages: its PACKAGE_BEFORE_PN and FILES over the class's defaults.
    local -A files=(
        [$pn-dev]="/usr/include /usr/lib/lib*.so /usr/lib/pkgconfig /usr/share/pkgconfig /usr/lib/cmake /usr/share/cmake"
        [$pn-doc]="/usr/share/doc /usr/share/man /usr/share/info"
        [$pn]="/usr/bin/* /usr/lib/lib*.so.* /usr/share/$pn /usr/lib/$pn/*")
    local before override name
    before=$(recipe_value PACKAGE_BEFORE_PN "$recipe" | sed "s/\${PN}/$pn/g")
    packages=("$pn-dev" "$pn-doc" $before "$pn")
    for name in $before "$pn" "$pn-dev"; do
        override=$(recipe_value "FILES:\\\$\\{PN\\}${name#"$pn"}" "$recipe" | sed 's|${datadir}|/usr/share|g;
            s|${libdir}|/usr/lib|g; s|${includedir}|/usr/include|g; s|${bindir}|/usr/bin|g')
        [ -z "$override" ] || files[$name]=$override
    done
    local file package listing=$work/packages.txt
    (cd "$image" && find . ! -type d | sed 's/^\.//' | sort) | while read -r file; do
        echo "$(yocto_package_of "$file" || true) $file"
    done >"$listing"
    echo "== packages"
    cat "$listing"
    grep -q '^ ' "$listing" && fail "installed but in no package: $(grep '^ ' "$listing" | tr '\n' ' ')"
    [ "$(awk -v pn="$pn" '$1 == pn { print $2 }' "$listing")" = "$(printf '%s\n' /usr/lib/libfritzbox-xsi-module.so.1 \
        /usr/lib/libfritzbox-xsi-module.so.1.0)" ] || fail "the runtime package $pn holds more or less than the library"
    grep -qE "^$pn-(dev|kit) /usr/share/fritzbox-xsi-module/abi/platform-abi-probe.cpp$" "$listing" ||
        fail "the ABI probe is not on the development side"
    grep -qE "^$pn-(dev|kit) /usr/share/fritzbox-xsi-module/conformance/CMakeLists.txt$" "$listing" ||
        fail "the conformance kit is not on the development side"

    # A recipe that depends on this one gets the image's files in its own sysroot.
    cp -a "$image"/. "$sysroot"/
    check_consumers "$workdir/toolchain.cmake" "$arch_flags --sysroot=$sysroot $CXXFLAGS" "$LDFLAGS"
    check_kit "$workdir/toolchain.cmake" "$sysroot"
}

# --- Buildroot -------------------------------------------------------------------------------

buildroot_toolchain_file() {  # support/misc/toolchainfile.cmake.in, filled in
    cat <<EOF
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_FLAGS "$target_cflags \${CMAKE_C_FLAGS}" CACHE STRING "Buildroot CFLAGS")
set(CMAKE_CXX_FLAGS "$target_cflags \${CMAKE_CXX_FLAGS}" CACHE STRING "Buildroot CXXFLAGS")
set(CMAKE_EXE_LINKER_FLAGS "$target_ldflags \${CMAKE_EXE_LINKER_FLAGS}" CACHE STRING "Buildroot LDFLAGS for executables")
set(CMAKE_SHARED_LINKER_FLAGS "$target_ldflags \${CMAKE_SHARED_LINKER_FLAGS}" CACHE STRING "Buildroot LDFLAGS for shared libraries")
set(CMAKE_MODULE_LINKER_FLAGS "$target_ldflags \${CMAKE_MODULE_LINKER_FLAGS}" CACHE STRING "Buildroot LDFLAGS for modules")
set(CMAKE_INSTALL_SO_NO_EXE 0)
set(CMAKE_PROGRAM_PATH "$host_dir/bin")
set(CMAKE_SYSROOT "$staging")
set(CMAKE_FIND_ROOT_PATH "$staging")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "$staging")
set(CMAKE_C_COMPILER "${cross}gcc")
set(CMAKE_CXX_COMPILER "${cross}g++")
EOF
}

# A variable or the target hooks of the package's .mk, as GNU make expands them.
buildroot_make() {
    make --no-print-directory -f - "$@" <<EOF
BR2_EXTERNAL_FRITZBOX_XSI_PATH := $source_dir/contrib/buildroot
TARGET_DIR := $target
include \$(BR2_EXTERNAL_FRITZBOX_XSI_PATH)/package/fritzbox-xsi-module/fritzbox-xsi-module.mk
print-%:
	@echo '\$(\$*)'
target-hooks:
	\$(foreach hook,\$(FRITZBOX_XSI_MODULE_POST_INSTALL_TARGET_HOOKS),\$(call \$(hook))\$(sep))
define sep


endef
EOF
}

buildroot() {
    local host_dir=$work/host staging=$work/host/arm-buildroot-linux-gnueabihf/sysroot target=$work/target
    local src=$work/build/fritzbox-xsi-module-1.0
    mkdir -p "$host_dir/share/buildroot" "$staging" "$target" "$src"
    target_cflags="-D_LARGEFILE_SOURCE -D_LARGEFILE64_SOURCE -D_FILE_OFFSET_BITS=64 -O2 -g0 $security_cflags"
    target_ldflags=$relro_ldflags
    buildroot_toolchain_file >"$host_dir/share/buildroot/toolchainfile.cmake"
    # _SITE_METHOD = local: the checkout is copied (Buildroot's rsync leaves out version control; the
    # copy here also leaves out the checkout's own build directories).
    (cd "$source_dir" && tar -c --exclude=.git --exclude='./build*' .) | tar -x -C "$src"

    # legal-info checks the licence files against the .hash file.
    grep -qx "sha256  $(sha256sum <"$source_dir/LICENSE" | cut -d' ' -f1)  LICENSE" \
        "$source_dir/contrib/buildroot/package/fritzbox-xsi-module/fritzbox-xsi-module.hash" ||
        fail "the .hash file has not the sha256 of LICENSE"
    local conf_opts
    conf_opts=$(buildroot_make print-FRITZBOX_XSI_MODULE_CONF_OPTS)
    [ "$(buildroot_make print-FRITZBOX_XSI_MODULE_SUPPORTS_IN_SOURCE_BUILD)" = NO ] ||
        fail "the .mk builds in the source tree"
    mkdir "$src/buildroot-build"
    export CFLAGS=$target_cflags CXXFLAGS=$target_cflags LDFLAGS=$target_ldflags  # TARGET_CONFIGURE_OPTS
    # shellcheck disable=SC2086  # _CONF_OPTS is a list of words
    step configure bash -c 'cd "$1" && rm -f CMakeCache.txt && shift && exec "$@"' _ "$src/buildroot-build" \
        cmake "$src" -DCMAKE_TOOLCHAIN_FILE="$host_dir/share/buildroot/toolchainfile.cmake" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_COLOR_MAKEFILE=OFF \
        -DBUILD_DOC=OFF -DBUILD_DOCS=OFF -DBUILD_EXAMPLE=OFF -DBUILD_EXAMPLES=OFF \
        -DBUILD_TEST=OFF -DBUILD_TESTS=OFF -DBUILD_TESTING=OFF -DBUILD_SHARED_LIBS=ON $conf_opts
    grep -q '^CMAKE_GENERATOR:INTERNAL=Unix Makefiles$' "$src/buildroot-build/CMakeCache.txt" ||
        fail "not configured for Unix Makefiles"
    step build make -j2 -C "$src/buildroot-build"
    step install-staging make DESTDIR="$staging" install/fast -C "$src/buildroot-build"
    step install-target make DESTDIR="$target" install/fast -C "$src/buildroot-build"
    step target-hooks buildroot_make target-hooks
    # target-finalize: development files and documentation go, every ELF file is stripped.
    rm -rf "$target"/usr/include "$target"/usr/share/aclocal "$target"/usr/lib/pkgconfig "$target"/usr/share/pkgconfig \
        "$target"/usr/lib/cmake "$target"/usr/share/cmake "$target"/usr/share/doc
    find "$target" -type f -exec sh -c 'head -c4 "$1" | grep -q ELF' _ {} \; -print0 |
        xargs -0 -r "${cross}strip" --remove-section=.comment --remove-section=.note

    echo "== target"
    (cd "$target" && find . ! -type d | sort)
    [ "$(cd "$target" && find . ! -type d | sort | tr '\n' ' ')" = \
        "./usr/lib/libfritzbox-xsi-module.so ./usr/lib/libfritzbox-xsi-module.so.1 ./usr/lib/libfritzbox-xsi-module.so.1.0 " ] ||
        fail "the target holds more or less than the library"
    check_module "$target/usr/lib/libfritzbox-xsi-module.so.1.0"
    [ -f "$staging/usr/share/fritzbox-xsi-module/abi/platform-abi-probe.cpp" ] || fail "the ABI probe is not in staging"
    check_consumers "$host_dir/share/buildroot/toolchainfile.cmake" "--sysroot=$staging $target_cflags" "$target_ldflags"
    check_kit "$host_dir/share/buildroot/toolchainfile.cmake" "$staging"
}

# --- What both must deliver ------------------------------------------------------------------

check_module() {
    "$source_dir/scripts/check-module-library.sh" "$1" "${cross}nm" "${cross}strip" "$flash_budget" || fail "library check"
    "$source_dir/scripts/check-hardening.sh" --single "${cross}readelf" "$1" || fail "hardening check"
}

# The staging sysroot as another package of the firmware uses it: a CMake project with
# find_package(FritzBoxXsi) and the system's toolchain file, and the pkg-config flags by both rule
# sets, each linking the glue library of tests/subproject against the module.
check_consumers() {
    local toolchain=$1 compile_flags=$2 link_flags=$3 root
    root=$(sed -nE 's/.*--sysroot=([^ ]+).*/\1/p' <<<"$compile_flags")
    step consumer-configure cmake -S "$here/consumer" -B "$work/consumer" -G Ninja -DCMAKE_MAKE_PROGRAM=ninja \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DFRITZBOX_GLUE_SOURCE="$source_dir/tests/subproject/glue.cpp"
    step consumer-build cmake --build "$work/consumer"
    # pkgconf puts PKG_CONFIG_SYSROOT_DIR in front of an -I or -L path that does not begin with it;
    # freedesktop pkg-config (0.29, OE-core's default pkgconfig) in front of every one (its parse.c),
    # which Debian no longer ships: its flags are pkgconf's without a sysroot, the sysroot put in front.
    local rules flags
    for rules in pkgconf freedesktop; do
        if [ "$rules" = pkgconf ]; then
            flags=$(PKG_CONFIG_LIBDIR="$root/usr/lib/pkgconfig" PKG_CONFIG_SYSROOT_DIR="$root" \
                pkgconf --cflags --libs fritzbox-xsi-module) || { fail "pkgconf finds no fritzbox-xsi-module" && continue; }
        else
            # (pkg-config compares -I and -L with the system directories after it has put the sysroot in
            # front, so it keeps them all)
            flags=$(PKG_CONFIG_LIBDIR="$root/usr/lib/pkgconfig" PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1 \
                PKG_CONFIG_ALLOW_SYSTEM_LIBS=1 pkgconf --cflags --libs fritzbox-xsi-module) || continue
            flags=$(sed -E "s#(^| )-([IL])#\\1-\\2$root#g" <<<"$flags")
        fi
        echo "== pkg-config ($rules): $flags"
        # shellcheck disable=SC2086  # flags are words
        "${cross}g++" $compile_flags -std=c++17 -fPIC -shared "$source_dir/tests/subproject/glue.cpp" $flags $link_flags \
            -o "$work/glue-$rules.so" 2>"$work/glue-$rules.log" ||
            { cat "$work/glue-$rules.log" && fail "the pkg-config flags ($rules) do not build a consumer"; }
    done
}

# The conformance kit as shipped, configured from the staging sysroot the way a firmware team starts
# it: all its sources are there and it finds the module's package. (Not built: that needs the
# firmware's platform library, named here only.)
check_kit() {
    local toolchain=$1 root=$2
    step kit-configure cmake -S "$root/usr/share/fritzbox-xsi-module/conformance" -B "$work/kit" -G Ninja \
        -DCMAKE_MAKE_PROGRAM=ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DFRITZBOX_PLATFORM="$root/usr/lib/libplatform.so"
}

case $system in
yocto | buildroot) "$system" ;;
*) echo "$usage" >&2 && exit 2 ;;
esac
if [ "$failures" -ne 0 ]; then
    echo "emulated-build: $failures problem(s) in the $system build" >&2
    exit 1
fi
echo "emulated-build: the $system build installs a module of the budget, and its staging sysroot builds consumers"
