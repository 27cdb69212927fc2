// Order journals ORDnnnn.JRN and their order numbers RVORDNR, byte by byte.
//
// A journal is a stream of records without header or end mark, each a code byte and a payload whose length
// the code fixes. The journals of a season lie in its directory: four digits of the year and the season
// letter.
#pragma once

#include "data/ondisk.h"

/// Payload lengths by code: 'O' order, 'M' model, 'D' colour of the model, 'T' text, 'S' size, 'E' its EAN
/// code, 'B' its order number at the supplier, 'L' label, 'F' its branch.
inline constexpr int journal_order_bytes = 120;
inline constexpr int journal_model_bytes = 24;
inline constexpr int journal_detail_bytes = 128;
inline constexpr int journal_text_bytes = 61;
inline constexpr int journal_size_bytes = 12;
inline constexpr int journal_ean_bytes = 13;
inline constexpr int journal_supplier_bytes = 13;
inline constexpr int journal_label_bytes = 4;
inline constexpr int journal_branch_bytes = 8;

inline constexpr std::uint8_t order_status_numbered = 4;
inline constexpr std::uint8_t order_kind_own_text = 2;

/// 'O'
struct JournalOrder {
    little_uint16_t journal;       // 0
    std::uint8_t carried_2[2];     // 2
    little_uint16_t year;          // 4   of the season directory
    little_uint16_t date;          // 6   order date
    little_uint16_t supplier;      // 8
    std::uint8_t carried_10[13];   // 10
    char letter;                   // 23  of the season directory
    std::uint8_t carried_24[22];   // 24
    std::uint8_t status;           // 46  4: a numbered order
    std::uint8_t carried_47[12];   // 47
    std::uint8_t kind;             // 59  2: keeps its own text
    std::uint8_t carried_60[4];    // 60
    little_uint32_t number;        // 64  order number
    char text[35];                 // 68
    std::uint8_t carried_103[17];  // 103
};
static_assert(sizeof(JournalOrder) == journal_order_bytes);
static_assert(offsetof(JournalOrder, year) == 4 && offsetof(JournalOrder, date) == 6);
static_assert(offsetof(JournalOrder, letter) == 23 && offsetof(JournalOrder, status) == 46);
static_assert(offsetof(JournalOrder, kind) == 59 && offsetof(JournalOrder, number) == 64);
static_assert(offsetof(JournalOrder, text) == 68);

/// 'M'
struct JournalModel {
    char model[15];              // 0
    std::uint8_t carried_15[5];  // 15
    little_uint32_t group;       // 20
};
static_assert(sizeof(JournalModel) == journal_model_bytes && offsetof(JournalModel, group) == 20);

/// 'D'
struct JournalDetail {
    char description[20];         // 0
    std::uint8_t carried_20[24];  // 20
    little_uint16_t colour;       // 44
    little_uint16_t number;       // 46
    std::uint8_t carried_48[80];  // 48
};
static_assert(sizeof(JournalDetail) == journal_detail_bytes);
static_assert(offsetof(JournalDetail, colour) == 44 && offsetof(JournalDetail, number) == 46);

/// 'T'. Levels 1 and 2 belong to the 'O' before it, 3 to the 'M', 4 to the 'D'.
struct JournalText {
    std::uint8_t level;  // 0
    char text[60];       // 1
};
static_assert(sizeof(JournalText) == journal_text_bytes);

/// 'S'
struct JournalSize {
    std::uint8_t size;          // 0
    std::uint8_t carried_1;     // 1
    little_uint16_t pieces;     // 2
    little_uint32_t price;      // 4
    std::uint8_t carried_8[4];  // 8
};
static_assert(sizeof(JournalSize) == journal_size_bytes);

/// RVORDNR. Key 1: number.
struct OrderNumberRecord {
    little_uint32_t number;   // 0
    char text[35];            // 4
    std::uint8_t carried_39;  // 39
    little_uint16_t journal;  // 40
    little_uint16_t year;     // 42  of the directory
    char letter;              // 44
    std::uint8_t carried_45[3];
};
static_assert(sizeof(OrderNumberRecord) == 48);
static_assert(offsetof(OrderNumberRecord, text) == 4 && offsetof(OrderNumberRecord, journal) == 40);
static_assert(offsetof(OrderNumberRecord, letter) == 44);
