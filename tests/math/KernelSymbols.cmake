# SPDX-License-Identifier: Apache-2.0
# cmake -DNM=program -P KernelSymbols.cmake -- object...: fails when an object that was compiled for an instruction set of
# its own shows a symbol that the linker may share with other objects. A program might then get the variant of an inline
# function with instructions that its processor lacks.
set(objects)
foreach(index RANGE ${CMAKE_ARGC})
  if("${CMAKE_ARGV${index}}" MATCHES "MathSpectrumKernel[A-Za-z0-9]*\\.cpp\\.o$")
    list(APPEND objects ${CMAKE_ARGV${index}})
  endif()
endforeach()
if(NOT objects)
  message(FATAL_ERROR "No kernels among the objects.")
endif()

foreach(object IN LISTS objects)
  execute_process(COMMAND ${NM} --defined-only --extern-only --format=posix ${object}
    OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${NM} failed: ${result}")
  endif()
  string(REGEX MATCHALL "[^\n]+ [WwVvu] [^\n]*" shared "${symbols}")
  if(shared)
    list(JOIN shared "\n" text)
    message(FATAL_ERROR "${object} shows symbols that other objects may share:\n${text}")
  endif()
  if(NOT symbols MATCHES "find[A-Za-z0-9]*Kernel")
    message(FATAL_ERROR "${object} has no kernel.")
  endif()
endforeach()
