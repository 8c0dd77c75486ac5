# SPDX-License-Identifier: Apache-2.0
# The bill of materials. It is written at the end of an installation and covers all
# installed files, also those that earlier runs installed for other components. Include
# this file last.
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_FOUND)
  message(STATUS "No Python: the bill of materials won't be installed")
  return()
endif()

install(CODE "
  set(installed \"${PROJECT_BINARY_DIR}/sbom_files.txt\")
  list(JOIN CMAKE_INSTALL_MANIFEST_FILES \"\\n\" files)
  file(WRITE \"\${installed}\" \"\${files}\\n\")
  file(GLOB components \"${PROJECT_BINARY_DIR}/install_manifest_*.txt\")
  set(bill \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}/tarnbase.spdx.json\")
  message(STATUS \"Installing: \$ENV{DESTDIR}\${bill}\")
  execute_process(
    COMMAND \"${Python3_EXECUTABLE}\" \"${PROJECT_SOURCE_DIR}/scripts/make-sbom\"
            --version ${PROJECT_VERSION} --prefix \"\${CMAKE_INSTALL_PREFIX}\"
            \"--root=\$ENV{DESTDIR}\" --output \"\$ENV{DESTDIR}\${bill}\"
            \"\${installed}\" \${components}
    COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${bill}\")
" COMPONENT Documentation)
