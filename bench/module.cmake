# The Python module in an interpreter of the program's own, so that it runs in turn with what it is compared with.
find_library(RTK_UTILS_PYTHON_LIBRARY python${RTK_UTILS_PYTHON_VERSION} PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE} NO_DEFAULT_PATH REQUIRED)
rtk_add_bench(module_bench SOURCES module_bench.cpp LIBS kvx_sky ${RTK_UTILS_PYTHON_LIBRARY})
target_include_directories(module_bench SYSTEM PRIVATE ${RTK_UTILS_PYTHON_INCLUDE} ${RTK_UTILS_PYBIND11_INCLUDE})
target_compile_definitions(module_bench PRIVATE PYTHON_PACKAGES="$<TARGET_FILE_DIR:rtk_utils_python>/..")
set_target_properties(module_bench PROPERTIES CXX_VISIBILITY_PRESET hidden)
add_dependencies(module_bench rtk_utils_python)
