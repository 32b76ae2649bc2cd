# What kvx makes of the recordings, compared with the RINEX files they came from.
if(TARGET kvx AND RTK_UTILS_RECORDINGS AND EXISTS ${RTK_UTILS_RECORDINGS})
  add_test(NAME recordings
           COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/compare_recordings.py
                   --kvx ${kvx_command} --recordings ${RTK_UTILS_RECORDINGS}
                   --workdir ${CMAKE_CURRENT_BINARY_DIR}/recordings)
  add_test(NAME navigation_of_recordings
           COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/compare_navigation.py
                   --kvx ${kvx_command} --recordings ${RTK_UTILS_RECORDINGS}
                   --workdir ${CMAKE_CURRENT_BINARY_DIR}/navigation_of_recordings)
  set_tests_properties(recordings navigation_of_recordings PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77)
else()
  message(STATUS "Recordings are not compared: RTK_UTILS_RECORDINGS names no folder, or kvx is not built")
endif()
