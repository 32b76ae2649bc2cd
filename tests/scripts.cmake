# What kvx makes of logs: proven from the logs themselves, and the recordings compared with the files they came from.
if(NOT TARGET kvx)
  return()
endif()
set(scripts prove_conversion compare_navigation)
set(recordings)
if(RTK_UTILS_RECORDINGS AND EXISTS ${RTK_UTILS_RECORDINGS}/japan_1hz AND EXISTS ${RTK_UTILS_RECORDINGS}/denmark_30s)
  list(APPEND scripts compare_recordings)
  set(recordings --recordings ${RTK_UTILS_RECORDINGS})
else()
  message(STATUS "Recordings are not compared: RTK_UTILS_RECORDINGS does not name their folder")
endif()
foreach(script IN LISTS scripts)
  add_test(NAME ${script}
           COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/${script}.py
                   --kvx ${kvx_command} ${recordings} --workdir ${CMAKE_CURRENT_BINARY_DIR}/${script})
  set_tests_properties(${script} PROPERTIES TIMEOUT 900 LABELS tool)
endforeach()
