# Tests of the built-in sky: its physics, its messages, and that a user's positioning finds the antenna.
if(TARGET kvx_sky)
  foreach(test sky_orbits_test sky_messages_test sky_positioning_test)
    rtk_add_test(${test} SOURCES unit/${test}.cpp LIBS kvx_sky LABELS sky)
  endforeach()
endif()
