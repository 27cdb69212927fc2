// Insertion with its split, and deletion.
//
// A full block splits 70 to 30: the left part moves to a new block and the right part stays, so that the
// parent's entry for it stays valid and other readers still find it. They are written in the order left part,
// right part, parent. When a root splits, both parts move and the root keeps its number.
//
// A parent's entry for a child is found by its key, and then by its pointer: keys of a "no duplicates" key
// above key 1 may be equal all the same, and then the key alone doesn't identify the child.
#include "store/store_internal.h"

namespace {

/// Reads the parent of the current block and stops at the entry that points to `child`.
void read_parent(ICB *icb, std::int32_t child) {
    const int level = icb->blk.blevel;
    const std::int32_t parent = icb->path[level];
    const int key = icb->blk.bkey;
    if (parent < 1 || !ix_block_exists(icb, parent)) {
        ix_inconsistent(icb);
    }
    IXRDIX(icb, parent);
    if (icb->curblk != parent || !ix_block_sound(icb, key) || icb->blk.blevel != level + 1) {
        ix_inconsistent(icb);
    }
    const ix_plan &plan = ix_current_plan(icb);
    for (int at = IXLOCKEY(icb, plan.klen); at < icb->blk.bcount; ++at, icb->cur += plan.esize) {
        if (ix_pointer(plan, icb->cur) == child) {
            return;
        }
    }
    ix_inconsistent(icb);
}

/// Puts `skey` and `newptr` at `cur`, in memory only.
void place_entry(ICB *icb, const ix_plan &plan) {
    if (!ix_block_sound(icb, icb->blk.bkey) || icb->blk.bcount >= plan.korder) {
        ix_inconsistent(icb);
    }
    const std::uint8_t *end = ix_entry(icb, plan, icb->blk.bcount);
    if (icb->cur < icb->blk.bentries || icb->cur > end) {
        ix_inconsistent(icb);
    }
    std::memmove(icb->cur + plan.esize, icb->cur, static_cast<std::size_t>(end - icb->cur));
    std::memcpy(icb->cur, icb->skey, static_cast<std::size_t>(plan.klen));
    ix_set_pointer(plan, icb->cur, icb->newptr);
    ++icb->blk.bcount;
}

std::int32_t new_block(ICB *icb) {
    if (icb->nblocks >= ix_block_limit) {
        isam_fatal("%s", term_text(1, 233, "Er kunnen niet meer index records aangemaakt worden !"));
    }
    const std::int32_t number = icb->nblocks;
    icb->nblocks = number + 1;
    return number;
}

/// Splits the current block, which is full. True when `skey` and `newptr` must go into its parent, which is
/// then the current block; false when it was the root.
bool split(ICB *icb, const ix_plan &plan) {
    const int level = icb->blk.blevel;
    const int key = icb->blk.bkey;
    const bool root = icb->curblk == key;
    if (root) {
        if (level >= ix_max_level) {
            ix_inconsistent(icb);
        }
        icb->path[level] = key;
        icb->path[level + 1] = -1;
    }
    const ix_block whole = icb->blk;
    const int left = plan.korder * 7 / 10;
    const int right = plan.korder - left;
    const auto left_bytes = static_cast<std::size_t>(left) * plan.esize;
    const auto right_bytes = static_cast<std::size_t>(right) * plan.esize;

    std::memset(icb->blk.bentries + left_bytes, 0, ix_entry_bytes - left_bytes);
    icb->blk.bcount = static_cast<std::uint8_t>(left);
    icb->newptr = new_block(icb);
    IXWRIX(icb, icb->newptr);

    std::memcpy(icb->skey, whole.bentries + left_bytes - plan.esize, static_cast<std::size_t>(plan.klen));
    std::memcpy(icb->blk.bentries, whole.bentries + left_bytes, right_bytes);
    std::memset(icb->blk.bentries + right_bytes, 0, ix_entry_bytes - right_bytes);
    icb->blk.bcount = static_cast<std::uint8_t>(right);
    if (!root) {
        const std::int32_t stays = icb->curblk;
        IXWRIX(icb, stays);
        read_parent(icb, stays);
        return true;
    }
    const std::int32_t moved = icb->nblocks;
    if (moved >= ix_block_limit) {
        new_block(icb);
    }
    IXWRIX(icb, moved);
    ++icb->blk.blevel;
    icb->blk.bcount = 2;
    std::memset(icb->blk.bentries, 0, ix_entry_bytes);
    std::uint8_t *entry = icb->blk.bentries;
    std::memcpy(entry, icb->skey, static_cast<std::size_t>(plan.klen));
    ix_set_pointer(plan, entry, icb->newptr);
    entry += plan.esize;
    std::memset(entry, 0xFF, static_cast<std::size_t>(plan.klen));
    ix_set_pointer(plan, entry, moved);
    icb->curblk = key;
    IXWRIX(icb, key);
    icb->nblocks = moved + 1;
    return false;
}

/// The highest key of `child` has become `high`: writes it into the parent's entry, and further up as long as
/// that entry is the last of its block. `skey` still holds the old key.
void set_high(ICB *icb, std::int32_t child, const std::uint8_t *high) {
    const ix_plan &plan = ix_current_plan(icb);
    for (;;) {
        read_parent(icb, child);
        std::memcpy(icb->cur, high, static_cast<std::size_t>(plan.klen));
        IXWRIX(icb, icb->curblk);
        if (icb->cur != ix_entry(icb, plan, icb->blk.bcount - 1)) {
            return;
        }
        child = icb->curblk;
    }
}

/// Moves from a leaf to the first entry of the next one. False at the end of the tree.
bool next_leaf(ICB *icb, const ix_plan &plan, int key) {
    do {
        if (icb->curblk == key) {
            return false;
        }
        std::memcpy(icb->skey, ix_entry(icb, plan, icb->blk.bcount - 1), static_cast<std::size_t>(plan.klen));
        read_parent(icb, icb->curblk);
    } while (icb->cur == ix_entry(icb, plan, icb->blk.bcount - 1));
    icb->cur += plan.esize;
    while (icb->blk.blevel > 1) {
        const std::int32_t child = ix_pointer(plan, icb->cur);
        const int level = icb->blk.blevel;
        if (!ix_block_exists(icb, child)) {
            ix_inconsistent(icb);
        }
        IXRDIX(icb, child);
        if (icb->curblk != child || !ix_block_sound(icb, key) || icb->blk.blevel != level - 1) {
            ix_inconsistent(icb);
        }
        icb->cur = icb->blk.bentries;
    }
    return true;
}

}  // namespace

void IXINSKEY(ICB *icb) {
    const ix_plan &plan = ix_current_plan(icb);
    for (;;) {
        place_entry(icb, plan);
        if (icb->blk.bcount < plan.korder) {
            IXWRIX(icb, icb->curblk);
            return;
        }
        if (!split(icb, plan)) {
            return;
        }
    }
}

void IXDELKEY(ICB *icb, std::int32_t number) {
    const ix_plan &plan = ix_current_plan(icb);
    std::int32_t target = number;
    int at = IXLOCKEY(icb, plan.klen);
    while (at < icb->blk.bcount && ix_pointer(plan, icb->cur) != target) {
        ++at;
        icb->cur += plan.esize;
    }
    if (at >= icb->blk.bcount) {
        ix_inconsistent(icb);
    }
    for (;;) {
        std::uint8_t *end = ix_entry(icb, plan, icb->blk.bcount);
        const std::uint8_t *rest = icb->cur + plan.esize;
        std::memmove(icb->cur, rest, static_cast<std::size_t>(end - rest));
        std::memset(end - plan.esize, 0, static_cast<std::size_t>(plan.esize));
        --icb->blk.bcount;
        IXWRIX(icb, icb->curblk);
        if (icb->cur != ix_entry(icb, plan, icb->blk.bcount)) {
            return;
        }
        // The block's highest key was deleted.
        target = icb->curblk;
        if (icb->blk.bcount > 0) {
            std::uint8_t high[ix_max_klen];
            std::memcpy(high, icb->cur - plan.esize, static_cast<std::size_t>(plan.klen));
            set_high(icb, target, high);
            return;
        }
        // An empty block stays in the file, unlinked.
        read_parent(icb, target);
    }
}

bool ix_find_entry(ICB *icb, std::int32_t number) {
    const ix_plan &plan = ix_current_plan(icb);
    std::int32_t found = IXSEARCH(icb, ix_relation::equal, plan.klen);
    if (found == number || found < 0 || plan.dups) {
        return found == number && found >= 0;
    }
    const int key = icb->blk.bkey;
    std::uint8_t wanted[ix_max_klen];
    std::memcpy(wanted, icb->skey, sizeof wanted);
    bool equal = true;
    std::int32_t leaves = 0;
    while (equal && found != number) {
        icb->cur += plan.esize;
        if (icb->cur == ix_entry(icb, plan, icb->blk.bcount)) {
            if (++leaves > icb->nblocks) {
                ix_inconsistent(icb);  // a child that two entries point to leads round in a circle
            }
            equal = next_leaf(icb, plan, key);
        }
        if (equal) {
            found = ix_pointer(plan, icb->cur);
            equal = found >= 0 && ix_compare(plan, wanted, icb->cur, plan.klen) == 0;
        }
    }
    std::memcpy(icb->skey, wanted, sizeof wanted);
    return equal;
}
