# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The hardening Debian gives its own packages (dpkg-buildflags with hardening=+all), for every target
# of this directory and below: the module, the platform library, the programs and the tests alike
# (also the GoogleTest a cross build compiles), natively and for ARM. The module parses what a router
# on the network sends, so a stack overflow in it must stop the phone's service rather than run an
# attacker's code.
#
#   -fstack-protector-strong    canary check in every function with a local array or address
#   -fstack-clash-protection    a large stack allocation probes each page, so it cannot jump the guard
#   -fcf-protection             x86-64 only: CET branch markers (the phone's ARM has no such thing)
#   -D_FORTIFY_SOURCE=2         bounds-checked libc calls (__memcpy_chk, __snprintf_chk, ...); only
#                               where the build type optimises, since glibc needs -O to apply it
#   -z relro -z now             relocations resolved at load and made read-only afterwards; for the
#                               module this also means a platform symbol the firmware lacks fails
#                               the load instead of the first call that needs it
#   PIC and PIE                 every object position-independent, programs linked as PIE
#
# FRITZBOX_HARDENING (on when this is the top-level project) switches all of it: a distribution's
# build (Yocto's security flags, Buildroot's BR2_SSP_* and BR2_FORTIFY_SOURCE_*) or an including
# project turns it off and its own flags then stand alone, with no _FORTIFY_SOURCE redefined and no
# stack protector forced.
#
# With FRITZBOX_SANITIZE (the ASan suite and the fuzzers) _FORTIFY_SOURCE is left out: its inline
# wrappers send libc calls to the __*_chk entry points, past AddressSanitizer's interceptors, so
# the sanitizer would see less; it checks those accesses more strictly itself.
option(FRITZBOX_HARDENING "Harden every target: stack protector, _FORTIFY_SOURCE=2, full RELRO, PIC/PIE"
       ${PROJECT_IS_TOP_LEVEL})

# fritzbox_add_hardening_check(NAME [SINGLE] TARGETS...): registers the test NAME,
# scripts/check-hardening.sh over those of the targets that this build makes, with the target's
# readelf (SINGLE: the files are judged one by one, see the script). Only where this file hardens
# the build and the suite is built; not in a sanitizer build, nor in one that does not optimise
# (Debug, the coverage build): neither has _FORTIFY_SOURCE (see above).
function(fritzbox_add_hardening_check name)
  if(NOT FRITZBOX_HARDENING OR NOT FRITZBOX_TESTING OR FRITZBOX_SANITIZE
     OR NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
  endif()
  cmake_parse_arguments(ARG "SINGLE" "" "" ${ARGN})
  set(files)
  foreach(target ${ARG_UNPARSED_ARGUMENTS})
    if(TARGET ${target})
      list(APPEND files $<TARGET_FILE:${target}>)
    endif()
  endforeach()
  set(single)
  if(ARG_SINGLE)
    set(single --single)
  endif()
  add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-hardening.sh ${single} ${CMAKE_READELF} ${files})
endfunction()

if(NOT FRITZBOX_HARDENING)
  return()
endif()

# A vendor SDK's older compiler may lack a flag; the build then goes on without it, and the ELF
# check (scripts/check-hardening.sh) shows what the binaries have.
include(CheckCXXCompilerFlag)
set(fritzbox_hardening_flags -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  list(APPEND fritzbox_hardening_flags -fcf-protection)
endif()
foreach(flag ${fritzbox_hardening_flags})
  string(MAKE_C_IDENTIFIER "FRITZBOX_HAS${flag}" supported)
  check_cxx_compiler_flag(${flag} ${supported})
  if(${supported})
    add_compile_options(${flag})
  endif()
endforeach()

if(NOT FRITZBOX_SANITIZE)
  # -U first: a _FORTIFY_SOURCE from the environment's CPPFLAGS would otherwise clash with ours.
  set(optimised $<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>,$<CONFIG:MinSizeRel>>)
  add_compile_options("$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

add_link_options(LINKER:-z,relro LINKER:-z,now)

# Every target compiled position-independent; with policy CMP0083 (CMake 3.14) executables are then
# also linked with -pie where the toolchain supports it, which check_pie_supported finds out.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
