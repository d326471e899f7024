# vnxtest_cases(<room> PYTHON <interpreter> ENVIRONMENT <variable>...): the cases of the room's
# test_*.py, as tests/run.py lists and runs them. Each is a test of its own, so that the summary names what was skipped.
function(vnxtest_cases room)
  cmake_parse_arguments(CASES "" "PYTHON" "ENVIRONMENT" ${ARGN})
  set(run ${CASES_PYTHON} -B ${PROJECT_SOURCE_DIR}/tests/run.py)
  file(GLOB files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/test_*.py)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  execute_process(COMMAND ${run} --list ${files}
                  OUTPUT_VARIABLE cases OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" cases "${cases}")
  foreach(line ${cases})
    string(REGEX MATCH "^test_([^ ]*) ([^ ]*\\.test_([^ ]*)) ([0-9]+) ([01]) ([a-z0-9]+)$" _ "${line}")
    set(name ${room}.${CMAKE_MATCH_1}.${CMAKE_MATCH_3})
    add_test(NAME ${name} COMMAND ${run} ${CMAKE_CURRENT_SOURCE_DIR}/test_${CMAKE_MATCH_1}.py ${CMAKE_MATCH_2})
    set_tests_properties(${name} PROPERTIES LABELS ${CMAKE_MATCH_6} SKIP_RETURN_CODE 77 TIMEOUT ${CMAKE_MATCH_4}
      RUN_SERIAL ${CMAKE_MATCH_5} ENVIRONMENT "${CASES_ENVIRONMENT}")
  endforeach()
endfunction()
