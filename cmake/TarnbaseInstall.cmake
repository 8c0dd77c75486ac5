# SPDX-License-Identifier: Apache-2.0
# The installed files, in components: Runtime is libtarnbase, EmbeddedRuntime is
# libtarnbase-runtime, Development the headers and build files, Tools the programs, Exporter
# tarn-exporter, Agentx tarn-agentx, Python the Python package, Documentation the documents and
# Debug the debug information of the others.
# docs/packaging.md describes their use.
include(CMakePackageConfigHelpers)
include(TarnbaseDebug)

# tarnbase::headers is part of either library; tarnbase::embedded is both.
add_library(tarnbase_embedded INTERFACE)
add_library(tarnbase::embedded ALIAS tarnbase_embedded)
target_link_libraries(tarnbase_embedded INTERFACE tarnbase tarnbase_runtime)
set_target_properties(tarnbase_embedded PROPERTIES EXPORT_NAME embedded)
set_target_properties(tarnbase_headers PROPERTIES EXPORT_NAME headers)
set_target_properties(tarnbase PROPERTIES EXPORT_NAME tarnbase)
set_target_properties(tarnbase_runtime PROPERTIES EXPORT_NAME runtime)
install(TARGETS tarnbase_headers tarnbase_embedded EXPORT tarnbase COMPONENT Development)
install(TARGETS tarnbase EXPORT tarnbase
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT Runtime NAMELINK_COMPONENT Development)
install(TARGETS tarnbase_runtime EXPORT tarnbase
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT EmbeddedRuntime NAMELINK_COMPONENT Development)
tarnbase_split_debug(tarnbase Runtime ${CMAKE_INSTALL_LIBDIR})
tarnbase_split_debug(tarnbase_runtime EmbeddedRuntime ${CMAKE_INSTALL_LIBDIR})

#   tarnbase_install_program(<target> <component> [EXCLUDE_FROM_ALL])
#     Installs a program that finds the libraries relative to itself, so that the installed
#     tree can be moved. In /usr the system's loader finds them.
function(tarnbase_install_program target component)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
    target_link_options(${target} PRIVATE LINKER:--enable-new-dtags)
  endif()
  install(TARGETS ${target}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component} ${ARGN})
  tarnbase_split_debug(${target} ${component} ${CMAKE_INSTALL_BINDIR} ${ARGN})
endfunction()

get_target_property(generated tarnbase_schema TARNBASE_OUT)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ ${generated}/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development
  FILES_MATCHING PATTERN *.h PATTERN *.hpp)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tarnbase)
install(EXPORT tarnbase NAMESPACE tarnbase:: FILE tarnbaseTargets.cmake
  DESTINATION ${package_dir} COMPONENT Development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tarnbaseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/tarnbaseConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/tarnbaseConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/tarnbaseConfig.cmake
              ${PROJECT_BINARY_DIR}/package/tarnbaseConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT Development)

# A .pc file finds its prefix relative to itself, so that the installed tree can be moved; a
# folder given as an absolute path is not relative.
function(tarnbase_pc_folder variable folder)
  if(IS_ABSOLUTE ${folder})
    set(${variable} ${folder} PARENT_SCOPE)
  else()
    set(${variable} "\${prefix}/${folder}" PARENT_SCOPE)
  endif()
endfunction()

set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${pc_dir})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH up /root/${pc_dir} /root)
  string(REGEX REPLACE "/$" "" pc_prefix "\${pcfiledir}/${up}")
endif()
tarnbase_pc_folder(pc_libdir ${CMAKE_INSTALL_LIBDIR})
tarnbase_pc_folder(pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
foreach(name IN ITEMS tarnbase tarnbase-runtime tarnbase-embedded)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${name}.pc.in
    ${PROJECT_BINARY_DIR}/package/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${name}.pc
    DESTINATION ${pc_dir} COMPONENT Development)
endforeach()

# The guides and the examples; docs/CMakeLists.txt adds the reference and the manual pages.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/HACKING.md
              ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md ${PROJECT_SOURCE_DIR}/SECURITY.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT Documentation
  FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN man EXCLUDE PATTERN reference EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Documentation)
