rtk_add_test(foundation_test SOURCES unit/satellites_test.cpp unit/checksums_test.cpp unit/time_scales_test.cpp LABELS gnss)
rtk_add_test(korvex_test SOURCES unit/korvex_framing_test.cpp unit/korvex_decode_test.cpp LABELS gnss)
