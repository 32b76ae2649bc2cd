# Pages of kvx report, in a browser. The modules that drive it are Debian's, and so is the Python they are for.
if(TARGET kvx AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME report_pages COMMAND /usr/bin/python3 -B ${CMAKE_CURRENT_SOURCE_DIR}/report/report_test.py)
  set_tests_properties(report_pages PROPERTIES TIMEOUT 600 LABELS "report;pages" SKIP_RETURN_CODE 77 ENVIRONMENT "KVX=${kvx_command}")
  rtk_add_test(report_bins_test SOURCES report/time_bins_test.cpp LABELS report)
  target_include_directories(report_bins_test PRIVATE ${PROJECT_SOURCE_DIR}/tools/kvx)
endif()
