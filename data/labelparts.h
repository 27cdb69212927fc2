// A label entry taken apart field by field, whatever the fields mean at its status.
#pragma once

#include "base/dates.h"
#include "data/labelfile.h"

inline constexpr std::uint32_t label_highest_order = 9999999;

/// The fields of a label entry. Fields that share a word each have their own decimal places in it.
struct LabelParts {
    int status = label_empty;  ///< 0 to 9
    int size = 0;              ///< size index
    int branch = 0;
    int extra = 0;  ///< LabelEntry::extra
    int supplier = 0;
    day_number date_in = 0;
    day_number date_moved = 0;
    day_number date_third = 0;  ///< LabelEntry::date_third
    std::uint32_t price = 0;    ///< 0 to 429496729, as are the two amounts
    std::uint32_t amount_b = 0;
    std::uint32_t amount_c = 0;
    int digit_a = 0;             ///< 0 to 9
    int digit_b = 0;             ///< 0 to 9
    int digit_s = 0;             ///< 0 to 99
    int flag_e = 0;              ///< 0 to 4
    int code_m = 0;              ///< 0 to 999
    std::uint32_t customer = 0;  ///< 0 to 999999
    std::uint32_t next_customer = 0;
    int group_value = 0;      ///< 0 to 429
    std::uint32_t order = 0;  ///< 0 to label_highest_order
};

LabelEntry label_join(const LabelParts &parts);
LabelParts label_split(const LabelEntry &entry);

/// True for a slot without a label.
inline bool label_is_empty(const LabelEntry &entry) {
    return entry.amount_status % 10 == label_empty;
}

/// The highest label block that numbers of 6, 7 or 8 digits allow; any other count allows 7.
std::int32_t label_highest_block(int digits);
