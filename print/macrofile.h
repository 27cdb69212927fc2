// The macro file MACRO, byte by byte.
#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

inline constexpr int macro_keys = 100;

/// A stored sequence of keys. Key 1: activating key, user.
struct MacroRecord {
    boost::endian::little_uint16_t key;               // 0   letter or digit, ASCII capitals as small letters
    boost::endian::little_uint16_t user;              // 2
    boost::endian::little_uint16_t count;             // 4
    boost::endian::little_uint16_t keys[macro_keys];  // 6   in the order typed
    char description[30];                             // 206
};
static_assert(sizeof(MacroRecord) == 236 && offsetof(MacroRecord, keys) == 6);
static_assert(offsetof(MacroRecord, description) == 206);

/// Definition for IXUPDFCB; the first text is that of the file.
inline constexpr const char *macro_definition[] = {"mac_rec,236", "key_1,I,1,2,I,3,4"};
