# cmake -DSOURCE=<project> -DBUILD=<folder> -DCXX=<compiler> -P run.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
endfunction()

set(here ${SOURCE}/tests/platform)
set(root ${BUILD}/root)
file(MAKE_DIRECTORY ${root}/lib)
file(COPY ${here}/include DESTINATION ${root})
set(flags -std=c++20 -fPIC -Wall -Wextra -Werror -I ${root}/include)
foreach(library korvexlog rtk_common)
  run(${CXX} ${flags} -shared -Wl,-soname,lib${library}.so ${here}/src/${library}.cpp -o ${root}/lib/lib${library}.so)
endforeach()

run(${CMAKE_COMMAND} -S ${SOURCE} -B ${BUILD}/build -G Ninja -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Debug
    -DRTK_UTILS_PLATFORM_ROOT=${root} -DRTK_UTILS_BUILD_TOOLS=OFF -DRTK_UTILS_BUILD_TESTS=OFF)
run(${CMAKE_COMMAND} --build ${BUILD}/build --target rtk_utils --parallel 2)

set(library ${BUILD}/build/libapp/utils)
run(${CXX} ${flags} -I ${SOURCE}/libapp/utils/include -I ${SOURCE}/tests ${here}/host.cpp -o ${BUILD}/host
    -L ${library} -L ${root}/lib -lrtk_utils -lrtk_common -lkorvexlog -Wl,-rpath,${library}:${root}/lib)
run(${BUILD}/host ${BUILD})
