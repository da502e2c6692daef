# SPDX-License-Identifier: Apache-2.0
# What the libraries and the developers' parts need. A missing dependency stops configuring with its name and the
# Debian package that provides it.

macro(corvana_require in_condition in_name in_package)
  if(NOT ${in_condition})
    message(FATAL_ERROR "Corvana needs ${in_name}, which was not found. On Debian: apt-get install ${in_package}")
  endif()
endmacro()

find_package(PkgConfig QUIET)
corvana_require(PKG_CONFIG_FOUND "pkg-config" pkg-config)

pkg_check_modules(SNDFILE QUIET IMPORTED_TARGET sndfile)
corvana_require(SNDFILE_FOUND "libsndfile" libsndfile1-dev)

pkg_check_modules(LOG4CPLUS QUIET IMPORTED_TARGET log4cplus)
corvana_require(LOG4CPLUS_FOUND "log4cplus" liblog4cplus-dev)

find_package(Boost 1.74 QUIET COMPONENTS serialization regex)
corvana_require(Boost_FOUND "Boost.Serialization and Boost.Regex 1.74 or newer"
  "libboost-serialization-dev libboost-regex-dev")

if(CORVANA_DEVELOPER)
  find_package(Threads REQUIRED)
  find_package(CLI11 QUIET)
  corvana_require(CLI11_FOUND "CLI11" libcli11-dev)
  find_package(nlohmann_json QUIET)
  corvana_require(nlohmann_json_FOUND "nlohmann JSON" nlohmann-json3-dev)
  find_package(TBB QUIET)
  corvana_require(TBB_FOUND "oneAPI Threading Building Blocks" libtbb-dev)
  find_package(ZLIB QUIET)
  corvana_require(ZLIB_FOUND "zlib" zlib1g-dev)
  pkg_check_modules(CAIRO QUIET IMPORTED_TARGET cairo cairo-svg cairo-pdf fontconfig)
  corvana_require(CAIRO_FOUND "Cairo with SVG and PDF, and Fontconfig" "libcairo2-dev libfontconfig-dev")
  if(CORVANA_TESTS)
    find_package(GTest QUIET)
    corvana_require(GTest_FOUND "GoogleTest and GoogleMock" "libgtest-dev libgmock-dev")
    find_package(benchmark QUIET)
    corvana_require(benchmark_FOUND "Google Benchmark" libbenchmark-dev)
  endif()
  if(CORVANA_PYTHON)
    set(PYBIND11_FINDPYTHON ON)
    find_package(Python 3.9 COMPONENTS Interpreter Development.Module QUIET)
    corvana_require(Python_FOUND "Python 3 with its headers" python3-dev)
    find_package(pybind11 QUIET)
    corvana_require(pybind11_FOUND "pybind11" pybind11-dev)
  endif()
endif()
