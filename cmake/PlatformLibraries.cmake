# Korvex::log and Korvex::common: the maker's closed libraries, or the stand-ins of standins/.
# Everything else links these two names and includes the headers by the names the real ones have. A project that has
# this one as a subfolder may bring both.
set(RTK_UTILS_PLATFORM_ROOT "" CACHE PATH
    "Folder with include/ and lib/ of the real libkorvexlog and librtk_common; empty: the stand-ins are linked")

# rtk_platform_library(NAME FILE): an imported library of that folder
function(rtk_platform_library name file)
  set(library ${RTK_UTILS_PLATFORM_ROOT}/lib/${file})
  if(NOT EXISTS ${library})
    message(FATAL_ERROR "RTK_UTILS_PLATFORM_ROOT: ${library} is missing")
  endif()
  add_library(${name} SHARED IMPORTED GLOBAL)
  set_target_properties(${name} PROPERTIES
    IMPORTED_LOCATION ${library}
    IMPORTED_SONAME ${file}
    INTERFACE_INCLUDE_DIRECTORIES ${RTK_UTILS_PLATFORM_ROOT}/include)
endfunction()

if(PROJECT_IS_TOP_LEVEL)   # built and installed, whatever is linked
  add_subdirectory(${PROJECT_SOURCE_DIR}/standins)
endif()
if(TARGET Korvex::log AND TARGET Korvex::common)
  message(STATUS "rtk_utils: the closed libraries are those of the project around it")
elseif(RTK_UTILS_PLATFORM_ROOT)
  rtk_platform_library(Korvex::log libkorvexlog.so)
  rtk_platform_library(Korvex::common librtk_common.so)
else()
  if(NOT PROJECT_IS_TOP_LEVEL)
    add_subdirectory(${PROJECT_SOURCE_DIR}/standins)
  endif()
  add_library(Korvex::log ALIAS standin_korvexlog)
  add_library(Korvex::common ALIAS standin_rtk_common)
endif()
