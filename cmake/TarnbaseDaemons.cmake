# SPDX-License-Identifier: Apache-2.0
# The daemons. Of those that follow stores, TARNBASE_HAS_<NAME> says whether one is built. Those who build
# only libraries and tarnctl need none of their packages.

# Sets `wanted`, and `needed` to REQUIRED if it is an error that a package is missing.
macro(tarnbase_begin_daemon name)
  set(TARNBASE_HAS_${name} OFF)
  set(wanted OFF)
  set(needed "")
  if(TARNBASE_BUILD_${name} STREQUAL "AUTO")
    set(wanted ${TARNBASE_BUILD_TOOLS})
  elseif(TARNBASE_BUILD_${name})
    if(NOT TARNBASE_BUILD_TOOLS)
      message(FATAL_ERROR "TARNBASE_BUILD_${name} needs TARNBASE_BUILD_TOOLS")
    endif()
    set(wanted ON)
    set(needed REQUIRED)
  endif()
  if(wanted)
    find_package(PkgConfig REQUIRED)
    find_package(tomlplusplus ${needed})
  endif()
endmacro()

#   tarnbase_install_daemon(<target> <component> <parts> <users>)
#     Installs a program, its systemd unit <target>.service.in, its settings <target>.toml, and the
#     manual page that page.cpp makes from the texts of --help. <parts> is the library with all of
#     the program but main, <users> the file for systemd-sysusers with the users and groups that
#     the unit names.
#     Its tests find the daemon in the global property TARNBASE_DAEMONS, and what belongs to it in
#     the target's properties TARNBASE_UNIT and TARNBASE_USERS.
function(tarnbase_install_daemon target component parts users)
  tarnbase_install_program(${target} ${component})
  configure_file(${target}.service.in ${target}.service @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.service
    DESTINATION lib/systemd/system COMPONENT ${component})
  install(FILES ${users} DESTINATION lib/sysusers.d COMPONENT ${component})
  install(FILES ${target}.toml
    DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/tarnbase COMPONENT ${component})
  set_property(GLOBAL APPEND PROPERTY TARNBASE_DAEMONS ${target})
  set_target_properties(${target} PROPERTIES
    TARNBASE_UNIT ${CMAKE_CURRENT_BINARY_DIR}/${target}.service TARNBASE_USERS ${users})

  # A cross build can't run the maker of the page, which is a part of the tools.
  if(CMAKE_CROSSCOMPILING OR NOT TARGET tarnctl_roff)
    return()
  endif()
  add_executable(${target}_page page.cpp)
  target_link_libraries(${target}_page PRIVATE ${parts} tarnctl_roff)
  set(page ${CMAKE_CURRENT_BINARY_DIR}/${target}.1)
  add_custom_command(
    OUTPUT ${page}
    COMMAND ${target}_page ${page}
    DEPENDS ${target}_page
    COMMENT "Writing the manual page of ${target}"
    VERBATIM)
  add_custom_target(${target}_man ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
endfunction()

tarnbase_begin_daemon(EXPORTER)
if(wanted)
  pkg_check_modules(httplib ${needed} IMPORTED_TARGET cpp-httplib)
  pkg_check_modules(prometheus ${needed} IMPORTED_TARGET prometheus-cpp-core)
  if(httplib_FOUND AND prometheus_FOUND AND tomlplusplus_FOUND)
    set(TARNBASE_HAS_EXPORTER ON)
  else()
    message(STATUS "tarn-exporter isn't built: it needs libcpp-httplib-dev, prometheus-cpp-dev "
      "and libtomlplusplus-dev")
  endif()
endif()

tarnbase_begin_daemon(AGENTX)
if(wanted)
  # netsnmp-agent.pc also has a library with the agent's own tables, which a subagent doesn't use.
  pkg_check_modules(netsnmp ${needed} IMPORTED_TARGET netsnmp)
  find_library(TARNBASE_NETSNMPAGENT netsnmpagent ${needed})
  mark_as_advanced(TARNBASE_NETSNMPAGENT)
  if(netsnmp_FOUND AND TARNBASE_NETSNMPAGENT AND tomlplusplus_FOUND)
    set(TARNBASE_HAS_AGENTX ON)
  else()
    message(STATUS "tarn-agentx isn't built: it needs libsnmp-dev and libtomlplusplus-dev")
  endif()
endif()
