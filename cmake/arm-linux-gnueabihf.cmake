# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Cross build for the desk phone's 32-bit ARM Linux (hard-float EABI). Test programs run under qemu
# user-mode emulation, so ctest works unchanged in a cross build directory.
#
# Two ways to build, chosen by two settings, each taken from -D on the command line or else from
# the environment variable of the same name:
#   FRITZBOX_CROSS_PREFIX  compiler prefix, e.g. /opt/sdk/bin/arm-vendor-linux-gnueabihf-
#                          (default arm-linux-gnueabihf-, Debian's cross compiler on the PATH)
#   FRITZBOX_SYSROOT       the vendor SDK's target root file system; -DCMAKE_SYSROOT works too.
#                          Default: none, Debian's armhf multiarch libraries in / are the target's.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

foreach(setting FRITZBOX_CROSS_PREFIX FRITZBOX_SYSROOT)
  if(NOT DEFINED ${setting} AND DEFINED ENV{${setting}})
    set(${setting} "$ENV{${setting}}")
  endif()
endforeach()
if(NOT FRITZBOX_CROSS_PREFIX)
  set(FRITZBOX_CROSS_PREFIX arm-linux-gnueabihf-)
endif()
if(FRITZBOX_SYSROOT AND NOT CMAKE_SYSROOT)
  set(CMAKE_SYSROOT "${FRITZBOX_SYSROOT}")
endif()
# The compiler checks run in projects of their own, which read this file again.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES FRITZBOX_CROSS_PREFIX FRITZBOX_SYSROOT CMAKE_SYSROOT)

set(CMAKE_C_COMPILER ${FRITZBOX_CROSS_PREFIX}gcc)
set(CMAKE_CXX_COMPILER ${FRITZBOX_CROSS_PREFIX}g++)

# Programs run on the build machine; libraries and headers must be the target's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(CMAKE_SYSROOT)
  # Everything of the target, the C library and the runtime loader included, is in the sysroot;
  # find_* searches it as its root (CMAKE_SYSROOT is always a find root).
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;${CMAKE_SYSROOT})
else()
  # The cross C library lives in /usr/arm-linux-gnueabihf; target packages (Nettle) are installed
  # multiarch, under /usr/lib/arm-linux-gnueabihf with headers shared in /usr/include. With "/" as a
  # root and CMAKE_LIBRARY_ARCHITECTURE set, find_library searches the multiarch directory.
  set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
  set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /)
  # The test programs run on the armhf multiarch runtime (libc6:armhf, libstdc++6:armhf): loader
  # and C library from one package. The cross compiler's copy in /usr/arm-linux-gnueabihf is not
  # used: its loader would pick up the multiarch libc.so.6, and when the two glibc builds differ,
  # threads crash in pthread_create.
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/)
endif()
