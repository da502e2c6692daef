# SPDX-License-Identifier: Apache-2.0
# Installing: headers, libraries, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/corvana DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Corvana)
install(EXPORT CorvanaTargets NAMESPACE Corvana:: DESTINATION ${package_dir})
configure_package_config_file(cmake/CorvanaConfig.cmake.in ${PROJECT_BINARY_DIR}/CorvanaConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CorvanaConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CorvanaConfig.cmake ${PROJECT_BINARY_DIR}/CorvanaConfigVersion.cmake
  DESTINATION ${package_dir})

# The prefix is told from the file's own place, so that an installation can be moved. The audio library registers
# itself when it is loaded and must be linked whole, whether a program names it or not.
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE pc_libdir)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE pc_includedir)
cmake_path(RELATIVE_PATH pc_libdir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
cmake_path(RELATIVE_PATH pc_includedir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_prefix /${pc_libdir}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
if(BUILD_SHARED_LIBS)
  set(pc_whole --no-as-needed)
else()
  set(pc_whole --whole-archive)
endif()
configure_file(cmake/corvana.pc.in ${PROJECT_BINARY_DIR}/corvana.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/corvana.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
