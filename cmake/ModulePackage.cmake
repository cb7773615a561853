# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# make package: the module for whatever the build targets (the phone's armhf in a cross build, the
# build machine otherwise), from a build configured for packages (the package-* presets: MinSizeRel,
# install prefix /usr, the multiarch library directory).
#   cpack         a .tar.gz of the components "module" and "conformance" (the kit's sources)
#                 (lib/<triplet>/, include/, share/ at its top, to unpack into any prefix)
#   target debs   the Debian packages libfritzbox-xsi-module1 and libfritzbox-xsi-module-dev
#                 (scripts/build-debs.sh, control data in cmake/debian/), checked by lintian
# Only these two components go in, so that programs a full build installs never end up in the
# firmware's packages.
set(CPACK_PACKAGE_NAME fritzbox-xsi-module)
set(CPACK_PACKAGE_VENDOR "fritzbox-xsi")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "FritzBox router client module for the phone's Broadsoft service")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR TGZ)
set(CPACK_STRIP_FILES ON)  # the firmware's flash counts the stripped size
set(CPACK_COMPONENTS_ALL module conformance)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_ARCHIVE_FILE_NAME ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CPACK_SYSTEM_NAME})
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/CPackProjectConfig.cmake)  # SOURCE_DATE_EPOCH
set(CPACK_FRITZBOX_CHANGELOG ${PROJECT_SOURCE_DIR}/cmake/debian/changelog)
include(CPack)

# The target's Debian architecture, not the machine's that builds: dpkg there would name its own.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  set(FRITZBOX_DEB_ARCH armhf)
else()
  execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE FRITZBOX_DEB_ARCH
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
add_custom_target(debs COMMAND ${PROJECT_SOURCE_DIR}/scripts/build-debs.sh ${PROJECT_BINARY_DIR}
                               ${PROJECT_BINARY_DIR}/packages ${FRITZBOX_DEB_ARCH}
                  DEPENDS fritzbox_module VERBATIM)
