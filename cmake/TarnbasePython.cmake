# SPDX-License-Identifier: Apache-2.0
# Sets TARNBASE_HAS_PYTHON, and looks for what the Python package needs: the headers of an
# interpreter, and pybind11. The package is for that interpreter only, by default the system's:
# another one that comes first in PATH has other packages.
set(TARNBASE_HAS_PYTHON OFF)
if(NOT TARNBASE_BUILD_PYTHON)
  return()
endif()
find_program(TARNBASE_PYTHON NAMES python3 HINTS /usr/bin NO_DEFAULT_PATH
             DOC "The interpreter that the Python package is for")
find_program(TARNBASE_PYTHON NAMES python3)
set(needed "")
if(NOT TARNBASE_BUILD_PYTHON STREQUAL "AUTO")
  set(needed REQUIRED)
endif()
set(PYBIND11_NOPYTHON ON)
find_package(pybind11 2.10 CONFIG QUIET ${needed})
string(CONCAT facts
  "import sys, sysconfig\n"
  "facts = sysconfig.get_path('include'), sysconfig.get_config_var('EXT_SUFFIX')\n"
  "print(*facts, '%d.%d' % sys.version_info[:2], sep='|')")
if(TARNBASE_PYTHON)
  execute_process(COMMAND ${TARNBASE_PYTHON} -c "${facts}"
    OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "|" ";" found "${found}")
  list(GET found 0 TARNBASE_PYTHON_INCLUDE)
  list(GET found 1 TARNBASE_PYTHON_SUFFIX)
  list(GET found 2 TARNBASE_PYTHON_VERSION)
endif()
if(pybind11_FOUND AND EXISTS "${TARNBASE_PYTHON_INCLUDE}/Python.h")
  set(TARNBASE_HAS_PYTHON ON)
elseif(needed)
  message(FATAL_ERROR "TARNBASE_BUILD_PYTHON needs python3-dev and pybind11-dev")
else()
  message(STATUS "The Python package isn't built: it needs python3-dev and pybind11-dev")
endif()
