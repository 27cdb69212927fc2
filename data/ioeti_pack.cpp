// Conversion of labels between their working form and the entries of a block.
#include <algorithm>
#include <cstdlib>
#include <limits>

#include "data/errors.h"
#include "data/ioeti.h"
#include "data/ioeti_internal.h"
#include "data/iotab.h"
#include "data/masterfile.h"
#include "data/sessionfiles.h"

namespace {

constexpr char module_name[] = "ioeti";
constexpr int lowest_code = 1;
constexpr int highest_code = 10;

/// The series that a value code was last looked up for.
struct {
    SeriesKey series{};
    int code = 0;
} last_value;

struct {
    std::uint32_t group = 0;
    int code = lowest_code;
} last_group;

bool code_valid(int code) {
    return code >= lowest_code && code <= highest_code;
}

bool pair_exists(const char *index, const char *data) {
    return file_exists(index) && file_exists(data);
}

/// The code byte of a group from RVART, which is opened just for this read when the session does not have it
/// open.
int read_value_code(std::uint32_t group) {
    ArticleGroupRecord record{};
    record.number = group;
    if (chk_files.rvart != nullptr) {
        const key_switch key(chk_files.rvart, 1);
        return IXREAD(chk_files.rvart, &record) ? record.vat : lowest_code;
    }
    if (!pair_exists("RVART.INX", "RVART.TXT")) {
        return lowest_code;
    }
    ICB *art = IXOPEN("RVART", ix_readonly);
    const bool found = IXREAD(art, &record);
    IXCLOSE(art);
    return found ? record.vat : lowest_code;
}

/// The value that row 1 gives the article group; 0 for a group without a valid code.
std::uint16_t group_value_of(const SeriesKey &series) {
    if (!(series == last_value.series) || !code_valid(last_value.code)) {
        last_value.series = series;
        last_value.code = art_value_code(series.group);
    }
    return code_valid(last_value.code) ? sys_settings.group_value[last_value.code].value() : std::uint16_t{0};
}

std::uint8_t byte_of(int value) {
    return static_cast<std::uint8_t>(std::min(value, int{std::numeric_limits<std::uint8_t>::max()}));
}

/// The byte that says where a label in stock is going, or for whom one on order is reserved.
int extra_of(const eti_rec &rec) {
    if (rec.status == label_ordered && rec.is_reserved != 0) {
        return byte_of(rec.reserved_for + 1);
    }
    if (rec.status != label_stock || rec.in_transit == 0) {
        return 0;
    }
    if (!eti_transit_in_use()) {
        if (eti_test_mode()) {
            err_internal(module_name, 5);
        }
        return 0;
    }
    return byte_of(rec.dest_branch + 1);
}

}  // namespace

int art_value_code(std::uint32_t group) {
    if (group == 0) {
        return lowest_code;
    }
    if (group != last_group.group) {
        last_group.code = read_value_code(group);
        last_group.group = group;
    }
    return last_group.code;
}

void eti_forget_values() {
    last_value = {};
    last_group = {};
}

void eti_unpack(const LabelBlock &block, int slot, eti_rec &rec) {
    const LabelParts parts = label_split(block.slots[slot]);
    rec = {};
    rec.group = block.key.group;
    rec.colour = block.key.colour;
    rec.number = block.key.number;
    rec.size_kind = static_cast<std::uint8_t>(block.size_kind & 0xFF);
    rec.status = byte_of(parts.status);
    rec.size = byte_of(parts.size);
    rec.branch = byte_of(parts.branch);
    rec.supplier = static_cast<std::uint16_t>(parts.supplier);
    rec.date_in = parts.date_in;
    rec.date_moved = parts.date_moved;
    rec.price = static_cast<std::int32_t>(parts.price);
    rec.amount_b = static_cast<std::int32_t>(parts.amount_b);
    rec.amount_c = static_cast<std::int32_t>(parts.amount_c);
    rec.flag_e = byte_of(parts.flag_e);
    rec.digit_b = byte_of(parts.digit_b);
    rec.digit_s = byte_of(parts.digit_s);
    rec.digit_a = byte_of(parts.digit_a);
    rec.customer = static_cast<std::int32_t>(parts.customer);
    rec.next_customer_label = static_cast<std::int32_t>(parts.next_customer);
    rec.code_m = static_cast<std::uint16_t>(parts.code_m);
    rec.order_number = static_cast<std::int32_t>(parts.order);
    rec.group_value = static_cast<std::uint16_t>(parts.group_value);
    switch (parts.status) {
        case label_ordered:
            rec.date_status = parts.date_third;
            if (parts.extra > 0) {
                rec.reserved_for = byte_of(parts.extra - 1);
                rec.is_reserved = 1;
            }
            rec.group_value = group_value_of(block.key);
            break;
        case label_stock:
            if (parts.extra > 0) {
                rec.dest_branch = byte_of(parts.extra - 1);
                rec.in_transit = 1;
            }
            rec.group_value = group_value_of(block.key);
            break;
        case label_sold:
        case label_corrected:
            rec.date_sold = parts.date_third;
            break;
        default:
            break;
    }
}

void eti_pack(eti_rec &rec, LabelBlock &block, int slot) {
    if (rec.status == label_ordered || rec.status == label_stock) {
        SeriesKey series{};
        series.group = rec.group;
        series.colour = rec.colour;
        series.number = rec.number;
        rec.group_value = group_value_of(series);
    }
    LabelParts parts;
    parts.status = rec.status;
    parts.size = rec.size;
    parts.branch = rec.branch;
    parts.extra = extra_of(rec);
    parts.supplier = rec.supplier;
    parts.date_in = rec.date_in;
    parts.date_moved = rec.date_moved;
    parts.price = static_cast<std::uint32_t>(rec.price);
    parts.amount_b = static_cast<std::uint32_t>(rec.amount_b);
    parts.amount_c = static_cast<std::uint32_t>(rec.amount_c);
    parts.digit_a = rec.digit_a;
    parts.digit_b = rec.digit_b;
    parts.digit_s = rec.digit_s;
    parts.flag_e = rec.flag_e;
    parts.code_m = rec.code_m;
    parts.customer = static_cast<std::uint32_t>(rec.customer);
    parts.next_customer = static_cast<std::uint32_t>(rec.next_customer_label);
    parts.group_value = rec.group_value;
    parts.order = static_cast<std::uint32_t>(rec.order_number);
    if (rec.status == label_ordered) {
        parts.date_third = rec.date_status;
    } else if (rec.status == label_sold || rec.status == label_corrected) {
        parts.date_third = rec.date_sold;
    }
    block.slots[slot] = label_join(parts);
    block.size_kind = rec.size_kind;
}
