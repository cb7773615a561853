# Installing and packaging the module for a firmware integrator (cmake --install, make package).
#
# What goes into a prefix, all in the component "module":
#   lib/libfritzbox-xsi-module.so.1.0 (+ .so.1 and .so links)
#   include/fritzbox-xsi/            FritzBox.h, BroadsoftServiceHelper.h, FritzBoxXsiExport.h
#   include/fritzbox-xsi/platform/   the platform interface the host implements (platform/*.h);
#                                    our Linux implementation (platform/linux) stays out: it is the
#                                    stand-in for the firmware, which brings its own
#   lib/cmake/FritzBoxXsi/           find_package(FritzBoxXsi) -> imported target FritzBoxXsi::module
#   lib/pkgconfig/fritzbox-xsi-module.pc
#   share/doc/fritzbox-xsi-module/LICENSE   the MIT licence, which every copy must carry
# Every path in the package files is relative to where they are installed, so the prefix can be
# moved (a staging directory, a root file system image) after installation.
include(CMakePackageConfigHelpers)

set(FRITZBOX_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/FritzBoxXsi)

install(TARGETS fritzbox_module EXPORT FritzBoxXsiTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT module)
install(FILES include/FritzBox.h include/BroadsoftServiceHelper.h include/FritzBoxXsiExport.h
        DESTINATION ${FRITZBOX_INSTALL_INCLUDEDIR} COMPONENT module)
install(DIRECTORY platform/ DESTINATION ${FRITZBOX_INSTALL_INCLUDEDIR}/platform COMPONENT module
        FILES_MATCHING PATTERN "*.h" PATTERN linux EXCLUDE)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/fritzbox-xsi-module
        COMPONENT module)

install(EXPORT FritzBoxXsiTargets NAMESPACE FritzBoxXsi:: DESTINATION ${FRITZBOX_INSTALL_CMAKEDIR}
        COMPONENT module)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/FritzBoxXsiConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/FritzBoxXsiConfig.cmake
                              INSTALL_DESTINATION ${FRITZBOX_INSTALL_CMAKEDIR})
# SameMajorVersion follows the SONAME; the file also refuses a 32-bit package to a 64-bit build.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FritzBoxXsiConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FritzBoxXsiConfig.cmake ${PROJECT_BINARY_DIR}/FritzBoxXsiConfigVersion.cmake
        DESTINATION ${FRITZBOX_INSTALL_CMAKEDIR} COMPONENT module)

# pkg-config: the prefix is found from the .pc file's own place (${pcfiledir}), not written in.
file(RELATIVE_PATH FRITZBOX_PC_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig
     ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" FRITZBOX_PC_TO_PREFIX "${FRITZBOX_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/fritzbox-xsi-module.pc.in ${PROJECT_BINARY_DIR}/fritzbox-xsi-module.pc
               @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/fritzbox-xsi-module.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT module)

include(${CMAKE_CURRENT_LIST_DIR}/ModulePackage.cmake)
