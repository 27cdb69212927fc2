// The branch file RVFILGEG.TXT, byte by byte.
//
// Plain records of 612 bytes. Record 0 is the head office, whose branch number is the number of branches;
// record b + 1 is branch b (branches count from 0).
#pragma once

#include "data/ondisk.h"

struct BranchRecord {
    char name[32];  // 0    branch name, stored by SCRAMBLE; zeros in the record of the head office
    std::uint8_t carried_32[276];
    std::uint8_t till_count;  // 308  2 or more: the branch has tills
    std::uint8_t tills[13];   // 309  bit map of till numbers 1 to 99
    std::uint8_t carried_322[65];
    std::uint8_t till_option;  // 387  used by the EAN code check
    std::uint8_t carried_388[211];
    std::uint8_t user_number;  // 599  number of the branch as the users know it
    std::uint8_t carried_600[12];
};
static_assert(sizeof(BranchRecord) == 612);
static_assert(offsetof(BranchRecord, till_count) == 308 && offsetof(BranchRecord, tills) == 309);
static_assert(offsetof(BranchRecord, till_option) == 387 && offsetof(BranchRecord, user_number) == 599);
