# Installs the build into a folder of its own, builds the consumer against it and runs it.
file(REMOVE_RECURSE ${WORK})
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV}\n${output}")
  endif()
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/build -G Ninja -DCMAKE_PREFIX_PATH=${WORK}/prefix
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${EMULATOR} ${WORK}/build/consumer)
