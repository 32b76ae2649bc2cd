# run(COMMAND...): a step of a test; tells what it printed when it fails.
function(run)
  execute_process(COMMAND ${ARGV} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV}\n${output}")
  endif()
endfunction()
