# The tool as its users run it.
if(TARGET kvx)
  add_test(NAME kvx COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/kvx_test.py)
  set_tests_properties(kvx PROPERTIES ENVIRONMENT "KVX=${kvx_command}" TIMEOUT 600 LABELS tool)
endif()
