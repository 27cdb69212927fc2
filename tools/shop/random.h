// The random numbers for a made shop. The same seed must give the same numbers on every machine, so the
// standard library's distributions, whose results are not fixed, are not used.
#pragma once

#include <cstdint>
#include <iterator>
#include <random>
#include <utility>
#include <vector>

struct Random {
    std::mt19937_64 engine;

    /// Each part of a shop has its own `stream`, so that more customers, for instance, do not change the
    /// series.
    Random(std::uint64_t seed, std::uint64_t stream) : engine(seed * 0x9E3779B97F4A7C15ULL + stream) {}

    /// A number from 0 to n - 1; 0 when n is 0.
    std::uint64_t below(std::uint64_t n) {
        return n == 0 ? 0 : engine() % n;
    }
    /// A number from `low` to `high`, both included.
    int range(int low, int high) {
        return high <= low ? low : low + static_cast<int>(below(static_cast<std::uint64_t>(high - low) + 1));
    }
    bool chance(int percent) {
        return range(1, 100) <= percent;
    }

    template <typename Container>
    auto &pick(Container &from) {
        return from[below(std::size(from))];
    }
    template <typename T>
    void shuffle(std::vector<T> &items) {
        for (std::size_t i = items.size(); i > 1; i--) {
            std::swap(items[i - 1], items[below(i)]);
        }
    }
};
