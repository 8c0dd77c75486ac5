# SPDX-License-Identifier: Apache-2.0
# Flags of every target, and of the three kinds of target that the project has.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(TARNBASE_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
add_compile_options(${TARNBASE_WARNINGS})
# gcc 12 sees overlaps in std::string's own code that can't be.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

if(TARNBASE_SANITIZE)
  add_compile_options(-fsanitize=${TARNBASE_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TARNBASE_SANITIZE})
endif()

# For targets that aren't installed or needn't be fast: halves the compile time. Applies to
# the folder that calls it and its subfolders.
macro(tarnbase_compile_lightly)
  add_compile_options($<$<CONFIG:Release>:-O1> $<$<CONFIG:Release>:-g1>)
endmacro()

# A unity build compiles up to eight files of a folder as one: it reads their headers once and
# instantiates their templates once. But each change compiles all of them again, and the names in
# the unnamed namespaces of a folder must differ, except for those that a local name shadows. The
# preset `tsan` compiles the runtime file by file, and the released tools are compiled so, so that
# each file includes what it uses.
set(TARNBASE_UNITY_BUILD OFF CACHE STRING
    "ON: compile several files of a folder at a time; or only in these folders, such as runtime")

# Sets <result> if the calling folder is to be built so.
function(tarnbase_is_unity_build result)
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE folder)
  if(TARNBASE_UNITY_BUILD STREQUAL "ON" OR folder IN_LIST TARNBASE_UNITY_BUILD)
    set(${result} TRUE PARENT_SCOPE)
  else()
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

#   tarnbase_unity_build(<target> [EXCEPT <folder>...])
#     The files of the excepted folders are compiled one by one.
function(tarnbase_unity_build target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "EXCEPT")
  tarnbase_is_unity_build(is_unity)
  if(NOT is_unity)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  target_compile_options(${target} PRIVATE -Wno-shadow)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    if(folder IN_LIST arg_EXCEPT)
      continue()
    endif()
    # The group names an object file, which must not depend on where the source folder is.
    string(REPLACE "${PROJECT_SOURCE_DIR}/" "" name "${folder}")
    string(MAKE_C_IDENTIFIER "${name}" name)
    list(APPEND in_${name} ${source})
    list(LENGTH in_${name} count)
    math(EXPR part "(${count} - 1) / 8")
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP "${name}_${part}")
  endforeach()
endfunction()

# Symbols are bound and relocated data is read-only before anything runs; the stack isn't
# executable. Debug information is found by the build id.
include(CheckPIESupported)
check_pie_supported()
add_link_options(LINKER:-z,relro,-z,now,-z,text,-z,noexecstack
                 LINKER:--build-id)

# Released files must not contain the folder of the build, so that builds are reproducible.
# A debugger finds the sources with `set substitute-path /usr/src/tarnbase FOLDER`.
set(released OFF)
if(CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel|None)$")
  set(released ON)
endif()
option(TARNBASE_MAP_PATHS "Replace the source folder with /usr/src/tarnbase in built files"
       ${released})
if(TARNBASE_MAP_PATHS)
  # The build folder comes second: it may be inside the source folder.
  add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=/usr/src/tarnbase
                      -ffile-prefix-map=${PROJECT_BINARY_DIR}=/usr/src/tarnbase/build)
endif()

# The public headers.
add_library(tarnbase_headers INTERFACE)
target_include_directories(tarnbase_headers INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# A part of the library: objects that are linked into libtarnbase and into tests.
# The library imports only the runtime's services and libc, so it has no exceptions
# and no run-time type information.
function(tarnbase_object_library name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC tarnbase_headers)
  target_compile_options(${name} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
endfunction()
