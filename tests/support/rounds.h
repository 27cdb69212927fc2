// How long the tests go on that try things at random or kill a program again and again:
//   RVCHK_ROUNDS=N   N times as many rounds as usual
//   RVCHK_SEED=N     the first seed, 1 when it isn't given, so that another run tries something else
#pragma once

#include <cstdio>
#include <cstdlib>

inline int number_from_environment(const char *name) {
    const char *text = std::getenv(name);
    return text == nullptr ? 1 : std::atoi(text);
}

/// The rounds of a long test. Tells them where more than usual are wanted, for scripts/soak.sh to count.
inline int rounds(int usual) {
    const int factor = number_from_environment("RVCHK_ROUNDS");
    if (factor != 1) {
        std::printf("rounds: %d\n", usual * factor);
    }
    return usual * factor;
}

inline int first_seed() {
    return number_from_environment("RVCHK_SEED");
}

/// Before which of so many writes one of `all` rounds kills: spread over them, elsewhere with another seed.
inline long kill_moment(long writes, int round, int all) {
    return writes == 0 ? 0 : (writes * round / all + first_seed() - 1) % writes;
}
