// Repairs of the label check.
//
// Mending. A chain is cut after its last sound block; a series whose very first block is wrong gets a new,
// empty one. Then the blocks that are outside all chains but belong to an existing series are taken together
// by series. When they and the present chain hold exactly the labels that the series counts, they are what
// the chain has lost, and are put at its end.
//
// The order of the writes: a new block is taken off the free chain before it is filled, and filled before its
// series leads to it; lost blocks are linked together before the chain leads to the first of them; a block is
// emptied before row 4 leads to it. So a run that dies may leave blocks on no chain, which the next run
// finds, but never a block on two chains.
//
// The series is held meanwhile, and row 4 is locked after it. Where other programs changed blocks during the
// check, the fault is looked for again first: what is no longer as it was found is left to the next run.
#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <set>

#include "check/labels/labels.h"

namespace {

constexpr std::int32_t chain_end = -1;

/// While it lives, the user slot says that chains are being changed, and the program may not be left.
struct chain_update {
    leave_guard undisturbed;
    chain_update() {
        set_program_status(status_in_chain_update);
    }
    ~chain_update() {
        set_program_status(status_working);
    }
    chain_update(const chain_update &) = delete;
    chain_update &operator=(const chain_update &) = delete;
};

/// True when the chain of a series is still wrong in the way that the walk found.
bool still_wrong(const SeriesRecord &series, const ChainError &error) {
    std::set<std::int32_t> walked;
    LabelBlock content;
    std::int32_t previous = stdchk_none;
    std::int32_t block = series.first_block;
    int code = block == chain_end ? label_outside : 0;
    while (code == 0 && block != chain_end) {
        if (!labels_read(block, content)) {
            code = label_outside;
        } else if (!(content.key == series.key)) {
            code = chk_key_empty(content) ? label_in_free_chain : label_other_series;
        } else if (!walked.insert(block).second) {
            code = label_seen_before;
        } else {
            previous = block;
            block = content.next;
        }
    }
    return code == error.code && block == error.block && previous == error.previous;
}

bool set_next(std::int32_t block, std::int32_t next) {
    LabelBlock content;
    if (!labels_read(block, content)) {
        return false;
    }
    content.next = next;
    chk_eti_raw(raw_action::write, block, content);
    return true;
}

/// Visits the lost blocks of the series that `any` belongs to, in the order of their numbers.
template <class Visit>
void for_lost_blocks(chain_error_list &errors, const ChainError &any, Visit visit) {
    constexpr int same_code = stdchk_series_parts + 1;
    ChainError error = any;
    error.block = 0;
    for (bool found = errors.first(error, same_code); found; found = errors.next(error, same_code)) {
        const std::int32_t place = errors.icb()->recno;
        visit(error);
        errors.icb()->recno = place;
    }
}

}  // namespace

void label_check::see_row(const chain_row &row) {
    moved = moved || std::memcmp(&row.chain, &chain, sizeof chain) != 0;
}

void label_check::write_row(chain_row &row) {
    row.write();
    chain = row.chain;
}

/// Gives a series an empty first block of its own. False when it no longer leads to the wrong block.
bool label_check::renew_first_block(series_hold &series, chain_row &row, const ChainError &error) {
    if (!series.exists() || series.record.first_block != error.block) {
        return false;
    }
    const std::int32_t block = eti_take_block(row.chain, labels_read);
    if (block < 0) {
        return false;
    }
    write_row(row);
    LabelBlock content{};
    content.key = series.record.key;
    content.size_kind = series.record.size_kind;
    content.next = chain_end;
    chk_eti_raw(raw_action::write, block, content);
    end = std::max(end, block + 1);
    chk_bit_set(block);
    series.record.first_block = block;
    series.rewrite();
    return true;
}

bool label_check::mend_chain(const ChainError &error) {
    series_hold series(error.key);
    chain_row row(row_label_chain);
    see_row(row);
    if (moved && !(series.exists() && still_wrong(series.record, error))) {
        return false;
    }
    return error.previous == stdchk_none ? renew_first_block(series, row, error)
                                         : set_next(error.previous, chain_end);
}

void label_check::count_labels(const LabelBlock &content, status_counts &counts) {
    for (const LabelEntry &entry : content.slots) {
        const std::uint32_t status = entry.amount_status % 10;
        if (status != label_empty && status < counts.size()) {
            counts[status]++;
        }
    }
}

/// The last block of the chain of a series, whose labels are counted; -1 when the chain is not sound.
std::int32_t label_check::count_chain(const SeriesRecord &series, status_counts &counts) const {
    std::int32_t last = stdchk_none;
    std::int32_t steps = 0;
    LabelBlock content;
    for (std::int32_t block = series.first_block; block != chain_end; block = content.next) {
        if (++steps > end || !labels_read(block, content) || !(content.key == series.key) ||
            !chk_bit_test(block)) {
            return stdchk_none;
        }
        count_labels(content, counts);
        last = block;
    }
    return last;
}

/// Puts the lost blocks of a series back on its chain when series, chain and blocks agree on the labels. The
/// blocks of the chain were met by the walk, or are past the known blocks, so none of the lost ones is among
/// them.
void label_check::connect_lost(const ChainError &any) {
    const series_hold hold(any.key);
    const chain_row row(row_label_chain);
    see_row(row);
    status_counts counts{};
    if (!hold.exists()) {
        return;
    }
    const SeriesRecord &series = hold.record;
    const std::int32_t last_in_chain = count_chain(series, counts);
    LabelBlock content;
    std::int32_t first = stdchk_none;
    bool agree = true;
    for_lost_blocks(errors, any, [&](const ChainError &lost) {
        if (labels_read(lost.block, content)) {
            agree = agree && content.key == series.key;
            count_labels(content, counts);
        }
        first = first == stdchk_none ? lost.block.value() : first;
    });
    agree = agree && counts[label_ordered] == series.ordered && counts[label_stock] == series.stock &&
            counts[label_sold] == series.sold && counts[label_corrected] == series.corrected;
    if (last_in_chain == stdchk_none || first == stdchk_none || !agree) {
        return;
    }
    std::int32_t before = stdchk_none;
    for_lost_blocks(errors, any, [&](const ChainError &lost) {
        if (before != stdchk_none) {
            set_next(before, lost.block);
        }
        before = lost.block;
    });
    set_next(before, chain_end);
    set_next(last_in_chain, first);
    for_lost_blocks(errors, any, [this](ChainError &lost) {
        lost.repaired = 1;
        errors.update(lost);
    });
}

void label_check::mend() {
    const chain_update mark;
    const key_switch key(chk_files.rvser, 1);
    errors.for_each([this](ChainError &error) {
        if (error.code >= label_outside && error.code <= label_seen_before && mend_chain(error)) {
            error.repaired = 1;
            errors.update(error);
        }
    });
    SeriesKey done{};
    errors.for_each([&](const ChainError &error) {
        if (error.code == label_lost && !(error.key == done)) {
            done = error.key;
            connect_lost(error);
        }
    });
}

// While the question was open, a block may have been put on the chain of its series, or got a new owner.
void label_check::repair() {
    const chain_update mark;
    std::optional<series_hold> hold;
    errors.for_each([&](const ChainError &error) {
        if (!label_is_lost(error) || error.repaired != 0) {
            return;
        }
        if (!hold || !(hold->record.key == error.key)) {
            hold.reset();
            hold.emplace(error.key);
            hold->record.key = error.key;
            if (hold->exists()) {
                mark_chain(hold->record);
            }
        }
        chain_row row(row_label_chain);
        see_row(row);
        LabelBlock content{};
        if (!labels_read(error.block, content) || !(content.key == error.key) || chk_bit_test(error.block)) {
            return;
        }
        content = {};
        content.next = row.chain.free_head;
        chk_eti_raw(raw_action::write, error.block, content);
        chk_bit_set(error.block);
        row.chain.free_head = error.block;
        row.chain.free_count += 1;
        write_row(row);
    });
}
