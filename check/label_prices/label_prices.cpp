// The prices of the labels. Every label must find a purchase price for its size, in the set of its supplier
// that is valid on the day the label was made. One that finds none gets the purchase price that its own price
// amounts to:
//
//   1  in the set, when only its size is missing there, at the rate of a label that came with it
//   2  in a set of that one day, when there is no set, at the rate of its supplier or its day
//
// What was missing is reported, without a question: the labels show what prices there were.
#include "check/label_prices/label_prices.h"

#include <algorithm>
#include <cstring>

#include "check/frame/error_list.h"
#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "check/frame/series_hold.h"
#include "check/prices/prices.h"
#include "report/report.h"

namespace {

constexpr int line_margin = 2;
constexpr int sizes_a_line = 20;
constexpr int size_column = 27;

/// A set in which labels were given prices. Key 1: series, supplier, end date.
struct LabelPrice {
    SeriesKey key;             // 0
    little_uint16_t supplier;  // 8
    little_uint16_t end_date;  // 10
    SizeBitmap sizes;          // 12  sizes that got a price
    std::uint8_t size_kind;    // 24
    std::uint8_t unused_25[3];
};
static_assert(sizeof(LabelPrice) == 28);
static_assert(offsetof(LabelPrice, sizes) == 12 && offsetof(LabelPrice, size_kind) == 24);

error_list<LabelPrice> label_prices(
    "epchk", {{"prijs", false, {{'I', 0, 4}, {'I', 4, 2}, {'I', 6, 2}, {'I', 8, 2}, {'I', 10, 2}}}});

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

/// A set without prices for the day of the label.
PriceSetRecord set_of_day(const SeriesRecord &series, const eti_rec &label) {
    const SupplierRecord &supplier = label_supplier(label.supplier);
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

void note(const PriceSetRecord &set, unsigned size) {
    LabelPrice wanted{};
    wanted.key = set.key;
    wanted.supplier = set.supplier;
    wanted.end_date = set.end_date;
    LabelPrice record = wanted;
    if (!IXREAD(label_prices.icb(), &record)) {
        record = wanted;
        record.size_kind = set.size_kind;
    }
    record.sizes.set(size);
    label_prices.add(record);
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
/// and so does a price that it gave the size.
void store_price(const eti_rec &label, bool has_set, PriceSetRecord set, std::int32_t price) {
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

void give_price(const SeriesRecord &series, const label_place &label, bool has_set, PriceSetRecord set) {
    if (!has_set) {
        set = set_of_day(series, label.rec);
    }
    if (set.size_kind == 0) {
        set.size_kind = series.size_kind;
    }
    note(set, label.rec.size);
    // A price for a size that is not in the kind can't be stored; the size check reports such labels.
    if (!in_kind(label.rec.size)) {
        return;
    }
    std::int32_t price = 0;
    eti_rec other;
    if (has_set) {
        ink_set_load(set);
        const bool companion = companion_find(series, label, set, other);
        price = companion ? label_price_by_other(label.rec, other, ink_working.net_of(other.size), set)
                          : label_price_by_day(label.rec, set);
    } else {
        ink_clear();
        price = label_price_by_day(label.rec, set);
    }
    store_price(label.rec, has_set, set, price);
}

/// Gives a label without a price of its own the lowest one. The series is held meanwhile: a till may have
/// sold the label.
void give_lowest_price(const SeriesRecord &series, label_place &label) {
    const series_hold hold(series.key);
    const std::int32_t number = label.number;
    if (eti_file(eti_action::read, label.number, label.rec) != 0 && label.rec.price < 1 &&
        owner_of(label.rec) == series.key) {
        label.rec.price = 1;
        eti_file(eti_action::write, label.number, label.rec);
    }
    label.number = number;
}

void walk_labels(const SeriesRecord &series) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind);
    companion_begin();
    held_set held;
    label_place label{series.first_block, {}};
    for (int found = eti_file(eti_action::first, label.number, label.rec); found != 0;
         found = eti_file(eti_action::next, label.number, label.rec)) {
        if (label.rec.price < 1) {
            give_lowest_price(series, label);
        }
        const bool has_set = find_set(series, label.rec, held);
        held.valid = has_set && held.set.sizes.test(label.rec.size);
        if (!held.valid) {
            give_price(series, label, has_set, held.set);
        }
    }
}

void open_files() {
    size_view_forget();  // a size that is new in its kind must keep its price
    eti_file(eti_action::open);
    ink_open(ink_mode::write);
    label_prices.open();
    label_rates_open();
}

bool walk() {
    const off_t total = chk_txt_size("RVSER") / static_cast<off_t>(sizeof(SeriesRecord));
    chk_phase(detail_text(13, 41, "series verwerkt"), static_cast<std::uint32_t>(std::max<off_t>(total, 0)));
    std::uint32_t done = 0;
    SeriesRecord series{};
    ICB *const file = chk_files.rvser;
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        walk_labels(series);
        chk_progress(++done, static_cast<std::uint32_t>(total), chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !op_interrupted();
}

void print_heads(bool first_page) {
    if (first_page) {
        prt_printf("%s", detail_text(13, 42,
                                     "Bij de volgende series zijn ontbrekende etiketprijzen. "
                                     "Deze worden indien mogelijk opnieuw gegenereerd."));
        prt_newline();
        chk_note_prices();
        chk_dashes();
    }
    prt_printf("%-14.14s %4.4s %6.6s %s", detail_text(6, 918, "serienr"), detail_text(13, 31, "lvnr"),
               detail_text(13, 32, "dat.tm"), detail_text(13, 43, "maten"));
    prt_newline();
}

void print_sizes(const LabelPrice &price) {
    size_view(session_sizes, sys_settings.size_system, price.size_kind);
    int in_line = 0;
    size_cursor cursor{};
    while (mtread(session_sizes, mt_action::next, cursor, mt_key::sequence) != 0) {
        if (!price.sizes.test(cursor.index)) {
            continue;
        }
        if (in_line == sizes_a_line) {
            prt_newline();
            chk_room(line_margin);
            prt_fill(size_column, ' ');
            in_line = 0;
        }
        prt_printf("%-3.3s ", std::string(cursor.code, sizeof cursor.code).c_str());
        in_line++;
    }
}

void print_price(const LabelPrice &price) {
    chk_room(line_margin);
    prt_printf("%-14.14s ", ser_text(price.key).c_str());
    prt_printf("%4u ", unsigned{price.supplier});
    prt_printf("%6.6s ", price.end_date == price_open_ended ? "" : date_plain(price.end_date));
    print_sizes(price);
    prt_newline();
}

void close_files() {
    companion_end();
    label_prices.close();
    ink_close();
    eti_file(eti_action::close);
}

}  // namespace

void chk_label_prices() {
    chk_course course{.status = [] { return detail_text(13, 40, "controleren etiketprijzen"); },
                      .title = [] { return detail_text(13, 40, "controleren etiketprijzen"); },
                      .flag = nullptr,
                      .date = &SysRow19::prices};
    course.refusal = {.ends = true, .keeps_flag = false, .keeps_date = false};
    course.open = open_files;
    course.walk = walk;
    course.has_errors = [] { return !label_prices.empty(); };
    course.heads = print_heads;
    course.report = [] { label_prices.for_each(print_price); };
    course.close = close_files;
    chk_perform(course);
}
