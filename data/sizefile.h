// The size files RVMAAT and RVMTOM, byte by byte.
//
// A size kind (maatsoort) is a list of at most 95 sizes. RVMAAT has a record for a size system and a kind,
// RVMTOM a description of a single size.
#pragma once

#include "data/ondisk.h"

struct SizeEntry {
    char code[3];
    std::uint8_t link;
};

/// Key 1: size system, size kind. In the shop's own size system entry i is size index i and its link the
/// sequence number, 0 for an index not in use. In other systems entry s is sequence number s and its link
/// the size index; link 0 ends the list.
struct SizeKindRecord {
    std::uint8_t system;          // 0
    std::uint8_t kind;            // 1
    SizeBitmap described;         // 2    sizes with a record in RVMTOM
    SizeEntry entries[96];        // 14   entry 0 is not used
    little_uint16_t session;      // 398
    little_uint16_t changed;      // 400  session number of the last change
    std::uint8_t carried_402[2];  // 402
};
static_assert(sizeof(SizeKindRecord) == 404);
static_assert(offsetof(SizeKindRecord, described) == 2 && offsetof(SizeKindRecord, entries) == 14);
static_assert(offsetof(SizeKindRecord, session) == 398 && offsetof(SizeKindRecord, changed) == 400);

/// Key 1: size system, size kind, size index.
struct SizeNameRecord {
    std::uint8_t system;  // 0
    std::uint8_t kind;    // 1
    std::uint8_t index;   // 2
    char text[7];         // 3
};
static_assert(sizeof(SizeNameRecord) == 10);
