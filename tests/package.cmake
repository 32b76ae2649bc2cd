# What the shared library offers to those who install it.
add_test(NAME exports
         COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/check_exports.py
                 ${CMAKE_NM} $<TARGET_FILE:rtk_utils> ${PROJECT_SOURCE_DIR}/libapp/utils/exports.txt)

# Hosts of somebody else's, each way that there is to link it; platform_libraries is one more.
foreach(mode standins pkgconfig subfolder lookup)
  if(mode STREQUAL "standins" OR NOT CMAKE_CROSSCOMPILING)
    add_test(NAME install_${mode}
             COMMAND ${CMAKE_COMMAND} -DMODE=${mode} -DSOURCE=${PROJECT_SOURCE_DIR} -DBUILD=${PROJECT_BINARY_DIR}
                     -DWORK=${CMAKE_CURRENT_BINARY_DIR}/install/${mode} -DCXX=${CMAKE_CXX_COMPILER} -DREADELF=${CMAKE_READELF}
                     -DVERSION=${PROJECT_VERSION} -DTOOLCHAIN=${CMAKE_TOOLCHAIN_FILE} "-DFLAGS=${CMAKE_CXX_FLAGS}"
                     "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" -P ${CMAKE_CURRENT_SOURCE_DIR}/install/run.cmake)
    set_tests_properties(install_${mode} PROPERTIES TIMEOUT 600)
  endif()
endforeach()
if(NOT CMAKE_CROSSCOMPILING)
  set_tests_properties(install_subfolder PROPERTIES LABELS packages)   # builds the library once more
endif()
if(TARGET kvx AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME install_kvx
           COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/install/installed_kvx.py ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR})
endif()

# Public headers compile by themselves as C++17, the oldest standard of a host.
file(GLOB public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/libapp/utils/include/*.h)
set(header_checks)
foreach(header IN LISTS public_headers)
  get_filename_component(name ${header} NAME)
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/headers/${name}.cpp CONTENT "#include <${name}>\n")
  list(APPEND header_checks ${CMAKE_CURRENT_BINARY_DIR}/headers/${name}.cpp)
endforeach()
add_library(public_headers_as_cpp17 OBJECT ${header_checks})
target_link_libraries(public_headers_as_cpp17 PRIVATE rtk_utils)
set_target_properties(public_headers_as_cpp17 PROPERTIES CXX_STANDARD 17)
