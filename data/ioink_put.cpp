// Storing a price set.
//
//   1  the set that the new one replaces is deleted, with its chain; a note of the new one stands meanwhile
//   2  the neighbours, sets of the same series and supplier, make room in the new period
//   3  the working prices are cut into groups of neighbouring sizes with the same prices, a block each
//   4  the set is written
//
// The lock of row 9 is held from before the first step until after the last: in between no other user may
// change the free chain or the sets of this supplier.
#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>

#include "base/base.h"
#include "data/ioink_internal.h"
#include "data/iomaat.h"
#include "data/iotab.h"

namespace {

constexpr std::int32_t no_block = -1;

/// Sizes that follow each other in the order of the size kind and have the same prices.
struct price_group {
    SizeBitmap sizes{};
    std::int32_t gross = 0;
    std::int32_t net = 0;
};
struct price_groups {
    std::array<price_group, size_highest> groups{};
    std::size_t count = 0;
};

price_groups group_prices() {
    price_groups found;
    size_cursor cursor{};
    while (mtread(session_sizes, mt_action::next, cursor, mt_key::sequence) != 0) {
        const unsigned size = cursor.index;
        if (!ink_working.has(size)) {
            continue;
        }
        const std::int32_t gross = ink_working.gross_of(size);
        const std::int32_t net = ink_working.net_of(size);
        const price_group *open = found.count == 0 ? nullptr : &found.groups[found.count - 1];
        if (open == nullptr || open->gross != gross || open->net != net) {
            found.groups[found.count++] = {{}, gross, net};
        }
        found.groups[found.count - 1].sizes.set(size);
    }
    return found;
}

/// Writes a block for each group. The blocks become the set's chain, and their sizes the set's sizes.
void write_groups(PriceSetRecord &set, SysRow4Chain &row) {
    const price_groups found = group_prices();
    set.sizes = {};
    set.chain = found.count == 0 ? no_block : row.free_head.value();
    for (std::size_t i = 0; i < found.count; i++) {
        const price_group &group = found.groups[i];
        PriceBlock block{};
        block.key = set.key;
        block.supplier = set.supplier;
        block.end_date = set.end_date;
        block.sizes = group.sizes;
        std::memcpy(block.currency, set.currency, sizeof block.currency);
        block.size_kind = set.size_kind;
        block.gross = group.gross;
        block.net = group.net;
        const std::int32_t number = ink_block_alloc(row);
        block.next = i + 1 < found.count ? row.free_head.value() : no_block;
        ink_block_write(number, block);
        set.sizes.add(group.sizes);
    }
}

bool contains(const PriceSetRecord &period, const PriceSetRecord &other) {
    return other.begin_date >= period.begin_date && other.end_date <= period.end_date;
}

/// Deletes the set that the chain of `set` belongs to. True when the new period lies within the old one, so
/// that no neighbour is touched.
bool remove_replaced(PriceSetRecord &set, SysRow4Chain &row) {
    PriceSetRecord old = set;
    PriceBlock first{};
    // The period may have changed along with the prices. The blocks still have the end date of the old set.
    if (ink_block_read(set.chain, first, ink_report::warning) != 0 && first.key == set.key &&
        first.supplier == set.supplier) {
        old.end_date = first.end_date;
    }
    set.chain = no_block;
    if (!ink_read_exact(old)) {
        return false;
    }
    ink_remove_set(old);
    ink_free_chain(old, row);
    return contains(old, set);
}

/// Makes the set end before the new period. It is written with its new end date before the old record is
/// deleted, so that its blocks always belong to a set.
void end_before(const PriceSetRecord &other, std::uint16_t last_day) {
    PriceSetRecord shortened = other;
    shortened.end_date = last_day;
    ink_write_set(shortened);
    ink_chain_walk walk(other);
    while (walk.step()) {
        PriceBlock block = walk.block;
        block.end_date = last_day;
        ink_block_write(walk.number, block);
    }
    ink_remove_set(other);
}

/// Stores the part of `other` before the new period as a set with copies of its blocks.
void write_left_part(const PriceSetRecord &other, std::uint16_t last_day, SysRow4Chain &row) {
    PriceSetRecord left = other;
    left.end_date = last_day;
    left.sizes = {};
    left.chain = no_block;
    ink_chain_walk walk(other);
    bool more = walk.step();
    while (more) {
        PriceBlock copy = walk.block;
        more = walk.step();
        const std::int32_t number = ink_block_alloc(row);
        copy.end_date = last_day;
        copy.next = more ? row.free_head.value() : no_block;
        ink_block_write(number, copy);
        if (left.chain == no_block) {
            left.chain = number;
        }
        left.sizes.add(copy.sizes);
    }
    if (left.chain != no_block) {
        ink_write_set(left);
    }
}

void begin_after(PriceSetRecord other, std::uint16_t last_day) {
    other.begin_date = static_cast<std::uint16_t>(last_day + 1);
    ink_write_set(other);
}

/// Makes another set of the supplier make room for the period of `set`.
void clip(const PriceSetRecord &set, PriceSetRecord other, SysRow4Chain &row) {
    const std::uint16_t first_day = set.begin_date;
    const std::uint16_t last_day = set.end_date;
    const auto day_before = static_cast<std::uint16_t>(first_day - 1);
    if (contains(set, other)) {
        ink_remove_set(other);
        ink_free_chain(other, row);
    } else if (other.begin_date >= first_day && other.begin_date <= last_day) {
        begin_after(other, last_day);
    } else if (other.end_date >= first_day && other.end_date <= last_day) {
        end_before(other, day_before);
    } else if (other.begin_date <= first_day && other.end_date >= last_day) {
        write_left_part(other, day_before, row);
        begin_after(other, last_day);
    }
}

/// The suppliers of one series whose sets were found to be in order: none ends before it begins, and no two
/// overlap. Storing a set keeps them in order.
struct {
    SeriesKey series{};
    std::bitset<65536> suppliers;
} in_order;

bool sets_in_order(const PriceSetRecord &set) {
    if (!(in_order.series == set.key)) {
        ink_forget_order();
        in_order.series = set.key;
    }
    if (in_order.suppliers.test(set.supplier)) {
        return true;
    }
    PriceSetRecord other{};
    other.key = set.key;
    other.supplier = set.supplier;
    int last_day = -1;
    for (bool found = ink_next_period(other, true); found; found = ink_next_period(other, false)) {
        if (other.begin_date > other.end_date || other.begin_date <= last_day) {
            return false;
        }
        last_day = other.end_date;
    }
    in_order.suppliers.set(set.supplier);
    return true;
}

/// When the sets are in order, only those that can overlap the new period are visited.
void clip_neighbours(const PriceSetRecord &set, SysRow4Chain &row) {
    const bool upright = set.begin_date <= set.end_date;
    if (!upright) {
        ink_forget_order();
    }
    const bool few = upright && sets_in_order(set);
    PriceSetRecord other{};
    other.key = set.key;
    other.supplier = set.supplier;
    other.end_date = few ? set.begin_date : little_uint16_t{};
    // Sets written during the walk come at or before the current one in the key, so each set is visited once.
    for (bool found = ink_next_period(other, true); found && !(few && other.begin_date > set.end_date);
         found = ink_next_period(other, false)) {
        clip(set, other, row);
    }
}

/// Storing it releases row 9.
void store_noted(put_note &note) {
    const ink_prices prices = ink_working;
    const int kind = session_sizes == nullptr ? note.size_kind : session_sizes->kind;
    note.set.chain = no_block;
    ink_working = note.prices;
    size_view(session_sizes, sys_settings.size_system, note.size_kind);
    ink_set_put(note.set, true);
    ink_working = prices;
    size_view(session_sizes, sys_settings.size_system, kind);
}

}  // namespace

void ink_forget_order() {
    in_order.suppliers.reset();
    in_order.series = {};
}

void ink_set_put(PriceSetRecord &set, bool quiet) {
    ink_demand_write();
    const leave_guard undisturbed;
    set_program_status(status_in_chain_update);
    SysRow4Chain row{};
    iotab_row(tab_action::lock_read, row_price_chain, row);
    const bool replaces = set.chain != no_block;
    if (replaces) {
        ink_note_write(set);
    }
    if (!replaces || !remove_replaced(set, row)) {
        clip_neighbours(set, row);
    }
    write_groups(set, row);
    if (set.chain != no_block) {
        ink_write_set(set);
    }
    if (replaces) {
        ink_note_clear();
    }
    iotab_row(tab_action::write, row_price_chain, row);
    if (!quiet) {
        ink_reopen();
    }
    set_program_status(status_working);
}

void ink_finish_put(bool wanted) {
    ink_demand_write();
    const leave_guard undisturbed;
    SysRow4Chain row{};
    iotab_row(tab_action::lock_read, row_price_chain, row);  // so no put is under way
    put_note note;
    if (wanted && ink_note_read(note)) {
        PriceSetRecord other = note.set;
        other.end_date = note.set.begin_date;
        if (ink_next_period(other, true) && other.begin_date <= note.set.end_date) {
            note.set.end_date = static_cast<std::uint16_t>(std::max(other.begin_date - 1, 0));
        }
        if (note.set.begin_date <= note.set.end_date) {
            store_noted(note);
            iotab_row(tab_action::lock_read, row_price_chain, row);
        }
    }
    ink_note_clear();
    iotab_row(tab_action::unlock, row_price_chain, row);
}
