# What the shared library offers to those who install it.
add_test(NAME exports
         COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/support/check_exports.py
                 ${CMAKE_NM} $<TARGET_FILE:rtk_utils> ${PROJECT_SOURCE_DIR}/libapp/utils/exports.txt)

add_test(NAME install
         COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR} -DWORK=${CMAKE_CURRENT_BINARY_DIR}/install
                 -DTOOLCHAIN=${CMAKE_TOOLCHAIN_FILE} "-DFLAGS=${CMAKE_CXX_FLAGS}"
                 "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" -P ${CMAKE_CURRENT_SOURCE_DIR}/install/run.cmake)

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
