// The walk of the order criteria check.
#include <algorithm>
#include <set>

#include "check/order_criteria/order_criteria.h"
#include "data/data.h"

bool criteria_check::read_block(std::int32_t block, CriteriaBlock &buffer) {
    return raw_access(blocks, raw_action::read, block, &buffer) != 0;
}

bool criteria_check::read_series(const SeriesKey &key, CriteriaRecord &record) {
    record.key = key;
    return IXREAD(series, &record);
}

// ---- The walk

void criteria_check::add_error(const SeriesKey &key, criteria_error code, std::int32_t block,
                               std::int32_t previous) {
    ChainError error{};
    error.key = key;
    error.block = block;
    error.previous = previous;
    error.code = code;
    errors.add(error);
}

template <class Visit>
criteria_error criteria_check::judge_block(const SeriesKey &key, std::int32_t block, CriteriaBlock &buffer,
                                           Visit visit) {
    if (!read_block(block, buffer)) {
        return criteria_outside;
    }
    if (criteria_is_empty(buffer)) {
        return criteria_empty_block;
    }
    if (!(buffer.key == key)) {
        return criteria_other_series;
    }
    return visit(block) ? criteria_sound : criteria_seen_before;
}

template <class Visit>
chain_fault criteria_check::follow(const CriteriaRecord &record, Visit visit) {
    std::int32_t block = record.chain;
    std::int32_t previous = chain_end;
    do {
        CriteriaBlock buffer;
        const criteria_error error = judge_block(record.key, block, buffer, visit);
        if (error != criteria_sound) {
            return {error, block, previous};
        }
        previous = block;
        block = buffer.next;
    } while (block != chain_end);
    return {criteria_sound, block, previous};
}

void criteria_check::check_chain(const CriteriaRecord &record) {
    std::int32_t added = 0;
    const chain_fault fault = follow(record, [&](std::int32_t block) {
        // Past the blocks of the start, only a circle has as many blocks as there are numbers.
        return block < end ? chk_bit_set(block) : added++ < eti_max_block();
    });
    if (fault.code != criteria_sound) {
        add_error(record.key, fault.code, fault.block, fault.previous);
    }
}

chain_fault criteria_check::follow_now(const CriteriaRecord &record, std::set<std::int32_t> &found) {
    return follow(record, [&](std::int32_t block) { return found.insert(block).second; });
}

/// False when the operator cancelled.
bool criteria_check::check_chains() {
    const auto total = static_cast<std::uint32_t>(series->nrecs);
    chk_phase(detail_text(3, 660, "FASE-1: controleren series"), total);
    std::uint32_t count = 0;
    CriteriaRecord record;
    while (!op_interrupted() && IXSEQ(series, &record)) {
        check_chain(record);
        chk_progress(++count, total, chk_bar::step);
    }
    chk_progress(total, total, chk_bar::close);
    return !op_interrupted();
}

/// A block off the chain counts as seen: it has an owner, so it is not freed, even when it does not get back
/// on the chain in this run.
void criteria_check::find_lost_blocks() {
    criteria_show_pass(op_field::criteria_lost, op_field::criteria_lost_count,
                       detail_text(13, 3, "FASE-2: controleren vrijketting"));
    criteria_show_count(op_field::criteria_lost_count, 0);
    const auto total = static_cast<std::uint32_t>(std::max(end - 1, 0));
    chk_phase(detail_text(3, 671, "FASE-3: controleren etiketblokken niet in ketting"), total);
    for (std::int32_t block = 0; block < end; block++) {
        CriteriaBlock buffer;
        CriteriaRecord owner{};
        if (!chk_bit_test(block) && read_block(block, buffer) && !criteria_is_empty(buffer)) {
            owner.key = buffer.key;
            if (IXFIND(series, &owner)) {
                add_error(buffer.key, criteria_off_chain, block, off_chain);
                chk_bit_set(block);
            }
        }
        chk_progress(static_cast<std::uint32_t>(block), total, chk_bar::step);
    }
    chk_progress(total, total, chk_bar::close);
}

bool criteria_check::walk() {
    if (!check_chains()) {
        return false;
    }
    find_lost_blocks();
    return true;
}
