# SPDX-License-Identifier: Apache-2.0
# What is installed is stripped. Its debug information goes to .debug/<file>.debug beside it,
# where a debugger looks for it; that is the component Debug, which is installed only by name.
# A packager whose tools do this themselves turns it off.
option(TARNBASE_SPLIT_DEBUG "Strip what is installed and keep debug information apart" ON)

#   tarnbase_split_debug(<target> <component> <folder>)
#     Strips the file of the target after it was installed into the folder as part of the
#     component. To be called after install(TARGETS).
function(tarnbase_split_debug target component folder)
  if(NOT TARNBASE_SPLIT_DEBUG)
    return()
  endif()
  if(NOT IS_ABSOLUTE ${folder})
    set(folder "\${CMAKE_INSTALL_PREFIX}/${folder}")
  endif()
  set(built "$<TARGET_FILE:${target}>")
  set(separate "execute_process(
    COMMAND \"${CMAKE_OBJCOPY}\" --only-keep-debug \"${built}\" \"${built}.debug\"
    COMMAND_ERROR_IS_FATAL ANY)")
  install(CODE "${separate}
    execute_process(
      COMMAND \"${CMAKE_OBJCOPY}\" --strip-unneeded \"--add-gnu-debuglink=${built}.debug\"
              \"\$ENV{DESTDIR}${folder}/$<TARGET_FILE_NAME:${target}>\"
      COMMAND_ERROR_IS_FATAL ANY)" COMPONENT ${component} ${ARGN})
  # Of what was built.
  install(CODE "if(EXISTS \"${built}\")
    ${separate}
    file(INSTALL \"${built}.debug\" DESTINATION \"${folder}/.debug\")
  endif()" COMPONENT Debug EXCLUDE_FROM_ALL)
endfunction()
