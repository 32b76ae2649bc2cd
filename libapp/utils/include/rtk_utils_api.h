/// @file rtk_utils_api.h  Marks what the shared library exports, and what of an exported class stays inside.
///
/// The exported names are a reviewed list, compared with the built library by a test.
#ifndef RTK_UTILS_API_H
#define RTK_UTILS_API_H

/// What the library offers. Everything else is hidden, so that nothing of it can clash with a host's own names.
#define RTK_UTILS_API __attribute__((visibility("default")))

/// Private members of a class that is offered.
#define RTK_UTILS_LOCAL __attribute__((visibility("hidden")))

#endif
