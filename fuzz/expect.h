// What a fuzz target holds the library to.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run when a condition does not hold; unlike assert it is there in every build.
#define FUZZ_EXPECT(condition)                                                           \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)
