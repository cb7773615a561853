# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# FindNettle: the Nettle crypto library as the imported target Nettle::Nettle.
# find_path/find_library rather than pkg-config: they honour CMAKE_FIND_ROOT_PATH in cross builds.
find_path(NETTLE_INCLUDE_DIR nettle/md5.h)
find_library(NETTLE_LIBRARY nettle)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Nettle REQUIRED_VARS NETTLE_LIBRARY NETTLE_INCLUDE_DIR)
if(Nettle_FOUND AND NOT TARGET Nettle::Nettle)
  add_library(Nettle::Nettle UNKNOWN IMPORTED)
  set_target_properties(Nettle::Nettle PROPERTIES IMPORTED_LOCATION ${NETTLE_LIBRARY}
                                                  INTERFACE_INCLUDE_DIRECTORIES ${NETTLE_INCLUDE_DIR})
endif()
mark_as_advanced(NETTLE_INCLUDE_DIR NETTLE_LIBRARY)
