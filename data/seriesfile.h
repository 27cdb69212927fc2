// The series file RVSER, byte by byte.
//
// A series is an article of a group in a colour. Key 1: group, colour, number.
#pragma once

#include "data/ondisk.h"

inline constexpr int price_groups = 8;

struct SeriesRecord {
    SeriesKey key;                              // 0
    little_uint16_t brand;                      // 8    merk
    little_uint16_t season_year;                // 10
    char season_letter;                         // 12   'Z', 'W' or 'K'
    std::uint8_t season_number;                 // 13   0 to 9
    std::uint8_t carried_14;                    // 14
    char letter;                                // 15   blank when there is none
    std::uint8_t size_kind;                     // 16   maatsoort
    std::uint8_t carried_17;                    // 17
    std::uint8_t target_group;                  // 18   0: the target group of the article group
    char model[15];                             // 19   capitals, "###" when empty
    char description[20];                       // 34
    std::uint8_t carried_54[24];                // 54
    little_uint16_t option_value;               // 78   only when the article group has the option
    SizeBitmap sizes;                           // 80   sizes in use (maatbalk)
    std::uint8_t group_last[price_groups];      // 92   last size of each price group, 0: not in use
    little_uint32_t group_price[price_groups];  // 100  amount of each price group
    little_uint16_t supplier;                   // 132  voorkeursleverancier, 0 for none
    std::uint8_t carried_134[6];                // 134
    little_uint32_t corrected;                  // 140  labels of status 4 (cor)
    little_uint32_t sold;                       // 144  labels of status 3 (vrk)
    little_uint32_t stock;                      // 148  labels of status 2 (vrd)
    little_uint32_t ordered;                    // 152  labels of status 1 (not)
    little_uint16_t date;                       // 156
    little_uint16_t last_delivery;              // 158
    little_uint16_t last_sale;                  // 160
    std::uint8_t carried_162[8];                // 162
    std::uint8_t registration;                  // 170  0 by label number (E), 1 by size (M)
    std::uint8_t carried_171[5];                // 171
    little_int32_t first_block;                 // 176  first label block, -1 for none
    little_int32_t stamp;                       // 180  creation stamp, in seconds since 01-01-1980
    std::uint8_t carried_184[16];               // 184
};
static_assert(sizeof(SeriesRecord) == 200);
static_assert(offsetof(SeriesRecord, brand) == 8 && offsetof(SeriesRecord, season_letter) == 12);
static_assert(offsetof(SeriesRecord, letter) == 15 && offsetof(SeriesRecord, size_kind) == 16);
static_assert(offsetof(SeriesRecord, target_group) == 18 && offsetof(SeriesRecord, model) == 19);
static_assert(offsetof(SeriesRecord, description) == 34 && offsetof(SeriesRecord, option_value) == 78);
static_assert(offsetof(SeriesRecord, sizes) == 80 && offsetof(SeriesRecord, group_last) == 92);
static_assert(offsetof(SeriesRecord, group_price) == 100 && offsetof(SeriesRecord, supplier) == 132);
static_assert(offsetof(SeriesRecord, corrected) == 140 && offsetof(SeriesRecord, ordered) == 152);
static_assert(offsetof(SeriesRecord, last_delivery) == 158 && offsetof(SeriesRecord, last_sale) == 160);
static_assert(offsetof(SeriesRecord, registration) == 170 && offsetof(SeriesRecord, first_block) == 176);
static_assert(offsetof(SeriesRecord, stamp) == 180);

/// Values of SeriesRecord::registration.
enum series_registration : std::uint8_t { registration_labels = 0, registration_sizes = 1 };
