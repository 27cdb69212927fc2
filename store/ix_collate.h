// Order of text in keys: each byte has a primary weight (the letter without case and accent) and a secondary
// weight (the accent). Three bytes count as two letters; control characters have no primary weight.
#pragma once

#include <array>
#include <cstdint>

struct ix_weights {
    std::array<std::uint8_t, 256> primary;
    std::array<std::uint8_t, 256> secondary;
    /// 0: one primary weight. 1: none. 2: two, which are the two table values, and no secondary weight.
    std::array<std::uint8_t, 256> kind;
};

extern const ix_weights ix_weight;
