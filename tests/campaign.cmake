# Damaged logs, a sample of them; `./dev campaign` runs all.
if(TARGET kvx)
  find_package(ZLIB REQUIRED)
  add_executable(campaign campaign/campaign.cpp ${PROJECT_SOURCE_DIR}/tools/kvx/log/log_reader.cpp)
  target_link_libraries(campaign PRIVATE rtk_utils_objects rtk_gnss_readers ZLIB::ZLIB)
  target_include_directories(campaign PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tools/kvx
                                              ${PROJECT_SOURCE_DIR}/libapp/utils/src)
  add_test(NAME campaign COMMAND campaign ${CMAKE_CURRENT_SOURCE_DIR}/data/every_message.log)
  set_tests_properties(campaign PROPERTIES LABELS "tool;slow" TIMEOUT 600)
endif()
