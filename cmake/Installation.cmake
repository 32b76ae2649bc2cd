# What is installed, in components: library, development, standins, tool, python. Nothing of it lies where the loader or
# a linker would take it for a library of the platform: the stand-ins have a folder of their own.
install(TARGETS rtk_utils LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(DIRECTORY libapp/utils/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rtk_utils COMPONENT development)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/librtk-utils-dev/examples COMPONENT development
        FILES_MATCHING PATTERN *.cpp PATTERN *.py)
install(DIRECTORY docs/formats/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/librtk-utils-dev/formats COMPONENT development
        FILES_MATCHING PATTERN *.md)   # which the headers name

if(TARGET standin_rtk_common)   # a subfolder may do without
  install(TARGETS standin_korvexlog standin_rtk_common
          LIBRARY DESTINATION ${RTK_UTILS_STANDINS_DIR} COMPONENT standins)
  foreach(part korvexlog rtk_common vision)
    install(DIRECTORY standins/${part}/include DESTINATION ${RTK_UTILS_STANDINS_DIR} COMPONENT standins)
  endforeach()
endif()

include(CMakePackageConfigHelpers)
set(package ${PROJECT_BINARY_DIR}/package)
set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/rtk_utils)
configure_package_config_file(cmake/package/rtk_utils-config.cmake.in ${package}/rtk_utils-config.cmake
  INSTALL_DESTINATION ${folder} PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR RTK_UTILS_STANDINS_DIR)
write_basic_package_version_file(${package}/rtk_utils-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${package}/rtk_utils-config.cmake ${package}/rtk_utils-config-version.cmake
        DESTINATION ${folder} COMPONENT development)

set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_PREFIX}/${folder} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
set(platform_root /usr)
if(RTK_UTILS_PLATFORM_ROOT)
  set(platform_root ${RTK_UTILS_PLATFORM_ROOT})
endif()
foreach(name rtk_utils rtk_utils-standins)
  configure_file(cmake/package/${name}.pc.in ${package}/${name}.pc @ONLY)
endforeach()
install(FILES ${package}/rtk_utils.pc DESTINATION ${folder} COMPONENT development)
if(TARGET standin_rtk_common)
  install(FILES ${package}/rtk_utils-standins.pc DESTINATION ${folder} COMPONENT standins)
endif()
