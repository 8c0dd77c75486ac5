# SPDX-License-Identifier: Apache-2.0
# Compiles the sample schema and compares the output with golden/expected.
#   cmake -DTARNC=tarnc -DSOURCE=golden -DWORK=folder [-DUPDATE=ON] -P golden.cmake
if(UPDATE)
  set(WORK ${SOURCE}/expected.new)
endif()
file(REMOVE_RECURSE ${WORK})
execute_process(
  COMMAND ${TARNC} sample.tarn --out ${WORK} --shards 2
  WORKING_DIRECTORY ${SOURCE} COMMAND_ERROR_IS_FATAL ANY)
if(UPDATE)
  # Only now: a run that fails leaves the expected files as they are.
  file(REMOVE_RECURSE ${SOURCE}/expected)
  file(RENAME ${WORK} ${SOURCE}/expected)
  return()
endif()

file(GLOB_RECURSE made RELATIVE ${WORK} ${WORK}/*)
file(GLOB_RECURSE expected RELATIVE ${SOURCE}/expected ${SOURCE}/expected/*)
set(failed OFF)
if(NOT made STREQUAL expected)
  message("made:     ${made}\nexpected: ${expected}")
  set(failed ON)
endif()
foreach(file IN LISTS made)
  if(EXISTS ${SOURCE}/expected/${file})
    execute_process(
      COMMAND diff -u ${SOURCE}/expected/${file} ${WORK}/${file} RESULT_VARIABLE differs)
    if(differs)
      set(failed ON)
    endif()
  endif()
endforeach()
if(failed)
  message(FATAL_ERROR "The output isn't the expected one. If that is meant, accept it with\n"
    "  cmake -DTARNC=${TARNC} -DSOURCE=${SOURCE} -DUPDATE=ON -P ${CMAKE_CURRENT_LIST_FILE}")
endif()
list(LENGTH made count)
message(STATUS "${count} files as expected")
