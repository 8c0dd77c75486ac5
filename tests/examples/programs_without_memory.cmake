# SPDX-License-Identifier: Apache-2.0
# The examples, and the programs of README.md and docs/, each with an allocator that fails
# on request. A block of a document that isn't a whole program is included by a frame,
# frames/<document>_<language>_<number>.<extension>.
set(programs)

add_library(failing_allocation OBJECT failing_allocation.cpp)
target_link_libraries(failing_allocation
  PUBLIC tarnbase::tarnbase tarnbase::runtime ${CMAKE_DL_LIBS})

function(tarnbase_failing_program name source)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE failing_allocation)
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
  set_target_properties(${name} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
  list(APPEND programs ${name})
  set(programs ${programs} PARENT_SCOPE)
endfunction()

function(tarnbase_documented_program document language number)
  set(extension_c c)
  set(extension_cpp cpp)
  get_filename_component(stem ${document} NAME_WE)
  set(name ${stem}_${language}_${number})
  set(block ${CMAKE_CURRENT_BINARY_DIR}/blocks/${name}.${extension_${language}})
  add_custom_command(OUTPUT ${block}
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/extract-block ${document} ${language} ${number} > ${block}
    DEPENDS ${document} ${CMAKE_CURRENT_SOURCE_DIR}/extract-block VERBATIM)
  set(frame ${CMAKE_CURRENT_SOURCE_DIR}/frames/${name}.${extension_${language}})
  if(EXISTS ${frame})
    set_property(SOURCE ${frame} APPEND PROPERTY OBJECT_DEPENDS ${block})
    tarnbase_failing_program(${name} ${frame})
  else()
    tarnbase_failing_program(${name} ${block})
  endif()
  list(APPEND documented ${name})
  set(documented ${documented} PARENT_SCOPE)
  set(programs ${programs} PARENT_SCOPE)
endfunction()

file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/blocks)
file(GLOB documents CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/*.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${documents})
set(documented)
foreach(document IN LISTS documents)
  foreach(language IN ITEMS c cpp)
    file(STRINGS ${document} blocks REGEX "^ *```${language}$")
    list(LENGTH blocks count)
    foreach(number RANGE 1 ${count})
      if(count GREATER 0)
        tarnbase_documented_program(${document} ${language} ${number})
      endif()
    endforeach()
  endforeach()
endforeach()

foreach(name IN ITEMS first_record walk_table exchange)
  tarnbase_failing_program(failing_${name} ${PROJECT_SOURCE_DIR}/examples/${name}.c)
  tarnbase_failing_program(failing_${name}_cpp ${PROJECT_SOURCE_DIR}/examples/${name}.cpp)
endforeach()

tarnbase_add_test(programs_without_memory_test
  SOURCES programs_without_memory_test.cpp
  LIBRARIES tarnbase_test_programs tarnbase::tarnbase tarnbase::runtime)
target_compile_definitions(programs_without_memory_test PRIVATE
  PROGRAMS="${CMAKE_CURRENT_BINARY_DIR}" DOCUMENTED="$<JOIN:${documented}, >")
add_dependencies(programs_without_memory_test ${programs})
