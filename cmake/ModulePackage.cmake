# make package: a .tar.gz (lib/ and include/ at its top, to unpack into any prefix) and a .deb
# (under /usr) of the module, for whatever the build targets: the phone's armhf in a cross build,
# the build machine otherwise. Only the component "module" goes in, so that programs a full build
# installs never end up in the firmware package.
set(CPACK_PACKAGE_NAME fritzbox-xsi-module)
set(CPACK_PACKAGE_VENDOR "fritzbox-xsi")
set(CPACK_PACKAGE_CONTACT "fritzbox-xsi maintainers <fritzbox-xsi@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "FritzBox router client module for the phone's Broadsoft service")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR TGZ DEB)
set(CPACK_STRIP_FILES ON)  # the firmware's flash counts the stripped size
set(CPACK_COMPONENTS_ALL module)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)

# The target, not the machine that builds: dpkg on the build machine would name its own.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  set(FRITZBOX_DEB_ARCH armhf)
else()
  execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE FRITZBOX_DEB_ARCH
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_ARCHIVE_FILE_NAME ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CPACK_SYSTEM_NAME})
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${FRITZBOX_DEB_ARCH})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# Only the C and C++ runtimes come from the package system (GLIBCXX_3.4.29 is GCC 11's libstdc++);
# the platform symbols come from the process that loads the module, which no package dependency
# can express (docs/integration.md).
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6 (>= 11)")
include(CPack)
