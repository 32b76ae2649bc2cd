# cmake -DMODE=standins|pkgconfig|subfolder|lookup -DSOURCE= -DBUILD= -DWORK= -DCXX= [-DTOOLCHAIN= -DFLAGS= -DEMULATOR=] -P run.cmake
#
# Builds the consumer against what the build installs, or with the project as a subfolder, and runs it. "lookup" only
# configures: hosts that ask for the closed libraries in other ways.
include(${CMAKE_CURRENT_LIST_DIR}/../support/steps.cmake)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(prefix "${WORK}/a prefix")
string(APPEND FLAGS " -DWITH_STANDINS")
set(flags -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
set(worker "\"dump\", 100")

function(build_and_run)
  run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/build -G Ninja "-DWORKER_ARGUMENTS=${worker}" ${flags} ${ARGV})
  run(${CMAKE_COMMAND} --build ${WORK}/build --parallel 2)
  run(${EMULATOR} ${WORK}/build/consumer)
endfunction()

if(MODE STREQUAL "subfolder")
  build_and_run(-DSUBFOLDER=${SOURCE} -DCMAKE_BUILD_TYPE=Debug)
  return()
endif()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
if(MODE STREQUAL "lookup")
  foreach(component library development)
    run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/bare --component ${component})
  endforeach()
  run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/lookup -B ${WORK}/build -G Ninja -DWHOLE=${prefix} -DBARE=${WORK}/bare)

  # A subfolder with a platform needs nothing of what the stand-ins do.
  file(WRITE ${WORK}/own.cmake "add_library(Korvex::log INTERFACE IMPORTED)\nadd_library(Korvex::common INTERFACE IMPORTED)\n")
  foreach(platform RTK_UTILS_PLATFORM_ROOT=${WORK}/build/first CMAKE_PROJECT_consumer_INCLUDE=${WORK}/own.cmake)
    string(MAKE_C_IDENTIFIER ${platform} name)
    run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/${name} -G Ninja -DSUBFOLDER=${SOURCE} -D${platform}
        -DCMAKE_DISABLE_FIND_PACKAGE_spdlog=ON)
  endforeach()
  return()
endif()

# What bears a name of the platform's lies aside, and no search path of ours leads there.
file(GLOB_RECURSE named ${prefix}/*korvexlog.so* ${prefix}/*rtk_common.so*)
list(FILTER named EXCLUDE REGEX "/lib[^/]*/rtk-utils/standins/")
file(GLOB searching ${prefix}/lib/librtk_utils.so ${prefix}/bin/kvx ${prefix}/libexec/rtk-utils/kvx)
execute_process(COMMAND ${READELF} -d ${searching} OUTPUT_VARIABLE dynamic RESULT_VARIABLE result)
if(named OR NOT result EQUAL 0 OR NOT dynamic MATCHES "RUNPATH" OR dynamic MATCHES "RUNPATH[^\n]*standins")
  message(FATAL_ERROR "in the way of the platform: ${named}\n${dynamic}")
endif()

if(MODE STREQUAL "pkgconfig")
  # Linked as distributions do that leave out what is not called for.
  set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
  run(pkg-config --exists "rtk_utils-standins = ${VERSION}")
  run(sh -c "eval set -- $(pkg-config --cflags --libs rtk_utils-standins) && \
'${CXX}' -std=c++17 ${FLAGS} '-DWORKER_ARGUMENTS=${worker}' '${CMAKE_CURRENT_LIST_DIR}/consumer.cpp' -o '${WORK}/consumer' -Wl,--as-needed \"$@\"")
  run(${EMULATOR} ${WORK}/consumer)
else()
  build_and_run(-DCMAKE_PREFIX_PATH=${prefix} -DSTANDINS=standins -DCMAKE_EXE_LINKER_FLAGS=-Wl,--as-needed)
endif()
