# SPDX-License-Identifier: Apache-2.0
#   tarnbase_catalogue(<target> SCHEMA <schema target>)
#     Static libraries, built when something links them: <target> has the catalogue of the
#     schema, <target>_operations also all operations of its items. What links one links
#     the schema's library too, whose functions the entries call.
function(tarnbase_catalogue target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SCHEMA" "")
  get_target_property(out ${arg_SCHEMA} TARNBASE_OUT)
  add_library(${target} STATIC EXCLUDE_FROM_ALL
    ${PROJECT_SOURCE_DIR}/catalogue/catalogue.cpp ${out}/catalogue.cpp)
  add_library(${target}_operations STATIC EXCLUDE_FROM_ALL ${out}/catalogue_operations.cpp)
  target_link_libraries(${target} PUBLIC tarnbase_headers)
  target_link_libraries(${target}_operations PUBLIC ${target})
  set_source_files_properties(${out}/catalogue.cpp ${out}/catalogue_operations.cpp
    PROPERTIES GENERATED ON)
  foreach(library IN ITEMS ${target} ${target}_operations)
    add_dependencies(${library} ${arg_SCHEMA}_made)
    target_include_directories(${library} PUBLIC ${PROJECT_SOURCE_DIR} PRIVATE ${out}/include)
    # Thousands of functions of one call each: nothing for an optimiser.
    target_compile_options(${library} PRIVATE
      $<$<CONFIG:Release>:-O1> $<$<CONFIG:Release>:-g1>)
  endforeach()
endfunction()
