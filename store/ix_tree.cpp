// Reading blocks, and the search.
//
// A search starts from the current block, not from the root:
//
// 1. Unless the file is ours alone, read that block again.
// 2. Climb while the key may lie outside the block, by the parents noted on the last descent.
// 3. Descend to the leaf.
//
// Readers take no lock, and may meet a tree in the middle of another process's update, or parents noted long
// ago. So everything that is read is tested first. A block that can't be right leads to the root on the
// climb, and to a new start at the root on the descent. It counts as damage when the file is ours alone, or
// when it is still found while no process is at work in the tree.
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "store/store_internal.h"

int ix_block_limit = 4194304;

namespace {

/// Reports a block that isn't there, on the last line of the screen.
void tell_missing_block(const ICB *icb, int block) {
    if (isam_operator.last_line != nullptr) {
        char text[80];
        std::snprintf(text, sizeof text, "QBISAM: %.11s.INX (EOF: r=%ld)", icb->fname,
                      static_cast<long>(block));
        isam_operator.last_line(false, text, 1);
    }
}

/// True when the block's own numbers can be those of a sound tree of key `key`.
bool numbers_sound(const ix_block &block, const ix_plan &plan, int key) {
    return block.bkey == key && block.blevel >= 1 && block.blevel <= ix_max_level && block.bcount >= 1 &&
           block.bcount <= plan.korder;
}

/// The result of a search.
enum class outcome { found, absent, unsound };

/// Looks at a block on the climb without reading it in. True when the key may lie outside it, so that the
/// climb goes on to `up`; false when the block must be read in, or can't be looked at.
bool pass_by(ICB *icb, const ix_plan &plan, int key, std::int32_t number, int low, int high, int length,
             std::int32_t &up) {
    if (icb->cached != 0 || number == key) {
        return false;
    }
    const std::uint8_t *at =
        file_view_peek(icb->index_view, icb->ixfd, off_t{number} * ix_block_size, ix_block_size);
    if (at == nullptr) {
        return false;
    }
    const auto *block = reinterpret_cast<const ix_block *>(at);
    const int count = block->bcount;
    const int level = block->blevel;
    if (block->bkey != key || level < 2 || level >= ix_max_level || count < 1 || count > plan.korder) {
        return false;
    }
    if (ix_compare(plan, icb->skey, block->bentries, length) >= low &&
        ix_compare(plan, icb->skey, block->bentries + (count - 1) * plan.esize, length) <= high) {
        return false;
    }
    up = icb->path[level];
    return up >= 1;
}

/// Climbs from the current block to one that holds the place of the key, the root at the latest.
void climb(ICB *icb, const ix_plan &plan, int key, int low, int high, int length) {
    while (icb->curblk != key) {
        std::int32_t up = key;
        int level = ix_max_level;
        if (ix_block_sound(icb, key)) {
            if (ix_compare(plan, icb->skey, icb->blk.bentries, length) >= low &&
                ix_compare(plan, icb->skey, ix_entry(icb, plan, icb->blk.bcount - 1), length) <= high) {
                return;
            }
            level = icb->blk.blevel;
            up = icb->path[level];
            std::int32_t next = up;
            for (int steps = 0;
                 steps < ix_max_level && up >= 1 && pass_by(icb, plan, key, up, low, high, length, next);
                 ++steps) {
                up = next;
            }
            if (up < 1 || (up != key && !ix_block_exists(icb, up))) {
                up = key;
            }
        }
        IXRDIX(icb, up);
        if (up != key && (!ix_block_sound(icb, key) || icb->blk.blevel <= level)) {
            IXRDIX(icb, key);
        }
    }
}

/// Goes down from the current block. `result` is the pointer of the entry found.
outcome descend(ICB *icb, const ix_plan &plan, int key, ix_relation relation, int length,
                std::int32_t &result) {
    result = -1;
    for (;;) {
        if (!ix_block_sound(icb, key)) {
            return outcome::unsound;
        }
        const int count = icb->blk.bcount;
        int at =
            ix_locate(plan, icb->blk.bentries, count, icb->skey, length, relation == ix_relation::greater);
        if (relation == ix_relation::less) {
            icb->cur = ix_entry(icb, plan, at);
            if (at == 0) {
                return outcome::absent;
            }
            --at;
        }
        icb->cur = ix_entry(icb, plan, at);
        if (at == count) {
            // Only a key of all 0xFF can get here in a sound tree: it is not below the sentinel, and nothing
            // lies above it.
            return icb->curblk == key && relation == ix_relation::greater ? outcome::absent
                                                                          : outcome::unsound;
        }
        const std::int32_t pointer = ix_pointer(plan, icb->cur);
        if (icb->blk.blevel == 1) {
            if (relation == ix_relation::equal && ix_compare(plan, icb->skey, icb->cur, length) != 0) {
                return outcome::absent;
            }
            result = pointer;
            return pointer >= -1 ? outcome::found : outcome::unsound;
        }
        if (!ix_block_exists(icb, pointer)) {
            return outcome::unsound;
        }
        const int level = icb->blk.blevel;
        IXRDIX(icb, pointer);
        if (icb->curblk != pointer || icb->blk.blevel != level - 1) {
            return outcome::unsound;
        }
    }
}

/// The entry after the current one, when that is the key itself: the next step of a walk, without a search.
bool step_forward(ICB *icb, const ix_plan &plan, int key, int length, std::int32_t &result) {
    const std::ptrdiff_t offset = icb->cur - icb->blk.bentries;
    if (offset < 0 || icb->blk.blevel != 1 || length != plan.klen || !ix_block_sound(icb, key)) {
        return false;
    }
    const std::ptrdiff_t last = std::ptrdiff_t{icb->blk.bcount - 1} * plan.esize;
    if (offset + plan.esize > last || offset % plan.esize != 0 ||
        std::memcmp(icb->cur, icb->skey, static_cast<std::size_t>(plan.klen)) != 0 ||
        ix_compare(plan, icb->skey, icb->cur + plan.esize, length) >= 0) {
        return false;
    }
    result = ix_pointer(plan, icb->cur + plan.esize);
    if (result < -1) {
        return false;
    }
    icb->cur += plan.esize;
    return true;
}

/// An unsound block found while another process is at work in the tree may be sound a moment later.
struct patience {
    int attempts = 0;
    int quiet = 0;  // attempts in a row while nobody was at work

    /// Waits for such a moment to pass. False when what was found is damage.
    bool once_more(const ICB *icb) {
        if (icb->mode == ix_exclusive || ++attempts > 2000) {
            return false;
        }
        if (attempts <= 3) {
            return true;
        }
        if (file_lock(lock_action::test, icb->ixfd, 0, ix_block_size)) {
            return ++quiet < 8;
        }
        quiet = 0;
        usleep(1000);
        return true;
    }
};

}  // namespace

void ix_inconsistent(const ICB *icb) {
    isam_fatal("%-11.11s: %-19.19s --> %s", icb->fname, icb->fdesc, term_text(1, 234, "Niet consistent"));
}

bool ix_block_sound(const ICB *icb, int key) {
    return key >= 1 && key <= icb->nkeys && numbers_sound(icb->blk, icb->plan[key - 1], key);
}

bool ix_block_exists(ICB *icb, std::int32_t block) {
    if (block < 1 || block >= ix_block_limit) {
        return false;
    }
    if (block < icb->nblocks) {
        return true;
    }
    // Another user's update may have added blocks that the header in memory does not count, so the file
    // decides.
    return icb->mode != ix_exclusive && ((off_t{block} + 1) * ix_block_size <= icb->index_view.known ||
                                         (off_t{block} + 1) * ix_block_size <= file_fd_size(icb->ixfd));
}

void IXRDIX(ICB *icb, int block) {
    ix_demand(icb, "IXRDIX");
    if (icb->cached != 0) {
        if (block == 0) {
            file_read_at(icb->ixfd, static_cast<ix_header *>(icb), ix_header_size, 0);
            return;
        }
        IOCACHE(cache_action::read, icb, block);
    } else {
        if (icb->inupdate != 0) {
            ix_inconsistent(icb);
        }
        const int key = icb->blk.bkey >= 1 && icb->blk.bkey <= icb->nkeys ? icb->blk.bkey : 1;
        for (int failures = 0;;) {
            if (block == 0) {
                ix_header header;
                if (file_read_at(icb->ixfd, &header, ix_header_size, 0) == ix_header_size) {
                    *static_cast<ix_header *>(icb) = header;
                    return;
                }
            } else if (ix_read_block(icb, block, &icb->blk)) {
                icb->curblk = block;
                break;
            }
            if ((block == 0 || block == key) && ++failures == 2) {
                tell_missing_block(icb, block);
                ix_inconsistent(icb);
            }
            tell_missing_block(icb, block);
            if (block > 0) {
                block = key;
                icb->blk.bkey = static_cast<std::int8_t>(key);  // a short read may have left anything here
            }
        }
    }
    if (block == icb->nkeys + 1) {
        return;
    }
    const int level = icb->blk.blevel;
    if (level < 1 || level > ix_max_level) {
        return;
    }
    if (block == icb->blk.bkey) {
        icb->path[level] = -1;
    }
    if (level > 1) {
        icb->path[level - 1] = block;
    }
}

void IXWRIX(ICB *icb, int block) {
    ix_demand(icb, "IXWRIX");
    if (block == 0) {
        std::uint8_t bytes[ix_block_size] = {};
        std::memcpy(bytes, static_cast<const ix_header *>(icb), ix_header_size);
        ix_write_blocks(icb, 0, bytes, 1);
    } else if (icb->cached != 0) {
        IOCACHE(cache_action::write, icb, block);
    } else {
        ix_write_blocks(icb, block, &icb->blk, 1);
    }
}

void ix_root(ICB *icb, int k) {
    patience wait;
    do {
        icb->blk.bkey = static_cast<std::int8_t>(k);
        IXRDIX(icb, k);
        if (icb->blk.bkey == k) {
            return;
        }
    } while (wait.once_more(icb));
    ix_inconsistent(icb);
}

void IXSWITCH(ICB *icb, int k) {
    ix_demand(icb, "IXSWITCH");
    if (k >= 1 && k <= icb->nkeys && icb->blk.bkey != k) {
        ix_root(icb, k);
    }
}

int IXLOCKEY(ICB *icb, int length) {
    const ix_plan &plan = ix_current_plan(icb);
    const int count = std::min<int>(icb->blk.bcount, plan.korder);
    const int at = ix_locate(plan, icb->blk.bentries, count, icb->skey, length, false);
    icb->cur = ix_entry(icb, plan, at);
    return at;
}

std::int32_t IXSEARCH(ICB *icb, ix_relation relation, int length) {
    ix_demand(icb, "IXSEARCH");
    const int key = icb->blk.bkey >= 1 && icb->blk.bkey <= icb->nkeys ? icb->blk.bkey : 1;
    const ix_plan &plan = icb->plan[key - 1];
    if (icb->mode != ix_exclusive) {
        IXRDIX(icb, icb->curblk);
        if (icb->blk.bkey != key) {
            ix_root(icb, key);
        }
    }
    std::int32_t result = -1;
    if (relation == ix_relation::greater && step_forward(icb, plan, key, length, result)) {
        return result;
    }
    const bool forward = relation == ix_relation::greater;
    patience wait;
    for (;;) {
        climb(icb, plan, key, forward ? 0 : 1, forward ? -1 : 0, length);
        if (descend(icb, plan, key, relation, length, result) != outcome::unsound) {
            return result;
        }
        if (!wait.once_more(icb)) {
            ix_inconsistent(icb);
        }
        ix_root(icb, key);
    }
}
