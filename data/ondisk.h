// What every on-disk record is made of.
//
// Numbers on file are little-endian and may be at any offset. Records are structs of these types and of char
// arrays, so that a struct has exactly the bytes on file: no padding and no alignment.
#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>

using boost::endian::little_int16_t;
using boost::endian::little_int32_t;
using boost::endian::little_uint16_t;
using boost::endian::little_uint32_t;

/// A set of sizes: size index i (1 to 95) is bit i % 8 of byte i / 8. Bit 0 is not used.
struct SizeBitmap {
    std::uint8_t bytes[12];

    [[nodiscard]] bool test(unsigned index) const {
        return index < 96 && (bytes[index / 8] >> (index % 8) & 1);
    }
    void set(unsigned index) {
        if (index < 96) {
            bytes[index / 8] = static_cast<std::uint8_t>(bytes[index / 8] | 1U << (index % 8));
        }
    }
    void add(const SizeBitmap &other) {
        for (std::size_t i = 0; i < sizeof bytes; i++) {
            bytes[i] = static_cast<std::uint8_t>(bytes[i] | other.bytes[i]);
        }
    }
    [[nodiscard]] bool operator==(const SizeBitmap &other) const {
        return std::memcmp(bytes, other.bytes, sizeof bytes) == 0;
    }
};
static_assert(sizeof(SizeBitmap) == 12);

inline constexpr unsigned size_highest = 95;

/// Key of a series: article group, colour, sequence number. All zero in a free block.
struct SeriesKey {
    little_uint32_t group;   // 0   1 to 99999
    little_uint16_t colour;  // 4   1 to 999
    little_uint16_t number;  // 6   1 to 9999
    [[nodiscard]] bool operator==(const SeriesKey &other) const {
        return group == other.group && colour == other.colour && number == other.number;
    }
};
static_assert(sizeof(SeriesKey) == 8);
