# Navigation files: the number format, headers, records, and the orbits that are read back from them.
rtk_add_test(rinex_nav_test
  SOURCES unit/rinex_nav_number_test.cpp unit/rinex_nav_header_test.cpp unit/rinex_nav_rec_test.cpp
  WRAP time LABELS gnss)
rtk_add_test(rinex_nav_orbits_test SOURCES unit/rinex_nav_orbits_test.cpp LIBS kvx_sky LABELS gnss sky)

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
