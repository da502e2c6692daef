# SPDX-License-Identifier: Apache-2.0
# Flags of our own targets; users of the libraries inherit none of them.

# Numbers must be the same on every machine and at every optimisation level, so no target may contract a
# multiplication and an addition into one rounding, and none may name an architecture beyond the baseline,
# but the kernels (companions/math/CMakeLists.txt), which a test looks through for fused instructions.
function(corvana_set_flags in_target)
  target_compile_features(${in_target} PUBLIC cxx_std_20)
  set_target_properties(${in_target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${in_target} PRIVATE
    -ffp-contract=off
    "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  if(CORVANA_DEVELOPER)
    target_compile_options(${in_target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
      # g++ 12 sees overlapping copies in every "text" + std::string when it optimises.
      $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  endif()
  if(CORVANA_WARNINGS_AS_ERRORS)
    target_compile_options(${in_target} PRIVATE -Werror)
  endif()
endfunction()
