/// @file fuzz_check.h  An assertion that holds in every build and stops the engine.
#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                             \
    do {                                                                                  \
        if (!(condition)) {                                                               \
            std::fprintf(stderr, "%s:%d: %s is false\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                 \
        }                                                                                 \
    } while (false)

#endif
