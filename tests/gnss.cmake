rtk_add_test(foundation_test SOURCES unit/satellites_test.cpp unit/checksums_test.cpp unit/time_scales_test.cpp LABELS gnss)
rtk_add_test(korvex_test SOURCES unit/korvex_framing_test.cpp unit/korvex_decode_test.cpp LABELS gnss)
rtk_add_test(rinex_obs_test
  SOURCES unit/rinex_obs_header_test.cpp unit/rinex_obs_rec_test.cpp unit/rinex_obs_patch_test.cpp
  WRAP time LABELS gnss)

# The wings of the house know nothing of each other, and the foundation of neither.
function(wing_without wing others)
  set(folder ${PROJECT_SOURCE_DIR}/libapp/utils/src/gnss/${wing})
  add_test(NAME "wing_${wing}" COMMAND sh -c "test -d ${folder} && ! grep -rnE '#include [\"<](.*/)?(${others})/' ${folder}")
endfunction()
wing_without(foundation "log|rinex")
wing_without(log rinex)
wing_without(rinex log)
