# SPDX-License-Identifier: Apache-2.0
# corvana_add_library(NAME SOURCES file... [PUBLIC library...] [PRIVATE library...])
# Makes corvana-NAME with the alias and export name Corvana::NAME. PUBLIC is what its headers need, PRIVATE the rest.
function(corvana_add_library in_name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
  set(target corvana-${in_name})
  add_library(${target} ${arg_SOURCES})
  add_library(Corvana::${in_name} ALIAS ${target})
  corvana_set_flags(${target})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${in_name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_VISIBILITY_PRESET hidden
    POSITION_INDEPENDENT_CODE ON
    INSTALL_RPATH "$ORIGIN")
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
  if(BUILD_SHARED_LIBS)
    target_link_options(${target} PRIVATE LINKER:--no-undefined)
  endif()
  install(TARGETS ${target} EXPORT CorvanaTargets)
endfunction()
