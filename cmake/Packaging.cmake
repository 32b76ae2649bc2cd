# Debian packages, one a component: `cpack -G DEB` in a build that is configured for /usr, as the presets debian and
# debian-arm64 are (./dev package).
set(RTK_UTILS_PACKAGE_CONTACT "rtk_utils developers <rtk-utils@example.org>" CACHE STRING "Maintainer named by the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME rtk-utils)
set(CPACK_PACKAGE_CONTACT "${RTK_UTILS_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")   # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Of no package that is there already: the closed libraries, of which the stand-ins are one kind.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/standins/korvexlog
    ${PROJECT_BINARY_DIR}/standins/rtk_common ${PROJECT_BINARY_DIR}/libapp/utils)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()

# The same changes and terms in every package.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(documents ${PROJECT_BINARY_DIR}/package/debian)
add_custom_command(OUTPUT ${documents}/changelog.Debian.gz
  COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/cmake/package/debian/changelog.py ${PROJECT_SOURCE_DIR}/CHANGELOG.md
          "${RTK_UTILS_PACKAGE_CONTACT}" ${documents}/changelog.Debian.gz
  DEPENDS CHANGELOG.md cmake/package/debian/changelog.py VERBATIM)
add_custom_target(package_documents ALL DEPENDS ${documents}/changelog.Debian.gz)

set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# rtk_debian_package(COMPONENT NAME SECTION [DEPENDS text] [RECOMMENDS text] [SUGGESTS text] DESCRIPTION summary line...)
macro(rtk_debian_package component name section)
  cmake_parse_arguments(ARG "" "DEPENDS;RECOMMENDS;SUGGESTS" "DESCRIPTION" ${ARGN})
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  foreach(field DEPENDS RECOMMENDS SUGGESTS)
    set(CPACK_DEBIAN_${upper}_PACKAGE_${field} "${ARG_${field}}")
  endforeach()
  list(JOIN ARG_DESCRIPTION "\n" CPACK_COMPONENT_${upper}_DESCRIPTION)
  install(FILES ${documents}/changelog.Debian.gz cmake/package/debian/copyright
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endmacro()

set(CPACK_COMPONENTS_ALL)
rtk_debian_package(library librtk-utils libs RECOMMENDS "librtk-utils-standins"
  DESCRIPTION "GNSS receiver logs, RINEX and device access for RTK hosts"
  "Decodes a GNSS receiver's binary log into one record, writes RINEX from it,"
  "frames the device's own messages, binds a vision library at run time and"
  "records its inputs, and drives GPIO and I2C. It needs two libraries of the"
  "platform, libkorvexlog.so and librtk_common.so, or the stand-ins for them.")
rtk_debian_package(development librtk-utils-dev libdevel DEPENDS "librtk-utils ${same_version}"
  RECOMMENDS "librtk-utils-standins" SUGGESTS "cmake, pkgconf"
  DESCRIPTION "GNSS receiver logs, RINEX and device access - headers"
  "Headers of librtk_utils.so, and what CMake and pkg-config need to find it.")
rtk_debian_package(standins librtk-utils-standins libs
  DESCRIPTION "stand-ins for the platform libraries of librtk-utils"
  "libkorvexlog.so and librtk_common.so, with headers. They do what the library"
  "calls: logging over spdlog, a checksum, a worker thread. They lie aside and are"
  "used by those who ask for them, and by kvx where there is no platform.")
rtk_debian_package(tool kvx science DEPENDS "librtk-utils ${same_version}" RECOMMENDS "librtk-utils-standins ${same_version}"
  SUGGESTS "socat"
  DESCRIPTION "GNSS receiver logs to RINEX, with checks and reports"
  "Converts a GNSS receiver's binary logs to RINEX 2.11, 3.04, 3.05 and 4.02 with"
  "every signal, joins, splits and thins logs and RINEX files, proves conversions,"
  "checks files by the published formats, and judges measurements: gaps, slips,"
  "multipath, positions.")
if(RTK_UTILS_BUILD_PYTHON)
  string(REGEX MATCH "^([0-9]+)\\.([0-9]+)$" pythons ${RTK_UTILS_PYTHON_VERSION})
  math(EXPR next "${CMAKE_MATCH_2} + 1")
  set(pythons "python3 (>= ${RTK_UTILS_PYTHON_VERSION}), python3 (<< ${CMAKE_MATCH_1}.${next})")
  rtk_debian_package(python python3-rtk-utils python DEPENDS "${pythons}, python3-numpy"
    SUGGESTS "python3-xarray"
    DESCRIPTION "GNSS receiver logs in Python"
    "Reads a GNSS receiver's binary logs into NumPy arrays: observations of every"
    "signal, ephemerides, positions, events, losses; device frames and dump files, too.")
endif()
set(scripts ${PROJECT_SOURCE_DIR}/cmake/package/debian)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${scripts}/triggers)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${scripts}/python/postinst ${scripts}/python/prerm)
include(CPack)
