# Tests of the device messages, the vision library's binding and its dump.
find_package(spdlog REQUIRED)
set(vision_headers ${PROJECT_SOURCE_DIR}/standins/vision/include)

rtk_add_test(CKorvexMsgHelper_test SOURCES unit/CKorvexMsgHelper_test.cpp fakes/failing_new.cpp LABELS device)
rtk_add_test(CPhgLog_test SOURCES unit/CPhgLog_test.cpp fakes/failing_new.cpp LIBS spdlog::spdlog WRAP fwrite LABELS device threads)

# The fake vision library, and variants that lack some and all of the entry points.
function(fake_vision name)
  add_library(${name} MODULE fakes/fake_vision.cpp)
  target_include_directories(${name} PRIVATE ${vision_headers} ${PROJECT_SOURCE_DIR}/libapp/utils/include ${PROJECT_SOURCE_DIR}/libapp/utils/src)
  if(ARGN)
    target_link_options(${name} PRIVATE LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/fakes/${ARGN})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/fakes/${ARGN})
  endif()
endfunction()
fake_vision(fake_vision)
fake_vision(fake_vision_partial fake_vision_partial.map)
fake_vision(fake_vision_empty fake_vision_empty.map)

rtk_add_test(CPhgAdapter_test SOURCES unit/CPhgAdapter_test.cpp fakes/failing_new.cpp LIBS spdlog::spdlog LABELS device threads)
target_include_directories(CPhgAdapter_test PRIVATE ${vision_headers})
target_compile_definitions(CPhgAdapter_test PRIVATE
  FAKE_VISION="$<TARGET_FILE:fake_vision>" FAKE_VISION_PARTIAL="$<TARGET_FILE:fake_vision_partial>"
  FAKE_VISION_EMPTY="$<TARGET_FILE:fake_vision_empty>")
set_target_properties(CPhgAdapter_test PROPERTIES ENABLE_EXPORTS ON)   # one entry point lies in the program itself
add_dependencies(CPhgAdapter_test fake_vision fake_vision_partial fake_vision_empty)

add_executable(adapter_at_exit integration/adapter_at_exit.cpp)
target_link_libraries(adapter_at_exit PRIVATE rtk_utils Korvex::common)
add_test(NAME adapter_at_exit COMMAND adapter_at_exit ${CMAKE_CURRENT_BINARY_DIR})
set_tests_properties(adapter_at_exit PROPERTIES LABELS "device;threads" ENVIRONMENT VISION_PHG_LIB_NAME=$<TARGET_FILE:fake_vision>)

rtk_add_test(dump_reader_test SOURCES unit/dump_reader_test.cpp
             ${PROJECT_SOURCE_DIR}/tools/kvx/dump/dump_reader.cpp LABELS device)
target_include_directories(dump_reader_test PRIVATE ${PROJECT_SOURCE_DIR}/tools/kvx)

# The library against a second pair of platform libraries, by the build option alone.
if(NOT CMAKE_CROSSCOMPILING)
  add_test(NAME platform_libraries
           COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR} -DBUILD=${CMAKE_CURRENT_BINARY_DIR}/platform
                                    -DCXX=${CMAKE_CXX_COMPILER} -P ${CMAKE_CURRENT_SOURCE_DIR}/platform/run.cmake)
  set_tests_properties(platform_libraries PROPERTIES LABELS "device;slow" TIMEOUT 1200)
endif()
