// Internal header of the lowest layer: system calls that a signal cut short.
#pragma once

#include <cerrno>

/// Repeats a system call for as long as a signal interrupts it.
template <class Call>
auto again_if_interrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}
