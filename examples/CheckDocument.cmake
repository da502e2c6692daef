# SPDX-License-Identifier: Apache-2.0
# cmake -DDOCUMENT=FILE -DPROGRAM=FILE -P CheckDocument.cmake: fails unless the document holds the whole program, but
# for its licence line, as a block of C++.
cmake_minimum_required(VERSION 3.24)

file(READ ${DOCUMENT} document)
file(READ ${PROGRAM} program)
string(REPLACE "// SPDX-License-Identifier: Apache-2.0\n" "" program "${program}")
string(FIND "${document}" "\n```cpp\n${program}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not show ${PROGRAM} as it is")
endif()
