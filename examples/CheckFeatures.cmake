# SPDX-License-Identifier: Apache-2.0
# cmake -DDOCUMENT=FILE -DLISTING=PROGRAM -P CheckFeatures.cmake: fails unless every feature that the program
# list-features prints is named in a heading of the document, and has a row with a formula in its table.
cmake_minimum_required(VERSION 3.24)

file(STRINGS ${DOCUMENT} headings REGEX "^### ")
file(STRINGS ${DOCUMENT} rows ENCODING UTF-8 REGEX "^[|] \\[`")
execute_process(COMMAND ${LISTING} OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "(^|\n)[a-z0-9]+" names "${listing}")
if(names STREQUAL "")
  message(FATAL_ERROR "${LISTING} lists no features")
endif()
foreach(name IN LISTS names)
  string(STRIP "${name}" name)
  if(NOT headings MATCHES "`${name}`")
    message(FATAL_ERROR "${DOCUMENT} has no section for ${name}")
  endif()
  if(NOT rows MATCHES "[|] .`${name}`.[^|]*[|][^|]*[|][^|]*[|][^|]*[|] [^ |]")
    message(FATAL_ERROR "${DOCUMENT} has no row with a formula for ${name}")
  endif()
endforeach()
