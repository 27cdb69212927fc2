// The files of article codes: RVEAN, RVBARC, XNRSnnnn and PLUnn, byte by byte.
#pragma once

#include "data/ondisk.h"

/// RVEAN. Key 1: code. Key 2: type, group, colour, number, size index.
struct EanRecord {
    char code[13];           // 0   zero padded
    char type;               // 13  'M' size of a series, 'A' small article
    little_uint16_t colour;  // 14
    little_uint32_t group;   // 16  for type 'A' the number of the small article
    little_uint16_t number;  // 20
    std::uint8_t size;       // 22
    std::uint8_t size_kind;  // 23
    little_uint16_t date;    // 24
    std::uint8_t carried_26[2];
};
static_assert(sizeof(EanRecord) == 28);
static_assert(offsetof(EanRecord, type) == 13 && offsetof(EanRecord, group) == 16);
static_assert(offsetof(EanRecord, size) == 22 && offsetof(EanRecord, date) == 24);

/// RVBARC, replaced codes. Key 1: code. Key 2: group, colour, number, size index. Here the size kind comes
/// before the size.
struct BarcodeRecord {
    char code[13];            // 0
    std::uint8_t carried_13;  // 13
    little_uint16_t colour;   // 14
    little_uint32_t group;    // 16
    little_uint16_t number;   // 20
    std::uint8_t size_kind;   // 22
    std::uint8_t size;        // 23  0: the series as a whole
    little_uint16_t date;     // 24
    std::uint8_t carried_26[6];
};
static_assert(sizeof(BarcodeRecord) == 32);
static_assert(offsetof(BarcodeRecord, size_kind) == 22 && offsetof(BarcodeRecord, date) == 24);

/// XNRSnnnn, order numbers of supplier nnnn. Key 1: order number.
struct SupplierNumberRecord {
    char code[13];            // 0
    std::uint8_t carried_13;  // 13
    little_uint16_t colour;   // 14
    little_uint32_t group;    // 16
    little_uint16_t number;   // 20
    std::uint8_t size;        // 22  0: the series as a whole
    std::uint8_t size_kind;   // 23
    std::uint8_t carried_24[4];
};
static_assert(sizeof(SupplierNumberRecord) == 28);
static_assert(offsetof(SupplierNumberRecord, group) == 16 && offsetof(SupplierNumberRecord, size) == 22);

/// PLUnn, what the tills of branch nn know of a code. Key 1: code.
struct PluRecord {
    char code[13];                 // 0
    std::uint8_t carried_13;       // 13
    little_uint16_t turnover;      // 14  turnover group
    little_int32_t price;          // 16  price of the size's price group
    std::uint8_t action;           // 20  number of the action, 0 for none
    std::uint8_t carried_21;       // 21
    little_uint16_t action_value;  // 22
    little_int32_t action_amount;  // 24
    std::uint8_t carried_28[4];    // 28
};
static_assert(sizeof(PluRecord) == 32);
static_assert(offsetof(PluRecord, turnover) == 14 && offsetof(PluRecord, price) == 16);
static_assert(offsetof(PluRecord, action) == 20 && offsetof(PluRecord, action_amount) == 24);
