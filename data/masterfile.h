// The reference files RVART, RVLEV, RVMERK, RVOMZGRP, RVVKP, RVARTREG and KASPARM.TXT, byte by byte.
#pragma once

#include "data/ondisk.h"

/// RVART. Key 1: number.
struct ArticleGroupRecord {
    little_uint32_t number;        // 0    1 to 99999
    std::uint8_t carried_4[2];     // 4
    char description[24];          // 6
    little_uint16_t turnover;      // 30   turnover group
    std::uint8_t carried_32;       // 32
    std::uint8_t vat;              // 33   VAT code, also the value code of the labels' group_value
    std::uint8_t carried_34[256];  // 34
    little_uint16_t session;       // 290
    little_uint16_t changed;       // 292  session number of the last change
    std::uint8_t carried_294[6];   // 294
    std::uint8_t label_kind;       // 300
    std::uint8_t option;           // 301  series may hold an option value
    std::uint8_t carried_302[2];   // 302
};
static_assert(sizeof(ArticleGroupRecord) == 304);
static_assert(offsetof(ArticleGroupRecord, description) == 6);
static_assert(offsetof(ArticleGroupRecord, turnover) == 30 && offsetof(ArticleGroupRecord, vat) == 33);
static_assert(offsetof(ArticleGroupRecord, session) == 290 && offsetof(ArticleGroupRecord, changed) == 292);
static_assert(offsetof(ArticleGroupRecord, label_kind) == 300 && offsetof(ArticleGroupRecord, option) == 301);

/// RVLEV. Key 1: number.
struct SupplierRecord {
    little_uint16_t number;        // 0    1 to 9999
    char name[30];                 // 2
    char street[30];               // 32
    char postcode[10];             // 62
    char town[24];                 // 72
    std::uint8_t carried_96[164];  // 96
    char currency[3];              // 260
    std::uint8_t carried_263;      // 263
    little_uint16_t session;       // 264
    std::uint8_t carried_266[2];   // 266
    little_uint32_t rate;          // 268  fixed rate, 0: use the rate of the day
    little_uint16_t rate_unit;     // 272
    std::uint8_t carried_274[2];   // 274
    little_uint32_t factor;        // 276  default calculation factor, 10000 is 1.0
    little_uint16_t changed;       // 280  session number of the last change
    std::uint8_t size_system;      // 282  number in list A, 0 for none
    std::uint8_t carried_283[49];  // 283
};
static_assert(sizeof(SupplierRecord) == 332);
static_assert(offsetof(SupplierRecord, currency) == 260 && offsetof(SupplierRecord, session) == 264);
static_assert(offsetof(SupplierRecord, rate) == 268 && offsetof(SupplierRecord, rate_unit) == 272);
static_assert(offsetof(SupplierRecord, factor) == 276 && offsetof(SupplierRecord, changed) == 280);
static_assert(offsetof(SupplierRecord, size_system) == 282);

/// RVMERK. Key 1: number.
struct BrandRecord {
    little_uint16_t number;       // 0    1 to 9999
    char name[30];                // 2
    std::uint8_t carried_32[33];  // 32
    std::uint8_t size_system;     // 65   number in list A, 0 for none
    std::uint8_t carried_66[6];   // 66
    little_uint16_t session;      // 72
    little_uint16_t changed;      // 74   session number of the last change
};
static_assert(sizeof(BrandRecord) == 76);
static_assert(offsetof(BrandRecord, size_system) == 65 && offsetof(BrandRecord, session) == 72);

/// RVOMZGRP. Key 1: number.
struct TurnoverGroupRecord {
    little_uint16_t number;      // 0    1 to 9999
    char description[15];        // 2
    std::uint8_t vat;            // 17   VAT code
    std::uint8_t carried_18[6];  // 18
};
static_assert(sizeof(TurnoverGroupRecord) == 24 && offsetof(TurnoverGroupRecord, vat) == 17);

/// RVVKP. Key 1: number.
struct StaffRecord {
    little_uint16_t number;       // 0    1 to 999
    std::uint8_t carried_2;       // 2
    char name[20];                // 3
    std::uint8_t carried_23[25];  // 23
};
static_assert(sizeof(StaffRecord) == 48 && offsetof(StaffRecord, name) == 3);

/// RVARTREG. Key 1: number, branch.
struct SmallArticleRecord {
    little_uint16_t number;       // 0    1 to 9999
    std::uint8_t branch;          // 2    0: the article itself, else branch + 1
    char description[15];         // 3
    little_uint16_t turnover;     // 18   turnover group
    little_uint32_t price;        // 20
    std::uint8_t carried_24[36];  // 24
};
static_assert(sizeof(SmallArticleRecord) == 60);
static_assert(offsetof(SmallArticleRecord, branch) == 2 && offsetof(SmallArticleRecord, turnover) == 18);

/// A saving action in KASPARM.TXT.
struct SavingAction {
    char description[30];         // 0
    std::uint8_t carried_30[58];  // 30
    little_uint16_t begin_date;   // 88
    little_uint16_t end_date;     // 90
    std::uint8_t carried_92[64];  // 92
    std::uint8_t in_use;          // 156
    std::uint8_t carried_157[3];  // 157
};
static_assert(sizeof(SavingAction) == 160 && offsetof(SavingAction, begin_date) == 88);
static_assert(offsetof(SavingAction, in_use) == 156);

/// KASPARM.TXT, settings of the tills. Action i, from 1 to 9, is actions[i - 1].
struct TillSettings {
    std::uint8_t carried_0[300];     // 0
    SavingAction actions[9];         // 300
    std::uint8_t carried_1740[596];  // 1740
};
static_assert(sizeof(TillSettings) == 2336 && offsetof(TillSettings, actions) == 300);
