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
  add_test(NAME kvx_parts COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/parts_test.py)
  add_test(NAME kvx_batch COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/batch_test.py)
  add_test(NAME kvx_info COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/info_test.py)
  add_test(NAME kvx_revise COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/revise_test.py)
  set_tests_properties(kvx kvx_crossings kvx_check kvx_parts kvx_batch kvx_info kvx_revise kvx_session PROPERTIES TIMEOUT 600 LABELS tool ENVIRONMENT
    "KVX=${kvx_command};KVX_EMULATED=${emulated};EXAMPLE=${example};RTK_UTILS_RECORDINGS=${RTK_UTILS_RECORDINGS}")

  # What kvx tells of itself: the pages' commands, and shells that complete them.
  if(NOT CMAKE_CROSSCOMPILING)
    foreach(script page completion service)
      add_test(NAME kvx_${script} COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/${script}_test.py)
      set_tests_properties(kvx_${script} PROPERTIES TIMEOUT 600 LABELS "tool;pages" ENVIRONMENT "KVX=${kvx_command}")
    endforeach()
  endif()

  # Calls that fail: an emulator has others, and sanitizers and counted builds make some of their own.
  if(NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|-coverage")
    add_library(failing_calls MODULE fakes/failing_calls.cpp)
    foreach(part "memory;memory dlsym" "calls;fork open read write seek finish look")
      list(POP_FRONT part name)
      separate_arguments(part)
      add_test(NAME kvx_failing_${name}
               COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/failure_test.py --kvx ${kvx_command}
                       --injector $<TARGET_FILE:failing_calls> --vision $<TARGET_FILE:fake_vision> --kinds ${part})
      set_tests_properties(kvx_failing_${name} PROPERTIES TIMEOUT 900 LABELS tool SKIP_RETURN_CODE 77)
    endforeach()
  endif()
endif()
