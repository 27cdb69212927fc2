// The end of the program, which a fuzzer survives: an exception in place of the fatal stop, caught where the
// input ends.
#pragma once

#include "base/operator.h"

struct fuzz_stop {};

inline void fuzz_catch_stops() {
    isam_operator.fatal = [](const char *) { throw fuzz_stop{}; };
    isam_operator.flash = [](int, const char *, const char *) { return 0; };
    isam_operator.last_line = [](bool, const char *, int) {};
}

/// Ends the fuzzer's run with a report of this input.
#define FUZZ_DEMAND(condition)                                                   \
    do {                                                                         \
        if (!(condition)) {                                                      \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                        \
        }                                                                        \
    } while (false)
