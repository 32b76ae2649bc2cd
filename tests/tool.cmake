# The tool as its users run it.
if(TARGET kvx)
  set(emulated)
  if(CMAKE_CROSSCOMPILING)
    set(emulated 1)
  endif()
  string(JOIN " " example ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:example_convert_log>)
  add_test(NAME kvx_session COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/session_test.py
                                    ${kvx_command} $<TARGET_FILE:fake_vision>)
  add_test(NAME kvx COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/kvx_test.py)
  add_test(NAME kvx_crossings COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/haul_test.py)
  add_test(NAME kvx_check COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/check_test.py)
  set_tests_properties(kvx kvx_crossings kvx_check kvx_session PROPERTIES TIMEOUT 600 LABELS tool
    ENVIRONMENT "KVX=${kvx_command};KVX_EMULATED=${emulated};EXAMPLE=${example}")
endif()
