# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.24)

# cmake -DINCLUDE_DIR=... -P CheckUmbrella.cmake: fails unless Corvana.h includes every public header exactly once and
# nothing else.
file(GLOB headers RELATIVE ${INCLUDE_DIR}/corvana ${INCLUDE_DIR}/corvana/*)
list(REMOVE_ITEM headers Corvana.h)
if(NOT headers)
  message(FATAL_ERROR "no headers in ${INCLUDE_DIR}/corvana")
endif()
list(TRANSFORM headers PREPEND "#include \"corvana/")
list(TRANSFORM headers APPEND "\"")

file(STRINGS ${INCLUDE_DIR}/corvana/Corvana.h included REGEX "^[ \t]*#[ \t]*include")

foreach(line IN LISTS headers)
  if(NOT line IN_LIST included)
    message(SEND_ERROR "Corvana.h lacks ${line}")
  endif()
endforeach()
foreach(line IN LISTS included)
  if(NOT line IN_LIST headers)
    message(SEND_ERROR "Corvana.h has ${line}, which is no public header")
  endif()
endforeach()
list(LENGTH included nbIncluded)
list(REMOVE_DUPLICATES included)
list(LENGTH included nbDifferent)
if(NOT nbIncluded EQUAL nbDifferent)
  message(SEND_ERROR "Corvana.h includes a header twice")
endif()
