// Repairs of the label check.
//
// Mending. A chain is cut behind its last sound block; a series whose very first block is wrong gets a new
// one, empty. Then the blocks that are outside all chains, but belong to a series that exists, are taken
// together by series: when they and the chain as it is now hold just the labels that the series counts, they
// are what the chain has lost, and are put behind it.
//
// The order of the writes: a new block is taken off the free chain before it is filled, and filled before its
// series leads to it; lost blocks are strung together before the chain leads to the first of them; a block
// is emptied before row 4 leads to it. So a run that dies leaves blocks on no chain, which the next run
// finds, and never one on two.
#include <array>

#include "check/frame.h"
#include "check/labels.h"
#include "screen/screen.h"

namespace {

constexpr std::int32_t chain_end = -1;

/// As long as it lives the user slot tells that chains are being changed, and the program is not to leave.
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

bool read_series(const SeriesKey &key, SeriesRecord &series) {
    series = {};
    series.key = key;
    return IXREAD(chk_files.rvser, &series);
}

/// Takes a block off the free chain, or behind the end of the file; -1 when there is none.
std::int32_t take_block() {
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_label_chain, chain);
    const std::int32_t block = eti_take_block(chain, labels_read);
    iotab_row(block < 0 ? tab_action::unlock : tab_action::write, row_label_chain, chain);
    return block;
}

/// Gives a series a first block of its own, empty. False when it does not lead to the wrong block any more.
bool renew_first_block(const ChainError &error) {
    SeriesRecord series;
    if (!read_series(error.key, series) || series.first_block != error.block) {
        return false;
    }
    const std::int32_t block = take_block();
    if (block < 0) {
        return false;
    }
    LabelBlock content{};
    content.key = series.key;
    content.size_kind = series.size_kind;
    content.next = chain_end;
    chk_eti_raw(raw_action::write, block, content);
    label_work.end = std::max(label_work.end, block + 1);
    chk_bit_set(block);
    series.first_block = block;
    IXREWRITE(chk_files.rvser, &series);
    return true;
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

bool mend_chain(const ChainError &error) {
    return error.previous == stdchk_none ? renew_first_block(error) : set_next(error.previous, chain_end);
}

/// Labels of status 1 to 4; place 0 is not used.
using status_counts = std::array<std::uint32_t, label_corrected + 1>;

void count_labels(const LabelBlock &content, status_counts &counts) {
    for (const LabelEntry &entry : content.slots) {
        const std::uint32_t status = entry.amount_status % 10;
        if (status != label_empty && status < counts.size()) {
            counts[status]++;
        }
    }
}

/// The last block of the chain of a series, whose labels are counted; -1 when it has no sound chain.
std::int32_t count_chain(const SeriesRecord &series, status_counts &counts) {
    std::int32_t last = stdchk_none;
    std::int32_t steps = 0;
    LabelBlock content;
    for (std::int32_t block = series.first_block; block != chain_end; block = content.next) {
        if (++steps > label_work.end || !labels_read(block, content) || !(content.key == series.key) ||
            !chk_bit_test(block)) {
            return stdchk_none;
        }
        count_labels(content, counts);
        last = block;
    }
    return last;
}

/// Visits the lost blocks of the series of `any`, in the order of their numbers.
template <class Visit>
void for_lost_blocks(const ChainError &any, Visit visit) {
    constexpr int same_code = stdchk_series_parts + 1;
    ChainError error = any;
    error.block = 0;
    for (bool found = label_errors.first(error, same_code); found;
         found = label_errors.next(error, same_code)) {
        const std::int32_t place = label_errors.icb()->recno;
        visit(error);
        label_errors.icb()->recno = place;
    }
}

/// Puts the lost blocks of a series back in its chain when series, chain and blocks agree on the labels.
void connect_lost(const ChainError &any) {
    SeriesRecord series;
    status_counts counts{};
    if (!read_series(any.key, series)) {
        return;
    }
    const std::int32_t last_in_chain = count_chain(series, counts);
    LabelBlock content;
    std::int32_t first = stdchk_none;
    for_lost_blocks(any, [&](const ChainError &lost) {
        if (labels_read(lost.block, content)) {
            count_labels(content, counts);
        }
        first = first == stdchk_none ? lost.block.value() : first;
    });
    const bool agree = counts[label_ordered] == series.ordered && counts[label_stock] == series.stock &&
                       counts[label_sold] == series.sold && counts[label_corrected] == series.corrected;
    if (last_in_chain == stdchk_none || first == stdchk_none || !agree) {
        return;
    }
    std::int32_t before = stdchk_none;
    for_lost_blocks(any, [&](const ChainError &lost) {
        if (before != stdchk_none) {
            set_next(before, lost.block);
        }
        before = lost.block;
    });
    set_next(before, chain_end);
    set_next(last_in_chain, first);
    for_lost_blocks(any, [](ChainError &lost) {
        lost.repaired = 1;
        label_errors.update(lost);
    });
}

}  // namespace

void labels_mend() {
    const chain_update mark;
    const key_switch key(chk_files.rvser, 1);
    label_errors.for_each([](ChainError &error) {
        if (error.code >= label_outside && error.code <= label_seen_before && mend_chain(error)) {
            error.repaired = 1;
            label_errors.update(error);
        }
    });
    SeriesKey done{};
    label_errors.for_each([&](const ChainError &error) {
        if (error.code == label_lost && !(error.key == done)) {
            done = error.key;
            connect_lost(error);
        }
    });
}

void labels_release() {
    const chain_update mark;
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_label_chain, chain);
    label_errors.for_each([&](const ChainError &error) {
        const bool lost =
            error.code == label_lost_unknown || error.code == label_lost || error.code == label_lost_invalid;
        if (lost && error.repaired == 0) {
            LabelBlock content{};
            content.next = chain.free_head;
            chk_eti_raw(raw_action::write, error.block, content);
            chain.free_head = error.block;
            chain.free_count += 1;
        }
    });
    iotab_row(tab_action::write, row_label_chain, chain);
}
