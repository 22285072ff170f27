# Runs the scenario runner on short scripts for the embedded back end that must fail, or must
# end cleanly, and checks the exit status and what the runner says.
set(dir ${CMAKE_CURRENT_BINARY_DIR}/embedded_selftest)
file(REMOVE_RECURSE ${dir})
file(MAKE_DIRECTORY ${dir})
# One good line, one that is not JSON; and a replay that would run for an hour at real speed.
file(WRITE ${dir}/bad.jsonl
  "{\"at\":0,\"event\":\"headline\",\"service\":16,\"seq\":1,\"title\":\"A\"}\n{\"at\":1,\"event\":\n")
file(WRITE ${dir}/slow.jsonl
  "{\"at\":0,\"event\":\"headline\",\"service\":16,\"seq\":1,\"title\":\"A\"}\n{\"at\":3600,\"event\":\"headline\",\"service\":16,\"seq\":2,\"title\":\"B\"}\n")

function(expect_run name script status pattern)
  file(WRITE ${dir}/${name}.nvs "${script}")
  execute_process(COMMAND ${RUNNER} --self-test ${dir}/${name}.nvs
                  RESULT_VARIABLE got OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT got EQUAL ${status} OR NOT err MATCHES "${pattern}")
    message(FATAL_ERROR "${name}: expected exit status ${status} and a message matching\n  ${pattern}\n"
                        "got ${got}:\n${out}${err}")
  endif()
endfunction()

# A statement of the other back end is a mistake in the script, named with its line.
expect_run(scripted_push "backend embedded\npush 16#1 09:00 A\n" 2
  "scripted_push.nvs:2: error: 'push' is for the scripted back end, but the embedded one runs \\(line 1\\); news comes from a replay file")
expect_run(scripted_answer "backend embedded\nanswer story 16#1\n" 2
  "scripted_answer.nvs:2: error: 'answer story' is for the scripted back end")
expect_run(scripted_calls "backend embedded\nexpect calls = none\n" 2
  "scripted_calls.nvs:2: error: 'expect calls' is for the scripted back end")
expect_run(embedded_feed "service 16 A B\nfeed bad.jsonl\n" 2
  "embedded_feed.nvs:2: error: 'feed' needs the embedded back end")
expect_run(embedded_observation "print feed\n" 2
  "embedded_observation.nvs:1: error: 'print feed' needs the embedded back end")
expect_run(late_backend "service 16 A B date 20240102\nbackend embedded\n" 2
  "late_backend.nvs:2: error: line 1 \\('service'\\) is for the scripted back end")
expect_run(backend_after_view "view CScenarioProbeView\nbackend embedded\n" 2
  "backend_after_view.nvs:2: error: 'backend embedded' must come before 'view'")
expect_run(late_language "backend embedded\nlang-file lang/zh-TW.lang\n" 2
  "late_language.nvs:2: error: the embedded back end read its language file when it started")
expect_run(wait_without_feed "backend embedded\nfeed-wait\n" 2
  "wait_without_feed.nvs:2: error: there is no replay to wait for")

# A bad line fails the wait with the file and line; the good line is still replayed.
expect_run(bad_line "backend embedded\nfeed bad.jsonl\nfeed-wait\nexpect feed ~ cache headlines 1\n" 1
  "bad_line.nvs:3: the replay skipped bad lines: bad.jsonl:2: ")
# The end of the script stops a replay that is still waiting for its next line.
expect_run(teardown_while_replaying "backend embedded\nfeed slow.jsonl speed 1\nexpect feed ~ running\n" 0 "^$")
