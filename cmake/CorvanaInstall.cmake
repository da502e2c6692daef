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

configure_file(cmake/corvana.pc.in ${PROJECT_BINARY_DIR}/corvana.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/corvana.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
