// The label file RVETI.TXT, byte by byte.
//
// Blocks of 376 bytes without a header; block n lies at n * 376, block 0 is an ordinary block. A block holds
// ten labels of one series: label number = block * 10 + slot + 1. The blocks of a series form a chain that
// starts in the series; blocks not in use form the free chain that starts in row 4. A free block is zero
// except for `next`.
//
// Several small numbers share a word in decimal: 123456 in `price` is price 12345, digit_a 6. A slot is
// empty when `sold_status` ends in the digit 0.
#pragma once

#include "data/ondisk.h"

struct LabelEntry {
    little_uint32_t price;          // 0   price * 10 + digit_a
    little_uint32_t amount_b;       // 4   amount_b * 10 + digit_b
    little_uint32_t amount_status;  // 8   amount_c * 10 + status
    little_uint32_t customer;       // 12  flag_e * 1000000000 + code_m * 1000000 + customer
    little_uint32_t next_customer;  // 16  next label of the same customer, 0 for none
    little_uint16_t size;           // 20  size index * 100 + digit_s
    std::uint8_t branch;            // 22
    std::uint8_t extra;             // 23  status 2: destination branch + 1; status 1: reserved_for + 1
    little_uint16_t supplier;       // 24
    little_uint16_t date_in;        // 26  the day the label was made
    little_uint16_t date_moved;     // 28  last delivery or movement
    little_uint16_t date_third;     // 30  status 1: date_status; 3 and 4: date_sold; 2: zero
    little_uint32_t order;          // 32  group_value * 10000000 + order number
};
static_assert(sizeof(LabelEntry) == 36);
static_assert(offsetof(LabelEntry, amount_status) == 8 && offsetof(LabelEntry, customer) == 12);
static_assert(offsetof(LabelEntry, next_customer) == 16 && offsetof(LabelEntry, size) == 20);
static_assert(offsetof(LabelEntry, branch) == 22 && offsetof(LabelEntry, extra) == 23);
static_assert(offsetof(LabelEntry, supplier) == 24 && offsetof(LabelEntry, date_in) == 26);
static_assert(offsetof(LabelEntry, date_moved) == 28 && offsetof(LabelEntry, date_third) == 30);
static_assert(offsetof(LabelEntry, order) == 32);

inline constexpr int labels_per_block = 10;

struct LabelBlock {
    SeriesKey key;              // 0   owner, zero in a free block
    little_uint16_t size_kind;  // 8   size kind of the owner, low byte
    std::uint8_t zero_10[2];    // 10
    little_int32_t next;        // 12  -1 ends a series chain, the end mark the free chain
    LabelEntry slots[labels_per_block];
};
static_assert(sizeof(LabelBlock) == 376);
static_assert(offsetof(LabelBlock, size_kind) == 8 && offsetof(LabelBlock, next) == 12);
static_assert(offsetof(LabelBlock, slots) == 16);

/// Values of a label's status.
enum label_status : std::uint8_t {
    label_empty = 0,
    label_ordered = 1,    // NOTA: on an order note, not yet in stock
    label_stock = 2,      // VOORRAAD
    label_sold = 3,       // VERKOPEN
    label_corrected = 4,  // CORRECTIES
};
