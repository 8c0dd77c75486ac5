# SPDX-License-Identifier: Apache-2.0
# Precompiled headers of the test programs: <gtest/gtest.h>, which is most of what many tests
# compile, the large headers of the standard library that it doesn't include, and the
# instantiations that tests share.
option(TARNBASE_TEST_PRECOMPILED "Compile the large headers of the tests once" ON)

# Compiles a library as programs are, which are all that link it.
function(tarnbase_compile_for_programs target)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  target_compile_options(${target} PRIVATE ${CMAKE_CXX_COMPILE_OPTIONS_PIE})
endfunction()

#   tarnbase_precompile(<name> [STANDARD <C++ standard>] [HEADERS <header>...])
#     Precompiles the headers, and more, with the options of the programs of the calling folder.
function(tarnbase_precompile name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "STANDARD" "HEADERS")
  if(NOT TARNBASE_TEST_PRECOMPILED)
    return()
  endif()
  set(common ${PROJECT_SOURCE_DIR}/tests/support/common_templates)
  add_library(${name} STATIC ${common}.cpp)
  tarnbase_compile_for_programs(${name})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE GTest::gtest)
  target_precompile_headers(${name} PRIVATE
    <gtest/gtest.h> <algorithm> <filesystem> <fstream> ${common}.h
    ${arg_HEADERS})
  if(arg_STANDARD)
    set_target_properties(${name} PROPERTIES CXX_STANDARD ${arg_STANDARD})
  endif()
endfunction()

#   tarnbase_use_precompiled(<target> <name>)
#     Does nothing before <name> is defined. Both need the same options, except for definitions:
#     the compiler reports a difference.
function(tarnbase_use_precompiled target name)
  if(TARGET ${name})
    target_precompile_headers(${target} REUSE_FROM ${name})
    target_link_libraries(${target} PRIVATE ${name})
  endif()
endfunction()
