/// @file rtk_utils_api.h  Marks what the shared library exports; everything else stays hidden.
#ifndef RTK_UTILS_API_H
#define RTK_UTILS_API_H

#define RTK_UTILS_API __attribute__((visibility("default")))

#endif
