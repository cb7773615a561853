# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# Read by cpack before it packs (CPACK_PROJECT_CONFIG_FILE, cmake/ModulePackage.cmake). The times in
# the archive, and the creation time of the bill of materials installed into it, are
# SOURCE_DATE_EPOCH's: from the environment, or else the date of the newest entry of the Debian
# changelog, as for the .debs (scripts/build-debs.sh). So two builds of one commit pack the same bytes.
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
  execute_process(COMMAND dpkg-parsechangelog -l ${CPACK_FRITZBOX_CHANGELOG} -STimestamp
                  OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed ERROR_QUIET)
  if(NOT failed)
    set(ENV{SOURCE_DATE_EPOCH} ${epoch})
  endif()
endif()
