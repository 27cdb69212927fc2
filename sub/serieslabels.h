// The labels of a series, read block by block. A chain that leads astray just ends: its faults are the
// label check's to find, and no other check stops at them.
#pragma once

#include "sub/ioeti.h"

/// A walk through the blocks of a chain; the label file must be open for chk_eti_raw.
struct label_chain {
    SeriesKey key;
    std::int32_t block = -1;  ///< of `content`
    LabelBlock content{};
    std::int32_t next = -1;
    std::int32_t mark = -1;  ///< a block seen before; who comes back to it runs in a circle
    std::uint32_t steps = 0;
    std::uint32_t limit = 1;  ///< the mark moves on when so many steps are done
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
