# SPDX-License-Identifier: Apache-2.0
# Every public header compiles by itself, as C11 and as C++17, warnings as errors.
#   cmake -DCC=... -DCXX=... -DINCLUDE=dir -DGENERATED=dir -DWORK=dir -P headers.cmake
set(warnings -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only)
set(folders ${INCLUDE} ${GENERATED})
list(TRANSFORM folders PREPEND -I OUTPUT_VARIABLE includes)

set(checked 0)
foreach(dir IN LISTS folders)
  file(GLOB_RECURSE headers RELATIVE ${dir} ${dir}/tarnbase/*.h)
  foreach(header IN LISTS headers)
    foreach(language IN ITEMS c c++)
      if(language STREQUAL "c")
        set(command ${CC} -std=c11)
      else()
        set(command ${CXX} -std=c++17)
      endif()
      file(WRITE ${WORK}/header_check.txt "#include \"${header}\"\nextern int something;\n")
      execute_process(
        COMMAND ${command} ${warnings} ${includes} -x ${language} ${WORK}/header_check.txt
        RESULT_VARIABLE status ERROR_VARIABLE errors)
      if(NOT status EQUAL 0)
        message(FATAL_ERROR "${header} as ${language}:\n${errors}")
      endif()
      math(EXPR checked "${checked} + 1")
    endforeach()
  endforeach()
endforeach()
if(checked EQUAL 0)
  message(FATAL_ERROR "no header found in ${folders}")
endif()
message(STATUS "${checked} compilations without a warning")
