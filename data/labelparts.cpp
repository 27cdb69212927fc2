#include "data/labelparts.h"

#include <limits>

namespace {

constexpr std::uint32_t digit = 10;
constexpr unsigned two_digits = 100;
constexpr std::uint32_t customer_unit = 1000000;                     // unit of code_m, above the customer
constexpr std::uint32_t flag_unit = 1000000000;                      // unit of flag_e, above code_m
constexpr std::uint32_t group_value_unit = label_highest_order + 1;  // unit of group_value, above order

std::uint32_t word(int value) {
    return static_cast<std::uint32_t>(value);
}

}  // namespace

LabelEntry label_join(const LabelParts &parts) {
    LabelEntry entry{};
    entry.price = parts.price * digit + word(parts.digit_a);
    entry.amount_b = parts.amount_b * digit + word(parts.digit_b);
    entry.amount_status = parts.amount_c * digit + word(parts.status);
    entry.customer = word(parts.flag_e) * flag_unit + word(parts.code_m) * customer_unit + parts.customer;
    entry.next_customer = parts.next_customer;
    entry.size = static_cast<std::uint16_t>(word(parts.size) * two_digits + word(parts.digit_s));
    entry.branch = static_cast<std::uint8_t>(parts.branch);
    entry.extra = static_cast<std::uint8_t>(parts.extra);
    entry.supplier = static_cast<std::uint16_t>(parts.supplier);
    entry.date_in = parts.date_in;
    entry.date_moved = parts.date_moved;
    entry.date_third = parts.date_third;
    const std::uint64_t order = std::uint64_t{word(parts.group_value)} * group_value_unit + parts.order;
    // A value too large for its places is dropped; it would spoil the order number.
    entry.order =
        order > std::numeric_limits<std::uint32_t>::max() ? parts.order : static_cast<std::uint32_t>(order);
    return entry;
}

LabelParts label_split(const LabelEntry &entry) {
    LabelParts parts;
    parts.price = entry.price / digit;
    parts.digit_a = static_cast<int>(entry.price % digit);
    parts.amount_b = entry.amount_b / digit;
    parts.digit_b = static_cast<int>(entry.amount_b % digit);
    parts.amount_c = entry.amount_status / digit;
    parts.status = static_cast<int>(entry.amount_status % digit);
    parts.flag_e = static_cast<int>(entry.customer / flag_unit);
    parts.code_m = static_cast<int>(entry.customer % flag_unit / customer_unit);
    parts.customer = entry.customer % customer_unit;
    parts.next_customer = entry.next_customer;
    parts.size = static_cast<int>(entry.size / two_digits);
    parts.digit_s = static_cast<int>(entry.size % two_digits);
    parts.branch = entry.branch;
    parts.extra = entry.extra;
    parts.supplier = entry.supplier;
    parts.date_in = entry.date_in;
    parts.date_moved = entry.date_moved;
    parts.date_third = entry.date_third;
    parts.group_value = static_cast<int>(entry.order / group_value_unit);
    parts.order = entry.order % group_value_unit;
    return parts;
}

std::int32_t label_highest_block(int digits) {
    return digits == 6 ? 99999 : digits == 8 ? 2999999 : 999999;
}
