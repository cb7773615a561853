# Cross build for the desk phone's 32-bit ARM Linux (hard-float EABI) with Debian's cross compiler
# and the armhf multiarch libraries. Test programs run under qemu user-mode emulation, so ctest
# works unchanged in a cross build directory.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(FRITZBOX_ARM_TRIPLET arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${FRITZBOX_ARM_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${FRITZBOX_ARM_TRIPLET}-g++)

# The cross C library lives in /usr/arm-linux-gnueabihf; target packages (Nettle) are installed
# multiarch, under /usr/lib/arm-linux-gnueabihf with headers shared in /usr/include. With "/" as a
# root and CMAKE_LIBRARY_ARCHITECTURE set, find_library searches the multiarch directory.
set(CMAKE_LIBRARY_ARCHITECTURE ${FRITZBOX_ARM_TRIPLET})
set(CMAKE_FIND_ROOT_PATH /usr/${FRITZBOX_ARM_TRIPLET} /)
# Programs run on the build machine; libraries and headers must be the target's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The test programs run on the armhf multiarch runtime (libc6:armhf, libstdc++6:armhf): loader and
# C library from one package. The cross compiler's copy in /usr/arm-linux-gnueabihf is not used:
# its loader would pick up the multiarch libc.so.6, and when the two glibc builds differ, threads
# crash in pthread_create.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/)
