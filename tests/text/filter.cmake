# SPDX-License-Identifier: MPL-2.0

# Runs the filter on a good and a malformed line.
function(expect what actual wanted)
  if(NOT "${actual}" STREQUAL "${wanted}")
    message(FATAL_ERROR "${what}: '${actual}' instead of '${wanted}'")
  endif()
endfunction()

string(ASCII 9 tab)
set(input ${FOLDER}/filter_input.txt)
set(good "4d6f74F67268656164${tab}41000142${tab}${tab}${tab}u:e78bac\n${tab}${tab}${tab}${tab}\n")
foreach(bad "41${tab}${tab}${tab}4${tab}" "41${tab}${tab}${tab}zz${tab}" "41${tab}42" "${tab}${tab}${tab}${tab}${tab}")
  file(WRITE ${input} "${good}${bad}\n")
  execute_process(COMMAND ${FILTER} INPUT_FILE ${input} OUTPUT_VARIABLE output ERROR_VARIABLE message
                  RESULT_VARIABLE status)
  expect("exit status" "${status}" 2)
  expect("output" "${output}" "Motörhead${tab}A  B${tab}${tab}${tab}独\n${tab}${tab}${tab}${tab}\n")
  if(NOT message MATCHES "line 3")
    message(FATAL_ERROR "message does not name the line: ${message}")
  endif()
endforeach()
