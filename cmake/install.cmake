# What `cmake --install` leaves, and a zip of scripts/package.py holds: DLLs and programs, import libraries
# and export lists, the headers, what CMake (find_package(q32base)) and pkg-config need to find them,
# samples, documents, and debug sections where they were split off.
include(CMakePackageConfigHelpers)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

install(
  TARGETS q32base q32comm
  EXPORT q32base-targets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
# The flight recorder lies beside the library that it stands in for, under the same name.
if(TARGET q32comm_recorder)
  install(PROGRAMS "$<TARGET_FILE:q32comm_recorder>" DESTINATION "${CMAKE_INSTALL_BINDIR}/recorder")
endif()
install(FILES src/library/q32base.def src/q32comm/q32comm.def DESTINATION "${CMAKE_INSTALL_LIBDIR}")
foreach(dll IN ITEMS q32base q32comm)
  get_target_property(library ${dll} Q32_MICROSOFT_LIBRARY)
  if(library)
    install(FILES "${library}" DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  endif()
endforeach()
install(
  DIRECTORY include/
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING
  PATTERN "*.h"
  PATTERN "*.hpp")
install(
  DIRECTORY samples/
  DESTINATION samples
  PATTERN kernel EXCLUDE) # needs what is in src

set(q32base_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/q32base")
install(
  EXPORT q32base-targets
  NAMESPACE q32base::
  DESTINATION "${q32base_cmake_dir}")

# Packages of the two editions know each other by their names.
math(EXPR q32base_bits "8 * ${CMAKE_SIZEOF_VOID_P}")
set(Q32BASE_PACKAGE q32base-${PROJECT_VERSION}-win${q32base_bits} CACHE INTERNAL "The name of the package")
if(q32base_bits EQUAL 32)
  set(q32base_other_edition q32base-${PROJECT_VERSION}-win64)
  set(q32base_is_other_kind "defined(_WIN64)")
  set(q32base_pc_search [[-L${libdir} -L${otherlibdir}]])
else()
  set(q32base_other_edition q32base-${PROJECT_VERSION}-win32)
  set(q32base_is_other_kind "!defined(_WIN64)")
  set(q32base_pc_search [[-L${otherlibdir} -L${libdir}]])
endif()
configure_file(cmake/q32base-edition.h.in "${PROJECT_BINARY_DIR}/q32base-edition.h" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/q32base-edition.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/q32base")
file(RELATIVE_PATH q32base_way_to_prefix "/${q32base_cmake_dir}" "/")
configure_package_config_file(cmake/q32base-config.cmake.in "${PROJECT_BINARY_DIR}/q32base-config.cmake"
                              INSTALL_DESTINATION "${q32base_cmake_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/q32base-config-number.cmake"
                                 COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
configure_file(cmake/q32base-config-version.cmake.in "${PROJECT_BINARY_DIR}/q32base-config-version.cmake" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/q32base-config.cmake" "${PROJECT_BINARY_DIR}/q32base-config-number.cmake"
              "${PROJECT_BINARY_DIR}/q32base-config-version.cmake"
        DESTINATION "${q32base_cmake_dir}")

# The way from the .pc file back to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH q32base_pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" q32base_pc_prefix "${q32base_pc_prefix}")
configure_file(cmake/q32base.pc.in "${PROJECT_BINARY_DIR}/q32base.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/q32base.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# What goes with the library.
if(TARGET q32tool)
  install(TARGETS q32tool q32view RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  install(
    FILES completion/q32tool.bash
    DESTINATION share/bash-completion/completions
    RENAME q32tool)
endif()
install(DIRECTORY "${PROJECT_BINARY_DIR}/symbols/" DESTINATION symbols OPTIONAL)
# The documents, with links that are right there, and so again those of the samples.
install(
  CODE "execute_process(
    COMMAND \"${Python3_EXECUTABLE}\" \"${PROJECT_SOURCE_DIR}/scripts/documents.py\"
            \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\"
    COMMAND_ERROR_IS_FATAL ANY)")
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/build/docs/html"
  DESTINATION share/doc/q32base
  OPTIONAL)
