# SPDX-License-Identifier: Apache-2.0
# The C++ headers compile by themselves, in each language version, with exceptions and
# without, warnings as errors: each hand-written one, one of each kind of generated header,
# and all of them together.
#   cmake -DCXX=... -DTARNC=tarnc -DSOURCE=dir -DINCLUDE=dir -DGENERATED=dir -DWORK=dir
#         -P headers.cmake
set(warnings -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only)

function(compile header)
  file(WRITE ${WORK}/header_check.cpp "#include \"${header}\"\nextern int something;\n")
  execute_process(
    COMMAND ${CXX} ${ARGN} ${warnings} -I${INCLUDE} -I${GENERATED} ${WORK}/header_check.cpp
    RESULT_VARIABLE status ERROR_VARIABLE errors)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${header} with ${ARGN}:\n${errors}")
  endif()
endfunction()

file(GLOB headers RELATIVE ${INCLUDE} ${INCLUDE}/tarnbase/tarn/*.hpp)
if(headers STREQUAL "")
  message(FATAL_ERROR "no header found in ${INCLUDE}")
endif()
list(APPEND headers tarnbase/tarn/schema.hpp tarnbase/tarn/enums/auth_state.hpp
     tarnbase/tarn/types/aaa_servers.hpp tarnbase/tarn/tables/service_type_info.hpp)
foreach(header IN LISTS headers)
  compile(${header} -std=c++17)
endforeach()
foreach(flags IN ITEMS "-std=c++17" "-std=c++17;-fno-exceptions" "-std=c++20"
        "-std=c++20;-fno-exceptions;-fno-rtti")
  compile(tarnbase/tarn.hpp ${flags})
endforeach()

# A schema with difficult names and shapes.
execute_process(COMMAND ${TARNC} ${SOURCE}/odd.tarn --out ${WORK}/odd COMMAND_ERROR_IS_FATAL ANY)
foreach(flags IN ITEMS "-std=c++17" "-std=c++20")
  execute_process(
    COMMAND ${CXX} ${flags} ${warnings} -I${INCLUDE} -I${WORK}/odd/include ${SOURCE}/odd.cpp
    RESULT_VARIABLE status ERROR_VARIABLE errors)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "odd.cpp with ${flags}:\n${errors}")
  endif()
endforeach()

list(LENGTH headers count)
message(STATUS "${count} headers without a warning")
