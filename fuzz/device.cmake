# Device messages and dump files.
rtk_add_fuzzer(device_parser SOURCES device_parser_fuzz.cpp INCLUDES ${PROJECT_SOURCE_DIR}/tests)
rtk_add_fuzzer(dump_reader
  SOURCES dump_reader_fuzz.cpp ${PROJECT_SOURCE_DIR}/tools/kvx/dump/dump_reader.cpp ${PROJECT_SOURCE_DIR}/tools/kvx/dump/dump_checksums.cpp
  INCLUDES ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/tools/kvx)
