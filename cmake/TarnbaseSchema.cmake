# SPDX-License-Identifier: Apache-2.0
# Builds a library from a schema.
#
#   tarnbase_schema(<target> MODULE <file> [SHARDS <n>])
#     Runs the schema compiler at build time and compiles its output into the object
#     library <target>; linking it also provides the generated headers. Its property
#     TARNBASE_OUT is the output folder.
#
#   tarnbase_library(<target> SCHEMA <schema target> [OUTPUT_NAME <name>])
#     A shared library of frame, object, table and a schema. It exports exactly the
#     names that the schema compiler lists, and contains the schema manifest.

function(tarnbase_schema target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "MODULE;SHARDS" "")
  if(NOT arg_SHARDS)
    set(arg_SHARDS 4)
  endif()
  get_filename_component(module ${arg_MODULE} ABSOLUTE)
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${target})

  set(base "")
  if(TARNBASE_MIB_BASE)
    set(base --mib-base ${TARNBASE_MIB_BASE})
  endif()

  # Only these names are known before the compiler has run. schema.h and the shards
  # change with every other header and stamp, so dependents are rebuilt.
  set(sources ${out}/module.cpp ${out}/layout_check.cpp)
  math(EXPR last "${arg_SHARDS} - 1")
  foreach(i RANGE ${last})
    list(APPEND sources ${out}/shard_${i}.cpp)
  endforeach()
  add_custom_command(
    OUTPUT ${out}/made
    BYPRODUCTS ${sources} ${out}/include/tarnbase/tarnbase.h ${out}/include/tarnbase/schema.h
               ${out}/include/tarnbase/tarn.hpp ${out}/include/tarnbase/tarn/schema.hpp
               ${out}/exports.txt ${out}/exports.map ${out}/layout.txt ${out}/catalogue.cpp
               ${out}/catalogue_operations.cpp ${out}/mib_map.cpp
    COMMAND tarnc ${module} --out ${out} --shards ${arg_SHARDS}
            --depfile ${out}/made.d --depfile-target ${out}/made ${base}
    COMMAND ${CMAKE_COMMAND} -E touch ${out}/made
    DEPENDS tarnc ${module}
    DEPFILE ${out}/made.d
    COMMENT "Compiling the schema of ${target}"
    VERBATIM)
  add_custom_target(${target}_made DEPENDS ${out}/made)

  tarnbase_object_library(${target} ${sources})
  add_dependencies(${target} ${target}_made)
  target_include_directories(${target} PUBLIC ${out}/include PRIVATE ${out})
  set_target_properties(${target} PROPERTIES TARNBASE_OUT ${out} TARNBASE_MODULE ${module})
endfunction()

function(tarnbase_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SCHEMA;OUTPUT_NAME" "")
  get_target_property(out ${arg_SCHEMA} TARNBASE_OUT)
  add_library(${target} SHARED
    $<TARGET_OBJECTS:tarnbase_frame> $<TARGET_OBJECTS:tarnbase_object>
    $<TARGET_OBJECTS:tarnbase_table> $<TARGET_OBJECTS:${arg_SCHEMA}>)
  add_dependencies(${target} ${arg_SCHEMA}_made)
  if(arg_OUTPUT_NAME)
    set_target_properties(${target} PROPERTIES OUTPUT_NAME ${arg_OUTPUT_NAME})
  endif()
  # Linked as C, so that a reference to the C++ library is an error. The runtime's
  # services are undefined until a program provides a runtime, so no option here may
  # require all symbols to be defined.
  set_target_properties(${target} PROPERTIES
    LINKER_LANGUAGE C
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${out}/exports.map)
  # The schema manifest is in its own section, which the loader doesn't map.
  get_target_property(module ${arg_SCHEMA} TARNBASE_MODULE)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND tarnc ${module} --section ${out}/orvan.bin
            --built-file $<TARGET_FILE:${target}> --built-target ${target}
    COMMAND ${CMAKE_OBJCOPY} --remove-section .orvan --add-section .orvan=${out}/orvan.bin
            --set-section-flags .orvan=readonly,data $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} --set-section-alignment .orvan=4 $<TARGET_FILE:${target}>
    VERBATIM)
  target_link_options(${target} PRIVATE LINKER:--version-script=${out}/exports.map)
  target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${out}/include>)
  target_link_libraries(${target} INTERFACE tarnbase_headers PRIVATE ${CMAKE_DL_LIBS})
endfunction()
