# The fast paths of the GNSS part against the plain versions that the benchmarks measure them by.
set(bench ${PROJECT_SOURCE_DIR}/bench)
rtk_add_test(plain_equivalence_test
  SOURCES unit/plain_equivalence_test.cpp ${bench}/gnss_plain_log.cpp ${bench}/gnss_plain_rinex.cpp
  LIBS kvx_sky LABELS gnss)
target_include_directories(plain_equivalence_test PRIVATE ${bench})
