/// @file rtk_utils_api.h  Marks what the shared library exports, and what of an exported class stays inside.
#ifndef RTK_UTILS_API_H
#define RTK_UTILS_API_H

#define RTK_UTILS_API __attribute__((visibility("default")))
#define RTK_UTILS_LOCAL __attribute__((visibility("hidden")))

#endif
