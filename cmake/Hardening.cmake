# fritzbox_hardening: an INTERFACE library with the hardening Debian gives its own packages
# (dpkg-buildflags with hardening=+all), for the module, the platform library, the programs and the
# tests alike, natively and for ARM. The module parses what a router on the network sends, so a
# stack overflow in it must stop the phone's service rather than run an attacker's code.
#
#   -fstack-protector-strong    canary check in every function with a local array or address
#   -fstack-clash-protection    a large stack allocation probes each page, so it cannot jump the guard
#   -fcf-protection             x86-64 only: CET branch markers (the phone's ARM has no such thing)
#   -D_FORTIFY_SOURCE=2         bounds-checked libc calls (__memcpy_chk, __snprintf_chk, ...); only
#                               where the build type optimises, since glibc needs -O to apply it
#   -z relro -z now             relocations resolved at load and made read-only afterwards; for the
#                               module this also means a platform symbol the firmware lacks fails
#                               the load instead of the first call that needs it
#   PIE                         programs are position-independent executables
#
# With FRITZBOX_SANITIZE (the ASan suite and the fuzzers) _FORTIFY_SOURCE is left out: its inline
# wrappers send libc calls to the __*_chk entry points, past AddressSanitizer's interceptors, so
# the sanitizer would see less; it checks those accesses more strictly itself.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

add_library(fritzbox_hardening INTERFACE)

# A vendor SDK's older compiler may lack a flag; the build then goes on without it, and the ELF
# check (scripts/check-hardening.sh) shows what the binaries have.
set(fritzbox_hardening_flags -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  list(APPEND fritzbox_hardening_flags -fcf-protection)
endif()
foreach(flag ${fritzbox_hardening_flags})
  string(MAKE_C_IDENTIFIER "FRITZBOX_HAS${flag}" supported)
  check_cxx_compiler_flag(${flag} ${supported})
  if(${supported})
    target_compile_options(fritzbox_hardening INTERFACE ${flag})
  endif()
endforeach()

if(NOT FRITZBOX_SANITIZE)
  # -U first: a _FORTIFY_SOURCE from the environment's CPPFLAGS would otherwise clash with ours.
  set(optimised $<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>,$<CONFIG:MinSizeRel>>)
  target_compile_options(fritzbox_hardening INTERFACE "$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

target_link_options(fritzbox_hardening INTERFACE LINKER:-z,relro LINKER:-z,now)

# With policy CMP0083 (CMake 3.14), executables are linked with -pie when POSITION_INDEPENDENT_CODE
# is on (the top-level CMakeLists.txt sets it for every target) and the toolchain supports it.
check_pie_supported(LANGUAGES CXX)

# Registers the test hardening_check: scripts/check-hardening.sh over those of the given targets
# that this build makes, with the target's readelf. Not in a sanitizer build, nor in one that does
# not optimise (Debug, the coverage build): neither has _FORTIFY_SOURCE (see above).
function(fritzbox_add_hardening_check)
  if(FRITZBOX_SANITIZE OR NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
  endif()
  set(files)
  foreach(target ${ARGN})
    if(TARGET ${target})
      list(APPEND files $<TARGET_FILE:${target}>)
    endif()
  endforeach()
  add_test(NAME hardening_check COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-hardening.sh ${CMAKE_READELF} ${files})
endfunction()
