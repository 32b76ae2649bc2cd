rtk_add_test(foundation_test SOURCES unit/foundation_test.cpp LIBS kvx_sky LABELS gnss)
rtk_add_test(log_test SOURCES unit/log_test.cpp LIBS kvx_sky LABELS gnss)
rtk_add_test(rinex_obs_test SOURCES unit/rinex_obs_test.cpp WRAP time LABELS gnss)
rtk_add_test(rinex_nav_test SOURCES unit/rinex_nav_test.cpp WRAP time LABELS gnss)
rtk_add_test(rinex_number_test SOURCES unit/rinex_number_test.cpp LABELS gnss)
rtk_add_test(sky_test SOURCES unit/sky_test.cpp LIBS kvx_sky LABELS gnss)

# Compact and compressed files: a part of the tool.
if(TARGET kvx_rinex)
  find_package(ZLIB REQUIRED)
  find_package(zstd REQUIRED CONFIG)
  set(common ${PROJECT_SOURCE_DIR}/tools/kvx/common)
  rtk_add_test(crinex_test SOURCES unit/crinex_test.cpp ${common}/compressor.cpp ${common}/output_file.cpp ${common}/left_overs.cpp
               ${common}/text_format.cpp LIBS kvx_rinex ZLIB::ZLIB zstd::libzstd_shared LABELS gnss)
  target_include_directories(crinex_test PRIVATE ${PROJECT_SOURCE_DIR}/tools/kvx)
endif()

# The wings of the house know nothing of each other, and the foundation of neither.
function(wing_without wing others)
  set(folder ${PROJECT_SOURCE_DIR}/libapp/utils/src/gnss/${wing})
  add_test(NAME "wing_${wing}" COMMAND sh -c "test -d ${folder} && ! grep -rnE '#include [\"<](.*/)?(${others})/' ${folder}")
endfunction()
wing_without(foundation "log|rinex")
wing_without(log rinex)
wing_without(rinex log)

# What the pages of the receiver log say of it, and what the readers read.
add_test(NAME format_page COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/compare_format_pages.py
         ${PROJECT_SOURCE_DIR}/libapp/utils ${PROJECT_SOURCE_DIR}/docs/formats)

# Digests of everything. The texts are made under a locale with a decimal comma and in a time zone off by odd minutes.
rtk_add_test(digest_test SOURCES unit/log_digest_test.cpp unit/text_digest_test.cpp
             LIBS kvx_sky WRAP time LABELS gnss)
set(locales ${CMAKE_CURRENT_BINARY_DIR}/locale)
file(MAKE_DIRECTORY ${locales})
add_test(NAME comma_locale COMMAND localedef -i de_DE -f UTF-8 ${locales}/de_DE.UTF-8)
set_tests_properties(comma_locale PROPERTIES FIXTURES_SETUP comma_locale)
set_tests_properties(digest_test PROPERTIES FIXTURES_REQUIRED comma_locale
                     ENVIRONMENT "LOCPATH=${locales};LC_ALL=de_DE.UTF-8;TZ=ODD-3:37")
