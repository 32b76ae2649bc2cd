# rtk_add_test(NAME SOURCES file... [LIBS target...] [WRAP symbol...] [LABELS label...])
#
# One GoogleTest program, linked with the library's objects: it reaches what the shared library hides,
# and the calls named in WRAP go to the __wrap_ functions of its sources.
function(rtk_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;WRAP;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE rtk_utils_objects rtk_gnss_readers ${ARG_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/libapp/utils/src)
  target_compile_options(${name} PRIVATE -Wno-dangling-else)   # an ASSERT_ after an if is meant as it stands
  target_compile_definitions(${name} PRIVATE RTK_UTILS_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  foreach(symbol IN LISTS ARG_WRAP)
    target_link_options(${name} PRIVATE LINKER:--wrap=${symbol})
  endforeach()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 600)
endfunction()
