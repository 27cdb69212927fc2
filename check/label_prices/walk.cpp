// The labels of a series, and the prices that they are given.
#include <algorithm>
#include <cstring>

#include "check/frame/record_place.h"
#include "check/frame/series_hold.h"
#include "check/label_prices/label_prices.h"
#include "check/prices/prices.h"

namespace {

/// The set of the previous label, as long as it is still as it was read.
struct held_set {
    bool valid = false;
    PriceSetRecord set{};
};

bool fits(const PriceSetRecord &set, const eti_rec &label) {
    return set.key.group == label.group && set.key.colour == label.colour && set.key.number == label.number &&
           set.supplier == label.supplier && set.begin_date <= label.date_in && label.date_in <= set.end_date;
}

bool find_set(const SeriesRecord &series, const eti_rec &label, held_set &held) {
    return (held.valid && fits(held.set, label)) ||
           ink_read_valid(series.key, label.supplier, label.date_in, held.set);
}

/// In a damaged kind two sizes may have one sequence number; only one of them is found by it.
bool in_kind(unsigned size) {
    size_cursor cursor{};
    cursor.index = static_cast<std::uint8_t>(size);
    return size != 0 && mtread(session_sizes, mt_action::read, cursor, mt_key::index) != 0 &&
           session_sizes->by_sequence[cursor.sequence].link == size;
}

SeriesKey owner_of(const eti_rec &label) {
    return {label.group, label.colour, label.number};
}

/// Stores the price. Row 9 is locked first: what another program has done to the set since it was read stays,
/// and so does a price that it gave the size; if it died at it, that is finished before. Storing the set
/// releases the row.
void store_price(const eti_rec &label, bool has_set, PriceSetRecord set, std::int32_t price) {
    finish_left_put();
    SysRow4Chain row{};
    PriceSetRecord now{};
    iotab_row(tab_action::lock_read, row_price_chain, row);
    const bool valid_now = ink_read_valid(owner_of(label), label.supplier, label.date_in, now);
    if (valid_now && now.sizes.test(label.size)) {
        iotab_row(tab_action::unlock, row_price_chain, row);
        return;
    }
    if (valid_now && (!has_set || std::memcmp(&now, &set, sizeof now) != 0)) {
        const std::uint8_t kind = set.size_kind;
        set = now;
        set.size_kind = set.size_kind == 0 ? kind : set.size_kind;
        ink_set_load(set);
    }
    ink_working.set(label.size, price, price);
    ink_set_put(set, true);
}

/// Gives a label without a price of its own the lowest one. The series is held meanwhile: a till may have
/// sold the label, or the label may have gone; then it is false.
bool give_lowest_price(const SeriesRecord &series, label_place &label) {
    const series_hold hold(series.key);
    const std::int32_t number = label.number;
    const SeriesKey owner = owner_of(label.rec);
    const bool there =
        eti_file(eti_action::read, label.number, label.rec) != 0 && owner_of(label.rec) == owner;
    if (there && label.rec.price < 1 && owner == series.key) {
        label.rec.price = 1;
        eti_file(eti_action::write, label.number, label.rec);
    }
    label.number = number;
    return there;
}

}  // namespace

void finish_left_put() {
    PriceSetRecord set;
    if (ink_noted(set)) {
        const record_place place(chk_files.rvser);
        ink_finish_put(price_series_exists(set.key));
    }
}

PriceSetRecord label_price_check::set_of_day(const SeriesRecord &series, const eti_rec &label) {
    const SupplierRecord &supplier = rates.supplier_of(label.supplier);
    PriceSetRecord set{};
    set.key = series.key;
    set.supplier = label.supplier;
    set.begin_date = label.date_in;
    set.end_date = label.date_in;
    set.factor = supplier.factor;
    set.size_kind = series.size_kind;
    std::copy_n(supplier.currency, sizeof set.currency, set.currency);
    set.chain = price_no_block;
    return set;
}

void label_price_check::note(const PriceSetRecord &set, const label_place &label) {
    LabelPrice wanted{};
    wanted.key = set.key;
    wanted.supplier = set.supplier;
    wanted.end_date = set.end_date;
    LabelPrice record = wanted;
    if (!IXREAD(prices.icb(), &record)) {
        record = wanted;
        record.size_kind = set.size_kind;
    }
    // A size outside its kind is noted again for each of its labels.
    if (chk_is_heard() && !record.sizes.test(label.rec.size)) {
        chk_found(label_price_findings().front(), "RVIPA",
                  {field_of(set.key), field_of("supplier", set.supplier), field_of("end_date", set.end_date),
                   field_of("size_kind", record.size_kind), field_of("size", label.rec.size),
                   field_of("label", label.number)});
    }
    record.sizes.set(label.rec.size);
    prices.add(record);
}

void label_price_check::give_price(const SeriesRecord &series, const label_place &label, bool has_set,
                                   PriceSetRecord set) {
    if (!has_set) {
        set = set_of_day(series, label.rec);
    }
    if (set.size_kind == 0) {
        set.size_kind = series.size_kind;
    }
    note(set, label);
    // A price for a size that is not in the kind can't be stored; the size check reports such labels.
    if (!in_kind(label.rec.size)) {
        return;
    }
    std::int32_t price = 0;
    eti_rec other;
    if (has_set) {
        ink_set_load(set);
        const bool companion = companions.find(series, label, set, other);
        price = companion ? rates.price_by_other(label.rec, other, ink_working.net_of(other.size), set)
                          : rates.price_by_day(label.rec, set);
    } else {
        ink_clear();
        price = rates.price_by_day(label.rec, set);
    }
    store_price(label.rec, has_set, set, price);
}

void label_price_check::walk_labels(const SeriesRecord &series) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind);
    companions.begin();
    held_set held;
    label_place label{series.first_block, {}};
    for (int found = eti_file(eti_action::first, label.number, label.rec); found != 0;
         found = eti_file(eti_action::next, label.number, label.rec)) {
        if (label.rec.price < 1 && !give_lowest_price(series, label)) {
            continue;
        }
        const bool has_set = find_set(series, label.rec, held);
        held.valid = has_set && held.set.sizes.test(label.rec.size);
        if (!held.valid) {
            give_price(series, label, has_set, held.set);
        }
    }
}
