# SPDX-License-Identifier: Apache-2.0
# Precompiled headers of the test programs: <gtest/gtest.h>, which is most of what many tests
# compile, and the large headers of the standard library that it doesn't include.
option(TARNBASE_TEST_PRECOMPILED "Compile the large headers of the tests once" ON)

# Compiles a library as programs are, which are all that link it.
function(tarnbase_compile_for_programs target)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  target_compile_options(${target} PRIVATE ${CMAKE_CXX_COMPILE_OPTIONS_PIE})
endfunction()

#   tarnbase_precompile(<name> [<C++ standard>])
#     Precompiles the headers with the options of the programs of the calling folder.
function(tarnbase_precompile name)
  if(NOT TARNBASE_TEST_PRECOMPILED)
    return()
  endif()
  # Only a target with a source can have precompiled headers.
  set(empty ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  file(CONFIGURE OUTPUT ${empty} CONTENT "")
  add_library(${name} OBJECT ${empty})
  tarnbase_compile_for_programs(${name})
  target_link_libraries(${name} PRIVATE GTest::gtest)
  target_precompile_headers(${name} PRIVATE
    <gtest/gtest.h> <algorithm> <filesystem> <fstream>)
  if(ARGC GREATER 1)
    set_target_properties(${name} PROPERTIES CXX_STANDARD ${ARGV1})
  endif()
endfunction()

#   tarnbase_use_precompiled(<target> <name>)
#     Does nothing before <name> is defined. Both need the same options, except for definitions:
#     the compiler reports a difference.
function(tarnbase_use_precompiled target name)
  if(TARGET ${name})
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()
