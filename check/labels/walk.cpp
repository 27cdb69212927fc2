// The three passes of the label check.
//
//   1  Walks the chain of each series, and marks each block once. A chain has at most one error; what comes
//      after it stays unmarked.
//   2  Walks the free chain in the same way. It is cut where it is wrong; what comes after the cut is met
//      again in pass 3.
//   3  Looks at the blocks that are not marked. Those without labels go on the free chain, the others are
//      errors.
//
// Row 4 is written last in a pass. Until then the blocks that the pass has prepared are on no chain, so when
// a run dies the next one finds them all.
//
// Other programs take and free blocks meanwhile. Row 4 shows this; it is read again under its lock for the
// second pass and stays locked until the third is done. When it has changed since the start, a block that no
// pass has met may have been put on a chain after the first pass. So the chain of its series is followed once
// more, and a block without labels is left to the next run, because it may be the first of a series that is
// just being made.
#include <algorithm>
#include <cstring>
#include <limits>

#include "check/labels/labels.h"

namespace {

constexpr std::int32_t chain_end = -1;

}  // namespace

/// Follows the chain of a series to its end, or to the block at which it is wrong. The code is 0 for a sound
/// chain.
ChainError label_check::follow(const SeriesRecord &series) {
    ChainError error{};
    error.key = series.key;
    error.previous = stdchk_none;
    LabelBlock content;
    std::int32_t added = 0;
    std::int32_t block = series.first_block;
    if (block == chain_end) {
        error.code = label_outside;
    }
    while (block != chain_end) {
        if (!labels_read(block, content)) {
            error.code = label_outside;
        } else if (!(content.key == series.key)) {
            error.code = chk_key_empty(content) ? label_in_free_chain : label_other_series;
        } else if (block < known ? !chk_bit_set(block) : added++ > eti_max_block()) {
            error.code = label_seen_before;  // past the known blocks, only a circle is as long
        }
        if (error.code != 0) {
            break;
        }
        error.previous = block;
        block = content.next;
    }
    error.block = block;
    return error;
}

void label_check::list(const ChainError &error) {
    // Two records of one number, in a damaged series file, make one error.
    const bool is_new = !chk_is_heard() || !IXFIND(errors.icb(), &error);
    errors.add(error);
    if (chk_is_heard() && is_new) {
        std::vector<finding_field> fields{field_of(error.key)};
        add_unless_none(fields, "block", error.block, stdchk_none);
        add_unless_none(fields, "previous", error.previous, stdchk_none);
        chk_found(label_findings()[error.code - 1U], error.code == label_series_invalid ? "RVSER" : "RVETI",
                  std::move(fields));
    }
}

void label_check::list_invalid(const SeriesKey &key) {
    ChainError error{};
    error.key = key;
    error.block = stdchk_none;
    error.previous = stdchk_none;
    error.code = label_series_invalid;
    list(error);
}

/// Lists a block with labels that no chain holds.
void label_check::list_lost(std::int32_t block, const LabelBlock &content) {
    ChainError error{};
    error.key = content.key;
    error.block = block;
    error.previous = stdchk_none;
    if (!chk_key_valid(content.key)) {
        error.code = label_lost_invalid;
    } else {
        error.code = chk_ser_exists(content) ? label_lost : label_lost_unknown;
    }
    list(error);
}

/// Locks row 4, and takes its present content. The end mark becomes that of the file. One that another
/// program has changed is not moved back, because it may be written before the block that it counts; one that
/// is unchanged may be damaged.
void label_check::lock_chain() {
    SysRow4Chain now{};
    iotab_row(tab_action::lock_read, row_label_chain, now);
    moved = std::memcmp(&now, &chain, sizeof now) != 0;
    end = labels_in_file();
    if (now.end_mark != chain.end_mark) {
        end = std::max(end, now.end_mark.value());
    }
    now.end_mark = end;
    chain = now;
    chk_bits_grow(static_cast<std::size_t>(end) / 8 + 1);
}

/// The same for a series by its key.
void label_check::mark_chain_of(const SeriesKey &key) {
    SeriesRecord series{};
    series.key = key;
    const key_switch by_key(chk_files.rvser, 1);
    if (IXREAD(chk_files.rvser, &series) && series.key == key) {
        mark_chain(series);
    }
}

std::uint32_t label_check::last_block() const {
    return static_cast<std::uint32_t>(std::max(end, 1) - 1);
}

bool labels_read(std::int32_t block, LabelBlock &buffer) {
    return block >= 0 && chk_eti_raw(raw_action::read, block, buffer) != 0;
}

std::int32_t labels_in_file() {
    const off_t blocks = chk_txt_size("RVETI") / static_cast<off_t>(sizeof(LabelBlock));
    return static_cast<std::int32_t>(std::clamp<off_t>(blocks, 0, std::numeric_limits<std::int32_t>::max()));
}

void label_check::mark_chain(const SeriesRecord &series) {
    LabelBlock content;
    std::int32_t steps = 0;
    for (std::int32_t block = series.first_block;
         block != chain_end && steps++ <= end && labels_read(block, content) && content.key == series.key;
         block = content.next) {
        chk_bit_set(block);
    }
}

bool label_check::walk_series() {
    ICB *file = chk_files.rvser;
    const auto last = static_cast<std::uint32_t>(std::max<std::int32_t>(file->nrecs, 1) - 1);
    chk_phase(detail_text(3, 660, "FASE-1: controleren series"), last);
    SeriesRecord series;
    // The scan itself looks whether the operator wants to cancel, and must be run to its end.
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        if (!chk_key_valid(series.key)) {
            list_invalid(series.key);
        }
        const ChainError error = follow(series);
        if (error.code != 0) {
            list(error);
        }
        chk_progress(static_cast<std::uint32_t>(file->recno), last, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !op_interrupted();
}

void label_check::walk_free() {
    lock_chain();
    chk_phase(detail_text(3, 667, "FASE-2: controleren vrije etiketblokken"), last_block());
    LabelBlock content;
    LabelBlock sound{};
    std::int32_t previous = stdchk_none;
    std::int32_t count = 0;
    std::int32_t block = chain.free_head;
    // A block that a series had when the first pass met it may have been freed since.
    const auto freed_since = [&] { return moved && count < end; };
    while (block != end && labels_read(block, content) && chk_key_empty(content) &&
           (chk_bit_set(block) || freed_since())) {
        previous = block;
        sound = content;
        block = content.next;
        chk_progress(static_cast<std::uint32_t>(++count), last_block(), chk_bar::step);
    }
    if (block != end) {
        if (previous != stdchk_none) {
            sound.next = end;
            chk_eti_raw(raw_action::write, previous, sound);
        } else {
            chain.free_head = end;
        }
        // In a circle, blocks that other programs changed have been counted at every turn.
        count = 0;
        for (block = chain.free_head; block != end && labels_read(block, content); block = content.next) {
            count++;
        }
    }
    chain.free_count = count;
    free_in_chain = count;
    iotab_row(tab_action::write_keep, row_label_chain, chain);
    chk_progress(0, 0, chk_bar::close);
}

void label_check::walk_rest() {
    chk_phase(detail_text(3, 671, "FASE-3: controleren etiketblokken niet in ketting"), last_block());
    LabelBlock content;
    SeriesKey marked{};
    for (std::int32_t block = 0; block < known; block++) {
        chk_progress(static_cast<std::uint32_t>(block), last_block(), chk_bar::step);
        if (chk_bit_test(block) || !labels_read(block, content)) {
            continue;
        }
        const bool has_key = !chk_key_empty(content);
        const bool has_labels = has_key && !chk_block_empty(content);
        if (has_key) {
            if (!(content.key == marked)) {
                marked = content.key;
                mark_chain_of(marked);
            }
            if (chk_bit_test(block) || (moved && !has_labels)) {
                continue;
            }
        }
        if (has_labels) {
            list_lost(block, content);
            continue;
        }
        content = {};
        content.next = chain.free_head;
        chk_eti_raw(raw_action::write, block, content);
        chain.free_head = block;
        chain.free_count += 1;
        chk_bit_set(block);
    }
    iotab_row(tab_action::write, row_label_chain, chain);
    chk_progress(0, 0, chk_bar::close);
}
