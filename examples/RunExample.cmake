# SPDX-License-Identifier: Apache-2.0
# cmake -DEXPECTED=REGEX -P RunExample.cmake -- PROGRAM [ARGUMENT...]: fails when the program does, when it prints
# to standard error, or when what it prints to standard output does not match.
cmake_minimum_required(VERSION 3.24)

set(command)
set(behind_dashes FALSE)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(index RANGE ${last})
  if(behind_dashes)
    list(APPEND command "${CMAKE_ARGV${index}}")
  elseif(CMAKE_ARGV${index} STREQUAL "--")
    set(behind_dashes TRUE)
  endif()
endforeach()

execute_process(COMMAND ${command} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT result EQUAL 0 OR NOT errors STREQUAL "")
  message(FATAL_ERROR "ended with ${result}:\n${errors}")
endif()
if(NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "expected ${EXPECTED}, printed:\n${output}")
endif()
