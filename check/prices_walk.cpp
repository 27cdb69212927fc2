// The passes of the price check.
#include "check/frame.h"
#include "check/prices.h"
#include "screen/screen.h"

namespace {

constexpr int series_parts = 3;

PriceError error_of(const PriceSetRecord &set, std::uint8_t code) {
    PriceError error{};
    error.key = set.key;
    error.supplier = set.supplier;
    error.end_date = set.end_date;
    error.block = price_no_block;
    error.previous = price_no_block;
    error.code = code;
    return error;
}

bool series_exists(const SeriesKey &series) {
    SeriesRecord record{};
    record.key = series;
    const key_switch key(chk_files.rvser, 1);
    return IXFIND(chk_files.rvser, &record);
}

bool read_block(std::int32_t number, PriceBlock &block) {
    return chk_ipg_raw(raw_action::read, number, block) != 0;
}

bool is_empty(const PriceBlock &block) {
    return block.key == SeriesKey{};
}

// ---- Preferred suppliers

/// Suppliers of a series' sets, as a count of changes along its key, and the last set.
int count_suppliers(const SeriesKey &series, PriceSetRecord &last) {
    int changes = 0;
    std::uint16_t supplier = 0;
    PriceSetRecord set{};
    set.key = series;
    for (bool found = ink_read(ink_action::first, set, series_parts); found;
         found = ink_read(ink_action::next, set, series_parts)) {
        if (set.supplier != supplier) {
            supplier = set.supplier;
            changes++;
        }
        last = set;
    }
    return changes;
}

/// Writes the supplier in the series as it stands now; another user may have been at it since the walk.
void prefer(const SeriesKey &series, std::uint16_t supplier) {
    SeriesRecord record{};
    record.key = series;
    const key_switch key(chk_files.rvser, 1);
    const std::int32_t place = chk_files.rvser->recno;
    if (IXREADLOCK(chk_files.rvser, &record) && record.supplier == 0) {
        record.supplier = supplier;
        IXWRITE(chk_files.rvser, &record);
    } else {
        IXFREE(chk_files.rvser, &record);
    }
    chk_files.rvser->recno = place;
}

// ---- Chains of sets

/// Follows the chain of a set; 0 when it is sound, and `sizes` are those of its blocks.
std::uint8_t test_chain(const PriceSetRecord &set, PriceError &error, SizeBitmap &sizes) {
    error.block = set.chain;
    if (set.chain == price_no_block) {
        return price_outside;
    }
    while (error.block != price_no_block) {
        PriceBlock block{};
        if (!read_block(error.block, block)) {
            return price_outside;
        }
        if (!ink_owns(set, block)) {
            return is_empty(block) ? price_in_free_chain : price_other_set;
        }
        if (!chk_bit_set(error.block)) {
            return price_seen_before;
        }
        sizes.add(block.sizes);
        error.previous = error.block;
        error.block = block.next;
    }
    return 0;
}

void check_chain(const PriceSetRecord &set) {
    PriceError error = error_of(set, 0);
    SizeBitmap sizes{};
    error.code = test_chain(set, error, sizes);
    if (error.code != 0) {
        price_errors.add(error);
    } else if (!(sizes == set.sizes)) {
        price_errors.add(error_of(set, price_wrong_sizes));
    }
}

/// Deletes the set that the walk is at.
void delete_here(const PriceSetRecord &set) {
    const std::int32_t place = price_work.sets->recno;
    IXDELETE(price_work.sets, &set);
    price_work.sets->recno = place;
}

// ---- The free chain

/// Makes the free chain end behind `previous`.
void cut_free_chain(std::int32_t previous) {
    PriceBlock block{};
    if (previous != price_no_block && read_block(previous, block)) {
        block.next = price_work.chain.end_mark;
        chk_ipg_raw(raw_action::write, previous, block);
    } else {
        price_work.chain.free_head = price_work.chain.end_mark;
    }
}

void walk_free_chain() {
    const std::int32_t end = price_work.chain.end_mark;
    std::int32_t previous = price_no_block;
    std::int32_t number = price_work.chain.free_head;
    std::uint32_t steps = 0;
    while (number >= 0 && number < end) {
        PriceBlock block{};
        if (!read_block(number, block)) {
            price_work.chain.free_head = end;
            return;
        }
        if (!is_empty(block) || !chk_bit_set(number)) {
            break;
        }
        previous = number;
        number = block.next;
        chk_progress(++steps, static_cast<std::uint32_t>(end), chk_bar::step);
    }
    if (number != end) {
        cut_free_chain(previous);
    }
}

// ---- Blocks on no chain

bool set_exists(const PriceBlock &block) {
    PriceSetRecord set{};
    set.key = block.key;
    set.supplier = block.supplier;
    set.end_date = block.end_date;
    return IXFIND(price_work.sets, &set);
}

void report_lost(std::int32_t number, const PriceBlock &block) {
    PriceError error{};
    error.key = block.key;
    error.supplier = block.supplier;
    error.end_date = block.end_date;
    error.block = number;
    error.previous = price_no_block;
    error.code = !series_exists(block.key) ? price_lost_no_series
                 : !set_exists(block)      ? price_lost_no_set
                                           : price_lost;
    price_errors.add(error);
}

}  // namespace

bool prices_walk_series() {
    ink_open(ink_mode::read);
    SeriesRecord series{};
    ICB *const file = chk_files.rvser;
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        if (series.supplier != 0) {
            continue;
        }
        PriceSetRecord last{};
        if (count_suppliers(series.key, last) > 1) {
            price_errors.add(error_of(last, price_no_main_supplier));
        } else if (last.supplier != 0) {
            prefer(series.key, last.supplier);
        }
    }
    ink_close();
    return !ing_interrupted();
}

bool prices_walk_sets() {
    const auto total = static_cast<std::uint32_t>(price_work.sets->nrecs);
    PriceSetRecord set{};
    SeriesKey series{};
    bool present = false;
    std::uint32_t done = 0;
    for (bool more = chk_scan_first(price_work.sets, &set); more; more = IXSEQ(price_work.sets, &set)) {
        if (done == 0 || !(set.key == series)) {
            series = set.key;
            present = series_exists(series);
        }
        if (!present) {
            price_errors.add(error_of(set, price_set_no_series));
        } else if (set.end_date == 0) {
            delete_here(set);
        } else {
            check_chain(set);
        }
        chk_progress(++done, total, chk_bar::step);
    }
    return !ing_interrupted();
}

void prices_walk_free() {
    const leave_guard undisturbed;
    SysRow4Chain &chain = price_work.chain;
    if (chain.free_head > chain.end_mark) {
        chain.free_head = chain.end_mark;
    } else {
        chk_phase(detail_text(13, 3, "FASE-2: controleren vrijketting"),
                  static_cast<std::uint32_t>(chain.end_mark));
        walk_free_chain();
        chk_progress(0, 0, chk_bar::close);
    }
    iotab_row(tab_action::write, row_price_chain, chain);
}

void prices_walk_rest() {
    const std::int32_t end = price_work.chain.end_mark;
    const auto total = static_cast<std::uint32_t>(end > 0 ? end - 1 : 0);
    chk_phase(detail_text(13, 4, "FASE-3: controleren prijzen niet in ketting"), total);
    for (std::int32_t number = 0; number < end; number++) {
        PriceBlock block{};
        if (!chk_bit_test(number)) {
            price_work.lost++;
            if (read_block(number, block) && !is_empty(block)) {
                report_lost(number, block);
            }
        }
        chk_progress(static_cast<std::uint32_t>(number), total, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
}
