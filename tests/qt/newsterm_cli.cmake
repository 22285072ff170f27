# newsterm's command line as a user meets it: --help and --version need no display, a feed file
# that is not there stops the terminal with a message (never generated news in its place), and
# --screenshot on its own takes its picture after a few seconds and quits.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(ENV{XDG_CONFIG_HOME} ${WORK}/config)
set(ENV{XDG_DATA_HOME} ${WORK}/data)
# A window system that cannot start: no display at all.
set(ENV{QT_QPA_PLATFORM} xcb)
unset(ENV{DISPLAY})
unset(ENV{WAYLAND_DISPLAY})
foreach(option --help --version)
  execute_process(COMMAND ${NEWSTERM} ${option} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err
                  TIMEOUT 30)
  if(NOT status EQUAL 0 OR out STREQUAL "")
    message(FATAL_ERROR "${option} without a display exited with ${status}\n${out}\n${err}")
  endif()
endforeach()
execute_process(COMMAND ${NEWSTERM} --resources ${RESOURCES} --feed ${WORK}/missing.jsonl
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 30)
if(status EQUAL 0 OR NOT err MATCHES "missing.jsonl")
  message(FATAL_ERROR "a missing feed file was not refused (${status})\n${out}\n${err}")
endif()

set(ENV{QT_QPA_PLATFORM} offscreen)
execute_process(COMMAND ${NEWSTERM} --resources ${RESOURCES} --screenshot ${WORK}/alone.png
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 60)
if(NOT status EQUAL 0 OR NOT EXISTS ${WORK}/alone.png)
  message(FATAL_ERROR "--screenshot on its own did not save the window (${status})\n${out}\n${err}")
endif()
execute_process(COMMAND ${NEWSTERM} --resources ${RESOURCES} --screenshot ${WORK}/no/such/folder/s.png --quit-after 1
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 60)
if(status EQUAL 0)
  message(FATAL_ERROR "a screenshot that could not be written still exited with 0\n${err}")
endif()
