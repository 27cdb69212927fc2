// The three passes of the label check.
//
//   1  Walks the chain of each series, and marks each block once. A chain has one error at most; what lies
//      behind it stays unmarked.
//   2  Walks the free chain in the same way. Where it is wrong it is cut: what lay behind the cut comes back
//      in pass 3.
//   3  Looks at the blocks that are not marked. Those without labels go on the free chain, the others are
//      errors.
//
// Row 4 is written last in a pass. Blocks that a pass has prepared are on no chain until then, so a run that
// dies loses nothing that the next one does not find.
#include <algorithm>

#include "check/frame.h"
#include "check/labels.h"
#include "screen/screen.h"

namespace {

constexpr std::int32_t chain_end = -1;

/// Follows the chain of a series to its end, or to the block at which it is wrong. The code is 0 for a sound
/// chain.
ChainError follow(const SeriesRecord &series) {
    ChainError error{};
    error.key = series.key;
    error.previous = stdchk_none;
    LabelBlock content;
    std::int32_t block = series.first_block;
    if (block == chain_end) {
        error.code = label_outside;
    }
    while (block != chain_end) {
        if (!labels_read(block, content)) {
            error.code = label_outside;
        } else if (!(content.key == series.key)) {
            error.code = chk_key_empty(content) ? label_in_free_chain : label_other_series;
        } else if (!chk_bit_set(block)) {
            error.code = label_seen_before;
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

void list_invalid(const SeriesKey &key) {
    ChainError error{};
    error.key = key;
    error.block = stdchk_none;
    error.previous = stdchk_none;
    error.code = label_series_invalid;
    label_errors.add(error);
}

/// Lists a block with labels that no chain holds.
void list_lost(std::int32_t block, const LabelBlock &content) {
    ChainError error{};
    error.key = content.key;
    error.block = block;
    error.previous = stdchk_none;
    if (!chk_key_valid(content.key)) {
        error.code = label_lost_invalid;
    } else {
        error.code = chk_ser_exists(content) ? label_lost : label_lost_unknown;
    }
    label_errors.add(error);
}

std::uint32_t last_block() {
    return static_cast<std::uint32_t>(std::max(label_work.end, 1) - 1);
}

}  // namespace

bool labels_read(std::int32_t block, LabelBlock &buffer) {
    return block >= 0 && block < label_work.end && chk_eti_raw(raw_action::read, block, buffer) != 0;
}

bool labels_walk_series() {
    ICB *file = chk_files.rvser;
    const auto last = static_cast<std::uint32_t>(std::max<std::int32_t>(file->nrecs, 1) - 1);
    chk_phase(detail_text(3, 660, "FASE-1: controleren series"), last);
    SeriesRecord series;
    // The scan itself looks for the operator's wish to break off, and must be run to its end.
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        if (!chk_key_valid(series.key)) {
            list_invalid(series.key);
        }
        const ChainError error = follow(series);
        if (error.code != 0) {
            label_errors.add(error);
        }
        chk_progress(static_cast<std::uint32_t>(file->recno), last, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !ing_interrupted();
}

void labels_walk_free() {
    chk_phase(detail_text(3, 667, "FASE-2: controleren vrije etiketblokken"), last_block());
    SysRow4Chain &chain = label_work.chain;
    const std::int32_t end = label_work.end;
    LabelBlock content;
    LabelBlock sound{};
    std::int32_t previous = stdchk_none;
    std::int32_t count = 0;
    std::int32_t block = chain.free_head;
    while (block != end && labels_read(block, content) && chk_key_empty(content) && chk_bit_set(block)) {
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
    }
    chain.free_count = count;
    label_work.free_in_chain = count;
    iotab_row(tab_action::write, row_label_chain, chain);
    chk_progress(0, 0, chk_bar::close);
}

void labels_walk_rest() {
    chk_phase(detail_text(3, 671, "FASE-3: controleren etiketblokken niet in ketting"), last_block());
    SysRow4Chain &chain = label_work.chain;
    LabelBlock content;
    for (std::int32_t block = 0; block < label_work.end; block++) {
        chk_progress(static_cast<std::uint32_t>(block), last_block(), chk_bar::step);
        if (chk_bit_test(block) || !labels_read(block, content)) {
            continue;
        }
        if (!chk_key_empty(content) && !chk_block_empty(content)) {
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
