// The customer files RVKLT and RVKLTEXT, byte by byte.
#pragma once

#include "data/ondisk.h"

inline constexpr std::uint32_t customer_highest = 999999;

/// Key 1: number. The sold labels of a customer form a chain, the newest sale first.
struct CustomerRecord {
    little_uint32_t number;          // 0    1 to 999999
    char name[30];                   // 4
    char initials[15];               // 34
    char street[40];                 // 49
    char postcode[7];                // 89   "1234 AB"
    char town[15];                   // 96
    char country[3];                 // 111
    std::uint8_t carried_114[18];    // 114
    little_uint32_t first_label;     // 132  0 for none
    little_int32_t amount_plain;     // 136  sold labels of kind 0
    little_int32_t amount_other;     // 140  sold labels of other kinds
    little_int32_t amount_nine;      // 144  sold labels of kind 9
    std::uint8_t carried_148[4];     // 148
    little_int16_t count_plain;      // 152
    little_int16_t count_other;      // 154
    little_int16_t count_nine;       // 156
    little_uint16_t past_date;       // 158  lies before today
    std::uint8_t title;              // 160  1 to 20, 0 for none
    std::uint8_t carried_161[62];    // 161
    char marks[8];                   // 223  selection marks, blank when not set
    std::uint8_t carried_231[19];    // 231
    little_uint16_t stamp;           // 250
    std::uint8_t carried_252[40];    // 252
    little_uint16_t extension_date;  // 292  0: no extension record
    std::uint8_t carried_294[18];    // 294
};
static_assert(sizeof(CustomerRecord) == 312);
static_assert(offsetof(CustomerRecord, name) == 4 && offsetof(CustomerRecord, postcode) == 89);
static_assert(offsetof(CustomerRecord, country) == 111 && offsetof(CustomerRecord, first_label) == 132);
static_assert(offsetof(CustomerRecord, amount_nine) == 144 && offsetof(CustomerRecord, count_plain) == 152);
static_assert(offsetof(CustomerRecord, past_date) == 158 && offsetof(CustomerRecord, title) == 160);
static_assert(offsetof(CustomerRecord, marks) == 223 && offsetof(CustomerRecord, stamp) == 250);
static_assert(offsetof(CustomerRecord, extension_date) == 292);

/// Key 1: number. A record whose date differs from the customer's belongs to an earlier customer with that
/// number.
struct CustomerExtension {
    little_uint32_t number;      // 0
    char text[80];               // 4
    little_uint16_t date;        // 84
    std::uint8_t carried_86[2];  // 86
};
static_assert(sizeof(CustomerExtension) == 88 && offsetof(CustomerExtension, date) == 84);
