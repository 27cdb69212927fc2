// The passes of the price check.
#include <algorithm>
#include <cstring>
#include <set>

#include "check/frame/frame.h"
#include "check/prices/prices.h"

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

bool read_block(std::int32_t number, PriceBlock &block) {
    return chk_ipg_raw(raw_action::read, number, block) != 0;
}

bool is_empty(const PriceBlock &block) {
    return block.key == SeriesKey{};
}

// ---- Preferred suppliers

/// The number of suppliers of a series' sets, counted as changes along the key, and the last set.
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

/// Writes the supplier to the series as it is now; another user may have changed the series since the walk.
void prefer(const SeriesKey &series, std::uint16_t supplier) {
    SeriesRecord record{};
    record.key = series;
    const key_switch key(chk_files.rvser, 1);
    const std::int32_t place = chk_files.rvser->recno;
    if (IXREADLOCK(chk_files.rvser, &record) && record.supplier == 0) {
        record.supplier = supplier;
        IXWRITE(chk_files.rvser, &record);
    } else {
        record.key = series;
        IXFREE(chk_files.rvser, &record);
    }
    chk_files.rvser->recno = place;
}

// ---- Chains of sets

/// Follows the chain of a set; 0 when it is sound, and `sizes` are those of its blocks. `visit` gives false
/// for a block seen before.
template <class Visit>
std::uint8_t test_chain(const PriceSetRecord &set, PriceError &error, SizeBitmap &sizes, Visit visit) {
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
        if (!visit(error.block)) {
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
    std::int32_t added = 0;
    error.code = test_chain(set, error, sizes, [&](std::int32_t block) {
        // Past the known blocks only a circle has more blocks than there are sizes.
        return block < price_work.end ? chk_bit_set(block) : added++ <= static_cast<int>(size_highest);
    });
    if (error.code != 0) {
        price_errors.add(error);
    } else if (!(sizes == set.sizes)) {
        price_errors.add(error_of(set, price_wrong_sizes));
    }
}

/// Deletes the set that the walk is at, if it still has no end date.
void delete_here(const PriceSetRecord &set) {
    const price_lock row;
    const std::int32_t place = price_work.sets->recno;
    PriceSetRecord here{};
    if (IXGET(price_work.sets, &here, place) == 1 && here.key == set.key && here.end_date == 0) {
        IXDELETE(price_work.sets, &here);
    }
    price_work.sets->recno = place;
}

// ---- The free chain

/// Makes the free chain end after `previous`.
void cut_free_chain(SysRow4Chain &chain, std::int32_t previous) {
    PriceBlock block{};
    if (previous != price_no_block && read_block(previous, block)) {
        block.next = chain.end_mark;
        chk_ipg_raw(raw_action::write, previous, block);
    } else {
        chain.free_head = chain.end_mark;
    }
}

void walk_free_chain(SysRow4Chain &chain) {
    const std::int32_t end = chain.end_mark;
    std::int32_t previous = price_no_block;
    std::int32_t number = chain.free_head;
    std::uint32_t steps = 0;
    while (number >= 0 && number < end) {
        PriceBlock block{};
        if (!read_block(number, block)) {
            chain.free_head = end;
            return;
        }
        // A block that a set had when the walk met it may have been freed since.
        const bool freed_since = price_work.moved && steps < static_cast<std::uint32_t>(end);
        if (!is_empty(block) || (!chk_bit_set(number) && !freed_since)) {
            break;
        }
        previous = number;
        number = block.next;
        chk_progress(++steps, static_cast<std::uint32_t>(end), chk_bar::step);
    }
    if (number != end) {
        cut_free_chain(chain, previous);
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

/// A block that no walk has met may be on a chain that another program made or changed after the walk.
bool taken_since(std::int32_t number, const PriceBlock &block) {
    const price_lock row;
    return prices_series_exists(block.key) && price_block_held(block, number);
}

void report_lost(std::int32_t number, const PriceBlock &block) {
    PriceError error{};
    error.key = block.key;
    error.supplier = block.supplier;
    error.end_date = block.end_date;
    error.block = number;
    error.previous = price_no_block;
    error.code = !prices_series_exists(block.key) ? price_lost_no_series
                 : !set_exists(block)             ? price_lost_no_set
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
    return !op_interrupted();
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
            present = prices_series_exists(series);
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
    return !op_interrupted();
}

bool prices_series_exists(const SeriesKey &series) {
    SeriesRecord record{};
    record.key = series;
    const key_switch key(chk_files.rvser, 1);
    return IXFIND(chk_files.rvser, &record);
}

price_lock::price_lock() {
    iotab_row(tab_action::lock_read, row_price_chain, chain);
    price_work.moved = price_work.moved || std::memcmp(&chain, &price_work.chain, sizeof chain) != 0;
}

price_lock::~price_lock() {
    iotab_row(tab_action::unlock, row_price_chain, chain);
}

void price_lock::write() {
    iotab_row(tab_action::write_keep, row_price_chain, chain);
    price_work.chain = chain;
}

PriceError price_fault(const PriceSetRecord &set) {
    PriceError error = error_of(set, 0);
    SizeBitmap sizes{};
    std::set<std::int32_t> walked;
    error.code =
        test_chain(set, error, sizes, [&](std::int32_t block) { return walked.insert(block).second; });
    if (error.code == 0 && !(sizes == set.sizes)) {
        error = error_of(set, price_wrong_sizes);
    }
    return error;
}

bool price_block_held(const PriceBlock &block, std::int32_t number) {
    PriceSetRecord set{};
    set.key = block.key;
    set.supplier = block.supplier;
    set.end_date = block.end_date;
    if (!IXREAD(price_work.sets, &set)) {
        return false;
    }
    PriceError error = error_of(set, 0);
    SizeBitmap sizes{};
    std::set<std::int32_t> walked;
    test_chain(set, error, sizes, [&](std::int32_t on_chain) { return walked.insert(on_chain).second; });
    return walked.contains(number);
}

// The end mark becomes that of the file. One that another program has changed is not moved back; one that is
// unchanged may be damaged.
void prices_walk_free() {
    const leave_guard undisturbed;
    price_lock row;
    SysRow4Chain &chain = row.chain;
    const std::int32_t end = price_blocks_in_file();
    chain.end_mark =
        chain.end_mark == price_work.chain.end_mark ? end : std::max(end, chain.end_mark.value());
    chk_bits_grow(static_cast<std::size_t>(chain.end_mark) / 8 + 1);
    if (chain.free_head > chain.end_mark) {
        chain.free_head = chain.end_mark;
    } else {
        chk_phase(detail_text(13, 3, "FASE-2: controleren vrijketting"),
                  static_cast<std::uint32_t>(chain.end_mark));
        walk_free_chain(chain);
        chk_progress(0, 0, chk_bar::close);
    }
    row.write();
}

void prices_walk_rest() {
    const std::int32_t end = price_work.end;
    const auto total = static_cast<std::uint32_t>(end > 0 ? end - 1 : 0);
    chk_phase(detail_text(13, 4, "FASE-3: controleren prijzen niet in ketting"), total);
    for (std::int32_t number = 0; number < end; number++) {
        PriceBlock block{};
        if (!chk_bit_test(number)) {
            const bool used = read_block(number, block) && !is_empty(block);
            if (used && taken_since(number, block)) {
                chk_bit_set(number);
            } else {
                price_work.lost++;
                if (used) {
                    report_lost(number, block);
                }
            }
        }
        chk_progress(static_cast<std::uint32_t>(number), total, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
}
