# SPDX-License-Identifier: Apache-2.0
#   tarnbase_gdb(<library target> SCHEMA <schema target> [OUTPUT_NAME <name>])
#     Writes <library file>-gdb.py next to the library, where gdb looks for it: the schema
#     compiler's description of the types, and the printers. The library's property
#     TARNBASE_GDB is the file.
function(tarnbase_gdb target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SCHEMA" "")
  get_target_property(out ${arg_SCHEMA} TARNBASE_OUT)
  get_target_property(folder ${target} BINARY_DIR)
  get_target_property(version ${target} VERSION)
  set(library ${CMAKE_SHARED_LIBRARY_PREFIX}${target}${CMAKE_SHARED_LIBRARY_SUFFIX})
  set(script ${folder}/${library}.${version}-gdb.py)
  set(printers ${PROJECT_SOURCE_DIR}/gdb/printers.py)
  set(join ${PROJECT_SOURCE_DIR}/gdb/join.cmake)
  add_custom_command(
    OUTPUT ${script}
    COMMAND ${CMAKE_COMMAND} -DSCHEMA=${out}/gdb_schema.py -DPRINTERS=${printers} -DOUT=${script}
            -P ${join}
    DEPENDS ${out}/made ${printers} ${join}
    VERBATIM)
  add_custom_target(${target}_gdb ALL DEPENDS ${script})
  add_dependencies(${target}_gdb ${arg_SCHEMA}_made)
  set_target_properties(${target} PROPERTIES TARNBASE_GDB ${script})
endfunction()
