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

# For what isn't installed, or whose speed doesn't count: it takes half the time to compile.
# Holds for the folder that calls it and for those below.
macro(tarnbase_compile_lightly)
  add_compile_options($<$<CONFIG:Release>:-O1> $<$<CONFIG:Release>:-g1>)
endmacro()

# Symbols are bound and relocated data is read-only before anything runs; code and its
# data stay apart. A build has an identity, by which debug information is found.
include(CheckPIESupported)
check_pie_supported()
add_link_options(LINKER:-z,relro,-z,now,-z,text,-z,noexecstack
                 LINKER:--build-id)

# What is released must not tell where it was built: two builds give the same bytes.
# A debugger finds the sources with `set substitute-path /usr/src/tarnbase FOLDER`.
set(released OFF)
if(CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel|None)$")
  set(released ON)
endif()
option(TARNBASE_MAP_PATHS "Write /usr/src/tarnbase for the source folder in what is built"
       ${released})
if(TARNBASE_MAP_PATHS)
  # The build folder second: it may lie in the source folder.
  add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=/usr/src/tarnbase
                      -ffile-prefix-map=${PROJECT_BINARY_DIR}=/usr/src/tarnbase/build)
endif()

# The public headers, and the root for the headers of our own rooms.
add_library(tarnbase_headers INTERFACE)
target_include_directories(tarnbase_headers INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# A room of the library: objects that link into libtarnbase and into tests.
# The library's only imports are the runtime's services and libc, hence no
# exceptions and no run-time types.
function(tarnbase_room name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC tarnbase_headers)
  target_compile_options(${name} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
endfunction()
