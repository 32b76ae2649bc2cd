rtk_add_test(foundation_test SOURCES unit/satellites_test.cpp unit/checksums_test.cpp unit/time_scales_test.cpp LABELS gnss)
rtk_add_test(korvex_test SOURCES unit/korvex_framing_test.cpp unit/korvex_decode_test.cpp LABELS gnss)
rtk_add_test(rinex_obs_test
  SOURCES unit/rinex_obs_header_test.cpp unit/rinex_obs_rec_test.cpp unit/rinex_obs_patch_test.cpp
  WRAP time LABELS gnss)
