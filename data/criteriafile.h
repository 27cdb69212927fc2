// Order criteria, RVBASER and RVBAPAR.TXT, byte by byte.
//
// RVBASER points at the chain of blocks of a series; block n of RVBAPAR.TXT lies at n * 432, no header.
// Blocks not in use form the free chain of row 12 and are zero except for `next`.
#pragma once

#include "data/ondisk.h"

/// Key 1: series.
struct CriteriaRecord {
    SeriesKey key;               // 0
    std::uint8_t carried_8[20];  // 8
    little_int32_t chain;        // 28
};
static_assert(sizeof(CriteriaRecord) == 32 && offsetof(CriteriaRecord, chain) == 28);

struct CriteriaBlock {
    SeriesKey key;                // 0
    std::uint8_t advice[416];     // 8    used by the order advice
    little_int32_t next;          // 424  -1 ends a series chain, the end mark the free chain
    std::uint8_t carried_428[4];  // 428
};
static_assert(sizeof(CriteriaBlock) == 432 && offsetof(CriteriaBlock, next) == 424);
