# Navigation files of the tool, made of a simulated log and of recordings.
if(TARGET kvx)
  add_test(NAME navigation_files
           COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/navigation_test.py ${kvx_command})
  set_tests_properties(navigation_files PROPERTIES TIMEOUT 300 LABELS tool)
endif()
if(TARGET kvx AND RTK_UTILS_RECORDINGS AND EXISTS ${RTK_UTILS_RECORDINGS})
  add_test(NAME navigation_of_recordings
           COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/compare_navigation.py
                   --kvx ${kvx_command} --recordings ${RTK_UTILS_RECORDINGS}
                   --workdir ${CMAKE_CURRENT_BINARY_DIR}/navigation_of_recordings)
  set_tests_properties(navigation_of_recordings PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77)
endif()
