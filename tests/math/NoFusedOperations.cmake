# SPDX-License-Identifier: Apache-2.0
# cmake -DOBJDUMP=program -DNEEDS_VECTORS=bool -P NoFusedOperations.cmake -- file...: disassembles what was built and
# fails when it finds an instruction that multiplies and adds with one rounding, with which a result would depend on the
# processor. NEEDS_VECTORS: also fails when there is no 512-bit arithmetic, so it is known that the kernels were seen.
set(files)
set(behind FALSE)
foreach(index RANGE ${CMAKE_ARGC})
  if(behind AND CMAKE_ARGV${index})
    list(APPEND files ${CMAKE_ARGV${index}})
  elseif("${CMAKE_ARGV${index}}" STREQUAL "--")
    set(behind TRUE)
  endif()
endforeach()
if(NOT files)
  message(FATAL_ERROR "No files to disassemble.")
endif()

execute_process(COMMAND ${OBJDUMP} --disassemble --no-show-raw-insn ${files}
  OUTPUT_VARIABLE assembly RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} failed: ${result}")
endif()

# vfmadd, vfmsub, vfnmadd, vfnmsub, vfmaddsub, vfmsubadd, and the same without v or with four operands.
string(REGEX MATCHALL "[\t ]v?fn?m(add|sub)[a-z0-9]*[^\n]*" fused "${assembly}")
list(LENGTH fused count)
if(count GREATER 0)
  list(SUBLIST fused 0 10 first)
  list(JOIN first "\n" text)
  message(FATAL_ERROR "${count} fused operations, among them:\n${text}")
endif()

if(NEEDS_VECTORS AND NOT assembly MATCHES "vmulpd [^\n]*%zmm")
  message(FATAL_ERROR "No 512-bit arithmetic in ${files}: the kernels are not in what was disassembled.")
endif()
