# SPDX-License-Identifier: Apache-2.0
# cmake -DDOCUMENT=FILE -DPROGRAM=FILE -DPICTURE=PATH -DRESULT=FILE -P CheckPicture.cmake: runs the command by which the
# document says that the picture was drawn, and fails unless the document shows the picture and the result has its size.
# Not its bytes: other versions of the font draw other letters.
cmake_minimum_required(VERSION 3.24)

file(READ ${DOCUMENT} document)
string(FIND "${document}" "](${PICTURE})" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not show ${PICTURE}")
endif()
if(NOT document MATCHES "\n\\$ corvana (plot [^\n]*) -o ${PICTURE}\n")
  message(FATAL_ERROR "${DOCUMENT} does not tell how ${PICTURE} was drawn")
endif()
separate_arguments(arguments UNIX_COMMAND "${CMAKE_MATCH_1}")
file(REMOVE ${RESULT})
execute_process(COMMAND ${PROGRAM} ${arguments} -o ${RESULT} COMMAND_ERROR_IS_FATAL ANY)

# Width and height stand behind the signature and the head of the first chunk.
foreach(name IN ITEMS PICTURE RESULT)
  file(READ ${${name}} size_of_${name} OFFSET 16 LIMIT 8 HEX)
  file(SIZE ${${name}} bytes)
  if(bytes GREATER 150000)
    message(FATAL_ERROR "${${name}} has ${bytes} bytes: too many for a document")
  endif()
endforeach()
if(NOT size_of_PICTURE STREQUAL size_of_RESULT)
  message(FATAL_ERROR "${PICTURE} has other measures than what the command draws: ${size_of_PICTURE}, ${size_of_RESULT}")
endif()
