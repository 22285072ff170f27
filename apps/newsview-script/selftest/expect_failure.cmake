# Runs the scenario runner on scripts that must fail and checks how they fail:
#   a mismatch: exit status 1, the script line, the expected and the actual text;
#   a mistake in the script: exit status 2 and the line.
execute_process(COMMAND ${RUNNER} --self-test ${SCRIPT} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 1)
  message(FATAL_ERROR "expected exit status 1 for a mismatch, got ${status}\n${out}${err}")
endif()
foreach(wanted
    "mismatch.nvs:6: expect grid 0 row 0\n  expected: 09:30:00 | Beta\n  actual:   09:30:00 | Alpha"
    "mismatch.nvs:7: expect grid 0 rows\n  expected (2 lines):\n    09:30:00 | Alpha\n    09:31:00 | Gamma\n  actual:   09:30:00 | Alpha")
  string(FIND "${err}" "${wanted}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "the failure report lacks:\n${wanted}\n--- it was:\n${err}")
  endif()
endforeach()

get_filename_component(dir ${SCRIPT} DIRECTORY)
set(bad ${CMAKE_CURRENT_BINARY_DIR}/bad_statement.nvs)
file(WRITE ${bad} "service 1 One One\nfrobnicate 3\nexpect caption = never reached\n")
execute_process(COMMAND ${RUNNER} --self-test ${bad} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 2 OR NOT err MATCHES "bad_statement.nvs:2: error: unknown statement 'frobnicate'")
  message(FATAL_ERROR "expected exit status 2 naming line 2, got ${status}\n${out}${err}")
endif()
