// The labels of a series, read block by block. A faulty chain simply ends: finding its faults is the job of
// the label check, and no other check stops at them.
#pragma once

#include "data/ioeti.h"

/// A walk through the blocks of a chain; the label file must be open for chk_eti_raw.
struct label_chain {
    SeriesKey key;
    std::int32_t block = -1;  ///< number of the block in `content`
    LabelBlock content{};
    std::int32_t next = -1;
    std::int32_t mark = -1;  ///< a block seen before; a walk that comes back to it is in a loop
    std::uint32_t steps = 0;
    std::uint32_t limit = 1;  ///< the mark moves on after this many steps
};

inline label_chain label_chain_of(const SeriesRecord &series) {
    label_chain chain;
    chain.key = series.key;
    chain.next = series.first_block;
    return chain;
}

/// Reads the next block of the chain. False at its end, and at a block that is not of the series.
inline bool label_chain_next(label_chain &chain) {
    if (chain.next < 0 || chain.next > eti_max_block() || chain.next == chain.mark ||
        chk_eti_raw(raw_action::read, chain.next, chain.content) == 0 || !(chain.content.key == chain.key)) {
        return false;
    }
    chain.block = chain.next;
    if (++chain.steps == chain.limit) {
        chain.mark = chain.block;
        chain.limit *= 2;
    }
    chain.next = chain.content.next;
    return true;
}
