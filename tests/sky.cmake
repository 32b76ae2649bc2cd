# The built-in sky.
if(TARGET kvx_sky)
  rtk_add_test(sky_test SOURCES unit/sky_test.cpp LIBS kvx_sky LABELS sky)
endif()
