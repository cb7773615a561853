# The binary interface of the module's library (target fritzbox_module), as a firmware build takes
# it: versioned SONAME, only the module's two classes exported, include directories that work from
# the source tree and from an installed prefix alike.
include(GNUInstallDirs)

# The installed headers live in a directory of their own: the platform headers have generic names
# (Storage.h, Logging.h) that must not land in a shared include directory.
set(FRITZBOX_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/fritzbox-xsi)
set(FRITZBOX_MODULE_VERSION_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/fritzbox-xsi-module.map)

# SONAME libfritzbox-xsi-module.so.<major>: a host built against 1.x loads any later 1.y.
# Hidden visibility keeps the module's own helpers out of the dynamic table; the version script
# also keeps out the std:: instantiations, which libstdc++'s headers mark as default visibility.
set_target_properties(fritzbox_module PROPERTIES
  OUTPUT_NAME fritzbox-xsi-module
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  EXPORT_NAME module
  LINK_DEPENDS ${FRITZBOX_MODULE_VERSION_SCRIPT})
target_link_options(fritzbox_module PRIVATE LINKER:--version-script=${FRITZBOX_MODULE_VERSION_SCRIPT})
# The public headers include the platform's (FilterTypes.h, HttpClient.h, CallItems.h), so both
# directories are part of the interface.
target_include_directories(fritzbox_module PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform>
  $<INSTALL_INTERFACE:${FRITZBOX_INSTALL_INCLUDEDIR}>
  $<INSTALL_INTERFACE:${FRITZBOX_INSTALL_INCLUDEDIR}/platform>)
# The name an including project (superbuild) uses, the same as find_package gives.
add_library(FritzBoxXsi::module ALIAS fritzbox_module)
# The size-optimised build (the one packaged for the phone) links the module with link-time
# optimisation: it merges and drops what the hardening flags and the separate sources leave twice,
# about 900 bytes on ARM, which keeps the stripped library inside the firmware's 48 KiB.
include(CheckIPOSupported)
check_ipo_supported(RESULT FRITZBOX_IPO_SUPPORTED LANGUAGES CXX)
set_target_properties(fritzbox_module PROPERTIES INTERPROCEDURAL_OPTIMIZATION_MINSIZEREL ${FRITZBOX_IPO_SUPPORTED})
