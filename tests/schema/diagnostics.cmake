# SPDX-License-Identifier: Apache-2.0
# Compiles a bad schema and compares the diagnostics with <case>.txt.
#   cmake -DTARNC=tarnc -DSOURCE=diagnostics -DCASE=name [-DUPDATE=ON] -P diagnostics.cmake
execute_process(
  COMMAND ${TARNC} ${CASE}.tarn
  WORKING_DIRECTORY ${SOURCE}
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(UPDATE)
  file(WRITE ${SOURCE}/${CASE}.txt "${errors}")
endif()
set(expected "")
if(EXISTS ${SOURCE}/${CASE}.txt)
  file(READ ${SOURCE}/${CASE}.txt expected)
endif()
if(NOT status EQUAL 3)
  message(FATAL_ERROR "${CASE}: exit code ${status}, expected 3, a bad schema\n${errors}")
endif()
if(NOT output STREQUAL "")
  message(FATAL_ERROR "${CASE}: wrote to standard output:\n${output}")
endif()
if(expected STREQUAL "" OR NOT errors STREQUAL expected)
  message(FATAL_ERROR "${CASE}: expected\n${expected}\nfound\n${errors}\n"
    "If that is meant, accept it with\n"
    "  cmake -DTARNC=${TARNC} -DSOURCE=${SOURCE} -DCASE=${CASE} -DUPDATE=ON "
    "-P ${CMAKE_CURRENT_LIST_FILE}")
endif()
