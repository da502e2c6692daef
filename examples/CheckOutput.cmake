# SPDX-License-Identifier: Apache-2.0
# cmake -DDOCUMENT=FILE -DLINES=N -P CheckOutput.cmake -- PROGRAM [ARGUMENT...]: fails unless the document shows the
# first N lines that the program prints.
cmake_minimum_required(VERSION 3.24)
include(${CMAKE_CURRENT_LIST_DIR}/Arguments.cmake)

get_arguments(command)
execute_process(COMMAND ${command} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REPEAT "[^\n]*\n" ${LINES} pattern)
if(NOT output MATCHES "^${pattern}")
  message(FATAL_ERROR "prints fewer than ${LINES} lines:\n${output}")
endif()
set(expected "\n${CMAKE_MATCH_0}")
file(READ ${DOCUMENT} document)
string(FIND "${document}" "${expected}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not show:${expected}")
endif()
