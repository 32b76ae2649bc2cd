/// @file rtk_utils_version.h  Version of the library: of this header, and of what is loaded.
///
/// A minor version may change the interface as long as the major one is 0; a patch never does. The soname stays
/// librtk_utils.so in all of them.
#ifndef RTK_UTILS_VERSION_H
#define RTK_UTILS_VERSION_H

#include "rtk_utils_api.h"

/// A number of this header's version.
/// @{
#define RTK_UTILS_VERSION_MAJOR 0
#define RTK_UTILS_VERSION_MINOR 2
#define RTK_UTILS_VERSION_PATCH 0
/// @}

/// Version of this header as a number, to be compared: 0.2.0 is 200, 1.2.3 is 10203.
#define RTK_UTILS_VERSION_NUMBER \
    (RTK_UTILS_VERSION_MAJOR * 10000 + RTK_UTILS_VERSION_MINOR * 100 + RTK_UTILS_VERSION_PATCH)

/// Makes a text of a number; for RTK_UTILS_VERSION.
/// @{
#define RTK_UTILS_VERSION_TEXT_(x) #x
#define RTK_UTILS_VERSION_TEXT(x) RTK_UTILS_VERSION_TEXT_(x)
/// @}

/// Version of this header as a text: "0.2.0".
#define RTK_UTILS_VERSION                           \
    RTK_UTILS_VERSION_TEXT(RTK_UTILS_VERSION_MAJOR) \
    "." RTK_UTILS_VERSION_TEXT(RTK_UTILS_VERSION_MINOR) "." RTK_UTILS_VERSION_TEXT(RTK_UTILS_VERSION_PATCH)

/// Version of the library that is loaded.
///
/// @return text in the form of RTK_UTILS_VERSION, there as long as the library is
RTK_UTILS_API const char* rtk_utils_version();

#endif
