# SPDX-License-Identifier: Apache-2.0
# cmake -DEXPECTED=REGEX -P RunExample.cmake -- PROGRAM [ARGUMENT...]: fails when the program does, when it prints
# to standard error, or when what it prints to standard output does not match.
cmake_minimum_required(VERSION 3.24)
include(${CMAKE_CURRENT_LIST_DIR}/Arguments.cmake)

get_arguments(command)
execute_process(COMMAND ${command} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT result EQUAL 0 OR NOT errors STREQUAL "")
  message(FATAL_ERROR "ended with ${result}:\n${errors}")
endif()
if(NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "expected ${EXPECTED}, printed:\n${output}")
endif()
