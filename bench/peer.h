// The questions of some checks as a database would answer them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/shop/shop.h"

/// A question of a check, put to SQLite: tables in memory, with the indexes that a sensible person would
/// make.
struct peer_answer {
    const char *check;
    double milliseconds;  ///< of processor time, the best of the rounds
    long findings;        ///< 0 in a sound shop
};

/// Loads the shop, and asks each question so many times. `time` measures what it is given, in milliseconds.
std::vector<peer_answer> peer_answers(const Shop &shop, int rounds,
                                      const std::function<double(const std::function<void()> &)> &time);
