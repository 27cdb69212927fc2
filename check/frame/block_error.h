// The error list of the checks that follow chains of blocks: one record for each block at which a chain is
// wrong, or that no chain reaches.
#pragma once

#include "check/frame/error_list.h"
#include "data/ondisk.h"

inline constexpr std::int32_t stdchk_none = -1;  ///< no block

struct ChainError {
    SeriesKey key;            // 0
    little_int32_t block;     // 8   at fault; stdchk_none for none
    little_int32_t previous;  // 12  block of the chain that leads to it; below 0 for none
    std::uint8_t code;        // 16  what is wrong, by the check's own table
    std::uint8_t repaired;    // 17  1 when mended
    std::uint8_t zero_18[2];  // 18
};
static_assert(sizeof(ChainError) == 20);
static_assert(offsetof(ChainError, block) == 8 && offsetof(ChainError, previous) == 12);
static_assert(offsetof(ChainError, code) == 16 && offsetof(ChainError, repaired) == 17);

inline constexpr int stdchk_series_parts = 3;  ///< segments of the key that name the series

/// A list of such errors, ordered by series, code and block.
struct chain_error_list : error_list<ChainError> {
    chain_error_list()
        : error_list("stdchk",
                     {{"key-1", false, {{'I', 0, 4}, {'I', 4, 2}, {'I', 6, 2}, {'I', 16, 1}, {'I', 8, 4}}}}) {
    }
};
