// The passes of the price check.
#include <algorithm>
#include <cstring>
#include <set>

#include "check/frame/record_place.h"
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
    const record_place place(chk_files.rvser);
    if (IXREADLOCK(chk_files.rvser, &record) && record.supplier == 0) {
        record.supplier = supplier;
        IXWRITE(chk_files.rvser, &record);
    } else {
        record.key = series;
        IXFREE(chk_files.rvser, &record);
    }
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
        if (!price_read_block(error.block, block)) {
            return price_outside;
        }
        if (!ink_owns(set, block)) {
            return price_block_empty(block) ? price_in_free_chain : price_other_set;
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

// ---- The free chain

/// Makes the free chain end after `previous`.
void cut_free_chain(SysRow4Chain &chain, std::int32_t previous) {
    PriceBlock block{};
    if (previous != price_no_block && price_read_block(previous, block)) {
        block.next = chain.end_mark;
        chk_ipg_raw(raw_action::write, previous, block);
    } else {
        chain.free_head = chain.end_mark;
    }
}

}  // namespace

bool price_read_block(std::int32_t number, PriceBlock &block) {
    return chk_ipg_raw(raw_action::read, number, block) != 0;
}

bool price_block_empty(const PriceBlock &block) {
    return block.key == SeriesKey{};
}

void price_check::list(const PriceError &error) {
    errors.add(error);
    if (!chk_is_heard()) {
        return;
    }
    std::vector<finding_field> fields = {field_of(error.key), field_of("supplier", error.supplier),
                                         field_of("end_date", error.end_date)};
    const bool of_block = error.code <= price_lost_no_series;
    if (of_block) {
        fields.push_back(field_of("block", error.block));
        fields.push_back(field_of("previous", error.previous));
    }
    const bool of_series = error.code == price_no_main_supplier;
    chk_found(price_finding(error.code),
              of_block    ? "RVIPG"
              : of_series ? "RVSER"
                          : "RVIPA",
              std::move(fields));
}

void price_check::check_chain(const PriceSetRecord &set) {
    PriceError error = error_of(set, 0);
    SizeBitmap sizes{};
    std::int32_t added = 0;
    error.code = test_chain(set, error, sizes, [&](std::int32_t block) {
        // Past the known blocks only a circle has more blocks than there are sizes.
        return block < end ? chk_bit_set(block) : added++ <= static_cast<int>(size_highest);
    });
    if (error.code != 0) {
        list(error);
    } else if (!(sizes == set.sizes)) {
        list(error_of(set, price_wrong_sizes));
    }
}

/// Deletes the set that the walk is at, if it still has no end date.
void price_check::delete_here(const PriceSetRecord &set) {
    const chain_row row(row_price_chain);
    see_row(row);
    const record_place place(sets);
    PriceSetRecord here{};
    if (IXGET(sets, &here, sets->recno) == 1 && here.key == set.key && here.end_date == 0) {
        IXDELETE(sets, &here);
    }
}

void price_check::walk_free_chain(SysRow4Chain &row) {
    const std::int32_t end_mark = row.end_mark;
    std::int32_t previous = price_no_block;
    std::int32_t number = row.free_head;
    std::uint32_t steps = 0;
    while (number >= 0 && number < end_mark) {
        PriceBlock block{};
        if (!price_read_block(number, block)) {
            row.free_head = end_mark;
            return;
        }
        // A block that a set had when the walk met it may have been freed since.
        const bool freed_since = moved && steps < static_cast<std::uint32_t>(end_mark);
        if (!price_block_empty(block) || (!chk_bit_set(number) && !freed_since)) {
            break;
        }
        previous = number;
        number = block.next;
        chk_progress(++steps, static_cast<std::uint32_t>(end_mark), chk_bar::step);
    }
    if (number != end_mark) {
        cut_free_chain(row, previous);
    }
}

/// A block that no walk has met may be on a chain that another program made or changed after the walk.
bool price_check::taken_since(std::int32_t number, const PriceBlock &block) {
    const chain_row row(row_price_chain);
    return price_series_exists(block.key) && held_by_set(block, number);
}

void price_check::list_lost(std::int32_t number, const PriceBlock &block) {
    PriceError error{};
    error.key = block.key;
    error.supplier = block.supplier;
    error.end_date = block.end_date;
    error.block = number;
    error.previous = price_no_block;
    PriceSetRecord set{};
    set.key = block.key;
    set.supplier = block.supplier;
    set.end_date = block.end_date;
    error.code = !price_series_exists(block.key) ? price_lost_no_series
                 : !IXFIND(sets, &set)           ? price_lost_no_set
                                                 : price_lost;
    list(error);
}

bool price_check::walk_series() {
    ink_open(ink_mode::read);
    PriceSetRecord noted;  // in no file as long as the note stands
    ink_noted(noted);
    SeriesRecord series{};
    ICB *const file = chk_files.rvser;
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        if (series.supplier != 0 || series.key == noted.key) {
            continue;
        }
        PriceSetRecord last{};
        if (count_suppliers(series.key, last) > 1) {
            list(error_of(last, price_no_main_supplier));
        } else if (last.supplier != 0) {
            prefer(series.key, last.supplier);
        }
    }
    ink_close();
    return !op_interrupted();
}

bool price_check::walk_sets() {
    const auto total = static_cast<std::uint32_t>(sets->nrecs);
    PriceSetRecord set{};
    SeriesKey series{};
    bool present = false;
    std::uint32_t done = 0;
    for (bool more = chk_scan_first(sets, &set); more; more = IXSEQ(sets, &set)) {
        if (done == 0 || !(set.key == series)) {
            series = set.key;
            present = price_series_exists(series);
        }
        if (!present) {
            list(error_of(set, price_set_no_series));
        } else if (set.end_date == 0) {
            delete_here(set);
        } else {
            check_chain(set);
        }
        chk_progress(++done, total, chk_bar::step);
    }
    return !op_interrupted();
}

bool price_series_exists(const SeriesKey &series) {
    SeriesRecord record{};
    record.key = series;
    const key_switch key(chk_files.rvser, 1);
    return IXFIND(chk_files.rvser, &record);
}

void price_check::see_row(const chain_row &row) {
    moved = moved || std::memcmp(&row.chain, &chain, sizeof chain) != 0;
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

bool price_check::held_by_set(const PriceBlock &block, std::int32_t number) {
    PriceSetRecord set{};
    set.key = block.key;
    set.supplier = block.supplier;
    set.end_date = block.end_date;
    if (!IXREAD(sets, &set)) {
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
void price_check::walk_free() {
    const leave_guard undisturbed;
    chain_row row(row_price_chain);
    see_row(row);
    SysRow4Chain &now = row.chain;
    const std::int32_t in_file = price_blocks_in_file();
    now.end_mark = now.end_mark == chain.end_mark ? in_file : std::max(in_file, now.end_mark.value());
    chk_bits_grow(static_cast<std::size_t>(now.end_mark) / 8 + 1);
    if (now.free_head > now.end_mark) {
        now.free_head = now.end_mark;
    } else {
        chk_phase(detail_text(13, 3, "FASE-2: controleren vrijketting"),
                  static_cast<std::uint32_t>(now.end_mark));
        walk_free_chain(now);
        chk_progress(0, 0, chk_bar::close);
    }
    row.write();
}

void price_check::walk_rest() {
    const auto total = static_cast<std::uint32_t>(end > 0 ? end - 1 : 0);
    chk_phase(detail_text(13, 4, "FASE-3: controleren prijzen niet in ketting"), total);
    for (std::int32_t number = 0; number < end; number++) {
        PriceBlock block{};
        if (!chk_bit_test(number)) {
            const bool used = price_read_block(number, block) && !price_block_empty(block);
            if (used && taken_since(number, block)) {
                chk_bit_set(number);
            } else {
                lost++;
                if (used) {
                    list_lost(number, block);
                }
            }
        }
        chk_progress(static_cast<std::uint32_t>(number), total, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
}
