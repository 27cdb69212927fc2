// Goods between branches, RVGO and RVONTV, byte by byte.
#pragma once

#include "data/ondisk.h"

/// RVGO. Key 1: label, document.
struct TransitRecord {
    std::uint8_t from;           // 0
    std::uint8_t to;             // 1
    std::uint8_t zero_2;         // 2
    std::uint8_t carried_3;      // 3
    little_int32_t label;        // 4
    SeriesKey key;               // 8
    little_int32_t document;     // 16  eight digits, the last a check digit
    std::uint8_t kind;           // 20  2 when the label is in RVONTV, else 1
    std::uint8_t carried_21[3];  // 21
    little_uint16_t created;     // 24
    little_uint16_t changed;     // 26
};
static_assert(sizeof(TransitRecord) == 28);
static_assert(offsetof(TransitRecord, label) == 4 && offsetof(TransitRecord, key) == 8);
static_assert(offsetof(TransitRecord, document) == 16 && offsetof(TransitRecord, kind) == 20);
static_assert(offsetof(TransitRecord, created) == 24 && offsetof(TransitRecord, changed) == 26);

/// RVONTV, labels received by the other branch but not yet processed. Key 1: label.
struct ReceiptRecord {
    std::uint8_t from;           // 0
    std::uint8_t to;             // 1
    std::uint8_t carried_2[2];   // 2
    little_int32_t label;        // 4
    SeriesKey key;               // 8
    little_uint16_t received;    // 16
    std::uint8_t carried_18[2];  // 18
};
static_assert(sizeof(ReceiptRecord) == 20 && offsetof(ReceiptRecord, label) == 4);
