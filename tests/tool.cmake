# The tool as its users run it. Cross-built, it runs under the emulator.
if(TARGET kvx)
  set(kvx_command $<TARGET_FILE:kvx>)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/kvx-run
         CONTENT "#!/bin/sh\nexec ${emulator} $<TARGET_FILE:kvx> \"$@\"\n"
         FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    set(kvx_command ${CMAKE_CURRENT_BINARY_DIR}/kvx-run)
  endif()
  add_test(NAME kvx COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/cli/kvx_test.py)
  set_tests_properties(kvx PROPERTIES ENVIRONMENT "KVX=${kvx_command}" TIMEOUT 600 LABELS tool)
endif()
