# cmake -DSOURCE=<project> -DBUILD=<folder> -DCXX=<compiler> -P run.cmake
set(WORK ${BUILD})
include(${SOURCE}/tests/support/steps.cmake)

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
run(${CMAKE_COMMAND} --build ${BUILD}/build --parallel 2)
file(REMOVE_RECURSE ${BUILD}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD}/build --prefix ${BUILD}/prefix)

# The installed package finds the platform where it was when it was built.
run(${CMAKE_COMMAND} -S ${SOURCE}/tests/install -B ${BUILD}/hosts -G Ninja -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_PREFIX_PATH=${BUILD}/prefix -DMORE_PROGRAMS=${here}/host.cpp -DWORKER_ARGUMENTS=)
run(${CMAKE_COMMAND} --build ${BUILD}/hosts --parallel 2)
run(${BUILD}/hosts/host ${BUILD})
run(${BUILD}/hosts/consumer)
