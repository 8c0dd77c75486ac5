# SPDX-License-Identifier: Apache-2.0
# Installed files are stripped. Their debug information goes to .debug/<file>.debug in the same
# folder, where debuggers look for it. It is the component Debug, which is installed only when
# named. A packager whose tools do this turns it off.
option(TARNBASE_SPLIT_DEBUG "Strip installed files and install debug information separately" ON)

#   tarnbase_split_debug(<target> <component> <folder>)
#     Strips the target's file after it is installed in the folder as part of the component.
#     Call it after install(TARGETS).
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
