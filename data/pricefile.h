// The price files RVIPA and RVIPG.TXT and the rates RVKOERS, byte by byte.
//
// RVIPA has a price set for a series, a supplier and a period; RVIPG.TXT the price blocks of the sets, block
// n at n * 40, no header. Each block of a set's chain has one gross and one net price for the sizes of its
// bitmap. Blocks not in use form the free chain of row 9 and are zero except for `next`.
#pragma once

#include "data/ondisk.h"

/// End date of a set without an end.
inline constexpr std::uint16_t price_open_ended = 65534;

/// Key 1: series, supplier, end date.
struct PriceSetRecord {
    SeriesKey key;               // 0
    little_uint16_t supplier;    // 8
    little_uint16_t end_date;    // 10  last day, 65534: open
    little_uint32_t factor;      // 12  calculation factor, 10000 is 1.0
    std::uint8_t size_kind;      // 16
    SizeBitmap sizes;            // 17  union of the blocks' sizes
    char currency[3];            // 29
    little_uint16_t begin_date;  // 32  first day
    little_uint16_t carried_34;  // 34
    little_int32_t chain;        // 36  first block, -1 for none
};
static_assert(sizeof(PriceSetRecord) == 40);
static_assert(offsetof(PriceSetRecord, supplier) == 8 && offsetof(PriceSetRecord, end_date) == 10);
static_assert(offsetof(PriceSetRecord, factor) == 12 && offsetof(PriceSetRecord, sizes) == 17);
static_assert(offsetof(PriceSetRecord, currency) == 29 && offsetof(PriceSetRecord, begin_date) == 32);
static_assert(offsetof(PriceSetRecord, chain) == 36);

struct PriceBlock {
    SeriesKey key;             // 0   the first 12 bytes are those of the set
    little_uint16_t supplier;  // 8
    little_uint16_t end_date;  // 10
    SizeBitmap sizes;          // 12  sizes of these prices
    char currency[3];          // 24
    std::uint8_t size_kind;    // 27
    little_int32_t gross;      // 28  in the smallest unit of the currency
    little_int32_t net;        // 32
    little_int32_t next;       // 36  -1 ends a set's chain, the end mark the free chain
};
static_assert(sizeof(PriceBlock) == 40);
static_assert(offsetof(PriceBlock, sizes) == 12 && offsetof(PriceBlock, currency) == 24);
static_assert(offsetof(PriceBlock, gross) == 28 && offsetof(PriceBlock, next) == 36);

/// Rate of a day. Key 1: currency, date. The rate is rate / (unit * 10000).
struct RateRecord {
    char currency[3];        // 0
    std::uint8_t carried_3;  // 3
    little_uint32_t rate;    // 4
    little_uint16_t unit;    // 8
    little_uint16_t date;    // 10
};
static_assert(sizeof(RateRecord) == 12);
static_assert(offsetof(RateRecord, rate) == 4 && offsetof(RateRecord, unit) == 8);
static_assert(offsetof(RateRecord, date) == 10);
