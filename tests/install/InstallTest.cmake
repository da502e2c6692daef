# SPDX-License-Identifier: Apache-2.0
# One step of the installation tests; tests/install/CMakeLists.txt says which there are.
#   STEP       what to do
#   FOLDER     the scratch folder of all steps
#   SOURCE     the source tree; BUILD: its build tree
#   CXX, CXX_FLAGS, BUILD_TYPE, GENERATOR: as in that build tree
#   PYTHON     the interpreter that the module was built for
#   LIBDIR     the installation's folder of libraries, relative to its prefix
cmake_minimum_required(VERSION 3.24)

set(prefix ${FOLDER}/prefix)
set(static_prefix ${FOLDER}/static-prefix)
set(example_source ${SOURCE}/examples/window-flatness.cpp)
set(recording ${SOURCE}/examples/data/sample-call.wav)

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "failed with ${result}: ${command}\n${output}")
  endif()
  set(run_output "${output}" PARENT_SCOPE)
endfunction()

function(configure in_source in_build)
  run(${CMAKE_COMMAND} -S ${in_source} -B ${in_build} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_CXX_FLAGS=${CXX_FLAGS} -DCMAKE_BUILD_TYPE=${BUILD_TYPE} ${ARGN})
endfunction()

# Runs both programs and looks at what they say.
function(check_programs in_folder)
  run(${in_folder}/registrations)
  if(NOT run_output MATCHES "^registered, version [0-9]+\\.[0-9]+\\.[0-9]+\n$")
    message(FATAL_ERROR "registrations says: ${run_output}")
  endif()
  # 19 s are 1187 whole windows of 16 ms.
  run(${in_folder}/window-flatness ${recording})
  string(REGEX MATCHALL "[^\n]+ s: [^\n]+\n" lines "${run_output}")
  list(LENGTH lines nb_of_lines)
  if(NOT nb_of_lines EQUAL 1187)
    message(FATAL_ERROR "window-flatness prints ${nb_of_lines} lines:\n${run_output}")
  endif()
endfunction()

# out_block: the first block of CMake in a document.
function(get_shown_cmake in_document out_block)
  file(READ ${in_document} text)
  string(FIND "${text}" "\n```cmake\n" begin)
  if(begin EQUAL -1)
    message(FATAL_ERROR "${in_document} shows no CMake")
  endif()
  math(EXPR begin "${begin} + 10")
  string(SUBSTRING "${text}" ${begin} -1 text)
  string(FIND "${text}" "```\n" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  set(${out_block} "${text}" PARENT_SCOPE)
endfunction()

# Builds the consumer's programs with the compiler alone, with what pkg-config says.
function(build_with_pkg_config in_prefix in_build)
  set(ENV{PKG_CONFIG_PATH} ${in_prefix}/${LIBDIR}/pkgconfig)
  execute_process(COMMAND pkg-config ${ARGN} --cflags --libs corvana
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
  file(MAKE_DIRECTORY ${in_build})
  run(${CXX} -std=c++20 ${cxx_flags} ${example_source} -o ${in_build}/window-flatness ${flags})
  # This one names Boost's registry itself, so it links Boost itself.
  run(${CXX} -std=c++20 ${cxx_flags} ${CMAKE_CURRENT_LIST_DIR}/consumer/registrations.cpp
    -o ${in_build}/registrations ${flags} -lboost_serialization)
endfunction()

# A step leaves nothing that a later run could take for its own result.
file(REMOVE_RECURSE ${FOLDER}/${STEP})

if(STEP STREQUAL install)
  file(REMOVE_RECURSE ${prefix})
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
  foreach(file IN ITEMS man/man1/corvana.1 man/man1/corvana-annotations-add.1 man/man5/corvana-regions.5
      bash-completion/completions/corvana zsh/site-functions/_corvana fish/vendor_completions.d/corvana.fish)
    if(NOT EXISTS ${prefix}/share/${file})
      message(FATAL_ERROR "share/${file} was not installed")
    endif()
  endforeach()

elseif(STEP STREQUAL find-package)
  configure(${CMAKE_CURRENT_LIST_DIR}/consumer ${FOLDER}/${STEP} -DCMAKE_PREFIX_PATH=${prefix}
    -DEXAMPLE_SOURCE=${example_source})
  run(${CMAKE_COMMAND} --build ${FOLDER}/${STEP})
  check_programs(${FOLDER}/${STEP})

elseif(STEP STREQUAL documents)
  # The README shows a whole project, the chapter on C++ what joins one that is there.
  get_shown_cmake(${SOURCE}/README.md project)
  file(WRITE ${FOLDER}/${STEP}/project/CMakeLists.txt "${project}")
  file(COPY ${example_source} DESTINATION ${FOLDER}/${STEP}/project)
  configure(${FOLDER}/${STEP}/project ${FOLDER}/${STEP}/build -DCMAKE_PREFIX_PATH=${prefix})
  run(${CMAKE_COMMAND} --build ${FOLDER}/${STEP}/build)
  run(${FOLDER}/${STEP}/build/window-flatness ${recording})

  get_shown_cmake(${SOURCE}/docs/cpp.md part)
  file(WRITE ${FOLDER}/${STEP}/part/CMakeLists.txt "cmake_minimum_required(VERSION 3.24)\nproject(MyDetector LANGUAGES CXX)\n"
    "add_executable(my-detector ${example_source})\n${part}")
  configure(${FOLDER}/${STEP}/part ${FOLDER}/${STEP}/part-build -DCMAKE_PREFIX_PATH=${prefix})

elseif(STEP STREQUAL pkg-config)
  build_with_pkg_config(${prefix} ${FOLDER}/${STEP})
  set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBDIR})
  check_programs(${FOLDER}/${STEP})

elseif(STEP STREQUAL add-subdirectory)
  # What only developers need must not even be looked for.
  configure(${CMAKE_CURRENT_LIST_DIR}/consumer ${FOLDER}/${STEP} -DCORVANA_SUBDIRECTORY=${SOURCE}
    -DEXAMPLE_SOURCE=${example_source} -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON
    -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON)

elseif(STEP STREQUAL static-install)
  file(REMOVE_RECURSE ${static_prefix})
  configure(${SOURCE} ${FOLDER}/${STEP} -DBUILD_SHARED_LIBS=OFF -DCORVANA_DEVELOPER=OFF
    -DCMAKE_INSTALL_PREFIX=${static_prefix} -DCMAKE_INSTALL_LIBDIR=${LIBDIR})
  run(${CMAKE_COMMAND} --build ${FOLDER}/${STEP} --target install)

elseif(STEP STREQUAL static-find-package)
  configure(${CMAKE_CURRENT_LIST_DIR}/consumer ${FOLDER}/${STEP} -DCMAKE_PREFIX_PATH=${static_prefix}
    -DEXAMPLE_SOURCE=${example_source})
  run(${CMAKE_COMMAND} --build ${FOLDER}/${STEP})
  check_programs(${FOLDER}/${STEP})

elseif(STEP STREQUAL static-pkg-config)
  build_with_pkg_config(${static_prefix} ${FOLDER}/${STEP} --static)
  check_programs(${FOLDER}/${STEP})

elseif(STEP STREQUAL python)
  set(ENV{PYTHONPATH} ${prefix}/lib/python3/dist-packages)
  run(${PYTHON} -B -c "import corvana, sys\nprint(len(corvana.features(sys.argv[1], ['spectrum|flatness'])))" ${recording})
  if(NOT run_output STREQUAL "1187\n")
    message(FATAL_ERROR "the module says: ${run_output}")
  endif()

else()
  message(FATAL_ERROR "unknown step '${STEP}'")
endif()
