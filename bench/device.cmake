# Device messages and the dump log.
find_package(spdlog REQUIRED)
foreach(name message_bench dump_bench)
  rtk_add_bench(${name} SOURCES ${name}.cpp LIBS spdlog::spdlog)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
endforeach()
