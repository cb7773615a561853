# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# cmake -P: configures and builds tests/subproject afresh in BINARY, with the compiler CXX.
file(REMOVE_RECURSE ${BINARY})
foreach(step "-S;${SOURCE};-B;${BINARY};-G;Ninja;-DCMAKE_CXX_COMPILER=${CXX};-DFRITZBOX_SOURCE_DIR=${PROJECT_SOURCE}"
             "--build;${BINARY}")
  execute_process(COMMAND ${CMAKE_COMMAND} ${step} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "cmake ${step} failed")
  endif()
endforeach()
