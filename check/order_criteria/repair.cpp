// The repair of a series whose order criteria are wrong.
#include <set>

#include "check/order_criteria/order_criteria.h"
#include "data/data.h"

namespace {

/// True when the first block of the chain does not belong to the series. A first block that was seen before
/// is no such case: that takes a second record of the same series, and this one may be sound.
bool loses_head(const ChainError &error, const CriteriaRecord &record) {
    return error.code < criteria_seen_before && error.previous < 0 && error.block == record.chain;
}

}  // namespace

void criteria_check::see_row(const chain_row &row) {
    moved = moved || row.chain.free_head != end || row.chain.end_mark != end;
}

/// Calls `visit` for each error of the series.
template <class Visit>
void criteria_check::for_each_error(const SeriesKey &key, Visit visit) {
    ChainError error{};
    error.key = key;
    for (bool found = errors.first(error, stdchk_series_parts); found;
         found = errors.next(error, stdchk_series_parts)) {
        visit(static_cast<const ChainError &>(error));
    }
}

void criteria_check::write_block(std::int32_t block, CriteriaBlock &buffer) {
    raw_access(blocks, raw_action::write, block, &buffer);
}

void criteria_check::set_next(std::int32_t block, std::int32_t next) {
    CriteriaBlock buffer;
    if (read_block(block, buffer)) {
        buffer.next = next;
        write_block(block, buffer);
    }
}

/// The last block of a mended chain; chain_end when the chain still does not end.
std::int32_t criteria_check::last_block(const CriteriaRecord &record) {
    std::int32_t block = record.chain;
    for (std::int32_t steps = 0; steps < eti_max_block(); steps++) {
        CriteriaBlock buffer;
        if (!read_block(block, buffer) || !(buffer.key == record.key)) {
            break;
        }
        if (buffer.next == chain_end) {
            return block;
        }
        block = buffer.next;
    }
    return chain_end;
}

/// Puts the blocks off the chain after its last block, `last`; with chain_end they become the chain.
void criteria_check::append_blocks(CriteriaRecord &record, const std::int32_t last) {
    std::int32_t tail = last;
    for_each_error(record.key, [&](const ChainError &error) {
        if (error.code != criteria_off_chain) {
            return;
        }
        const std::int32_t block = error.block;
        set_next(block, chain_end);
        if (tail == chain_end) {
            record.chain = block;
            IXREWRITE(series, &record);
        } else {
            set_next(tail, block);
        }
        tail = block;
    });
}

/// True when the chain is still wrong as it was found, and none of the blocks off the chain is on it.
bool criteria_check::still_wrong(const SeriesKey &key, const CriteriaRecord &record) {
    std::set<std::int32_t> on_chain;
    const chain_fault now = follow_now(record, on_chain);
    chain_fault found{criteria_sound, now.block, now.previous};
    bool same_blocks = true;
    for_each_error(key, [&](const ChainError &error) {
        CriteriaBlock buffer;
        if (error.code != criteria_off_chain) {
            found = {static_cast<criteria_error>(error.code), error.block, error.previous};
        } else {
            same_blocks = same_blocks && !on_chain.contains(error.block) && read_block(error.block, buffer) &&
                          buffer.key == key;
        }
    });
    return now == found && same_blocks;
}

/// Mends the chain of a series; false when nothing was left of it and its record was deleted.
bool criteria_check::mend_series(const SeriesKey &key) {
    const chain_row row(row_criteria_chain);
    see_row(row);
    CriteriaRecord record{};
    if (!read_series(key, record)) {
        return true;  // deleted by another program in the meantime
    }
    if (moved && !still_wrong(key, record)) {
        return true;
    }
    bool head_lost = false;
    int blocks_off_chain = 0;
    for_each_error(key, [&](const ChainError &error) {
        if (error.code == criteria_off_chain) {
            blocks_off_chain++;
        } else if (error.previous >= 0) {
            set_next(error.previous, chain_end);
        } else if (loses_head(error, record)) {
            head_lost = true;
        }
    });
    const std::int32_t last = head_lost ? chain_end : last_block(record);
    if (blocks_off_chain > 0 && (head_lost || last != chain_end)) {
        append_blocks(record, last);
    } else if (head_lost) {
        IXDELETE(series, &record);
        return false;
    }
    return true;
}
