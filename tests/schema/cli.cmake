# SPDX-License-Identifier: Apache-2.0
# The compiler's options, exit codes and output on the command line.
#   cmake -DTARNC=tarnc -DSOURCE=golden -DWORK=folder -P cli.cmake
function(run expected_status expected_text)
  execute_process(
    COMMAND ${TARNC} ${ARGN} WORKING_DIRECTORY ${SOURCE}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL expected_status OR NOT output MATCHES "${expected_text}")
    message(FATAL_ERROR "tarnc ${ARGN}: exit code ${status}, expected ${expected_status}; "
      "expected text '${expected_text}', found\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(0 "Compiles a schema" --help)
run(0 "^tarnc [0-9]+\\.[0-9]+\\.[0-9]+\n$" --version)
run(0 "^$" sample.tarn)
run(2 "FILE is missing")
run(3 "absent.tarn:1:1: can.t read" absent.tarn)
run(2 "shards" sample.tarn --shards 0)
run(2 "depfile-target" sample.tarn --depfile ${WORK}/made.d)
run(2 "unknown" sample.tarn --unknown)
run(2 "an object identifier" sample.tarn --mib-base 2.5)
run(2 "an object identifier" sample.tarn --mib-base 1.3.6.)
run(2 "can't write|cannot create|Not a directory" sample.tarn --out ${SOURCE}/sample.tarn/below)

run(0 "^$" sample.tarn --out ${WORK} --depfile ${WORK}/made.d --depfile-target made)
file(READ ${WORK}/made.d rule)
if(NOT rule STREQUAL "made: \\\n  sample.tarn \\\n  shapes.tarn\n")
  message(FATAL_ERROR "unexpected dependency file:\n${rule}")
endif()

run(0 "^$" sample.tarn --out ${WORK} --mib-base 1.3.6.1.3.77)
file(STRINGS ${WORK}/SAMPLE-MIB.txt base REGEX "iso")
if(NOT base STREQUAL "    ::= { iso 3 6 1 3 77 }")
  message(FATAL_ERROR "unexpected base:\n${base}")
endif()
