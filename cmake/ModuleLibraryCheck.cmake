# Registers the check of the module's shared library (exports, platform names left undefined,
# stripped size) as a test. It runs the nm and strip of the build's toolchain: the target's in a
# cross build.
add_test(NAME module_library_check
         COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-module-library.sh $<TARGET_FILE:fritzbox_module> ${CMAKE_NM}
                 ${CMAKE_STRIP})
