// Write-back cache of 50 index blocks for bulk work in exclusive mode.
//
// Slot k - 1 belongs to the root of key k and is never evicted. The others serve all blocks. Each access to
// one of them makes all the others one step older. When they are full, those clearly older than the average
// are evicted, so that one eviction makes room for many blocks. Blocks that follow each other on disk go in
// one write.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "store/store_internal.h"

namespace {

constexpr int slot_count = 50;
constexpr int fresh_age = 100;

ix_block *memory = nullptr;
std::array<std::int32_t, slot_count> cblock;  // block held, 0 for a free slot
std::array<std::int32_t, slot_count> cage;
std::array<std::uint8_t, slot_count> cdirty;

/// Writes slots in the order of their blocks.
void write_slots(ICB *icb, std::array<int, slot_count> &slots, int count) {
    static std::array<ix_block, slot_count> run;
    std::sort(slots.begin(), slots.begin() + count, [](int a, int b) {
        return cblock[static_cast<std::size_t>(a)] < cblock[static_cast<std::size_t>(b)];
    });
    for (int from = 0; from < count;) {
        const std::int32_t first = cblock[static_cast<std::size_t>(slots[static_cast<std::size_t>(from)])];
        int length = 0;
        while (from < count) {
            const auto slot = static_cast<std::size_t>(slots[static_cast<std::size_t>(from)]);
            if (cblock[slot] != first + length) {
                break;
            }
            run[static_cast<std::size_t>(length)] = memory[slot];
            cdirty[slot] = 0;
            ++length;
            ++from;
        }
        ix_write_blocks(icb, first, run.data(), length);
    }
}

/// Evicts the slots at or below an age; returns the lowest slot freed.
int evict(ICB *icb, int threshold) {
    std::array<int, slot_count> dirty;
    std::array<int, slot_count> gone;
    int dirty_count = 0;
    int gone_count = 0;
    for (int s = slot_count - 1; s >= icb->nkeys; --s) {
        const auto slot = static_cast<std::size_t>(s);
        if (cage[slot] > threshold) {
            continue;
        }
        gone[static_cast<std::size_t>(gone_count++)] = s;
        if (cdirty[slot] != 0) {
            dirty[static_cast<std::size_t>(dirty_count++)] = s;
        }
    }
    write_slots(icb, dirty, dirty_count);
    for (int n = 0; n < gone_count; ++n) {
        cblock[static_cast<std::size_t>(gone[static_cast<std::size_t>(n)])] = 0;
    }
    return gone_count == 0 ? -1 : gone[static_cast<std::size_t>(gone_count - 1)];
}

/// The slot for a block; `hit` tells whether it is there already.
std::size_t find_slot(ICB *icb, std::int32_t block, bool &hit) {
    hit = true;
    if (block <= icb->nkeys) {
        return static_cast<std::size_t>(block - 1);
    }
    int found = -1;
    int free_slot = -1;
    std::int64_t sum = 0;
    for (int s = icb->nkeys; s < slot_count; ++s) {
        const auto slot = static_cast<std::size_t>(s);
        if (cblock[slot] == block) {
            found = s;
        }
        if (free_slot < 0 && cblock[slot] == 0) {
            free_slot = s;
        }
        sum += cage[slot];
        --cage[slot];
    }
    if (found >= 0) {
        return static_cast<std::size_t>(found);
    }
    hit = false;
    if (free_slot < 0) {
        free_slot = evict(icb, static_cast<int>(sum / slot_count));
        if (free_slot < 0) {
            // All ages are equal and above the threshold, which happens only when the average is very high.
            free_slot =
                static_cast<int>(std::min_element(cage.begin() + icb->nkeys, cage.end()) - cage.begin());
            evict(icb, cage[static_cast<std::size_t>(free_slot)]);
        }
    }
    return static_cast<std::size_t>(free_slot);
}

void finish(ICB *icb) {
    std::array<int, slot_count> dirty;
    int count = 0;
    for (int s = 0; s < slot_count; ++s) {
        if (cdirty[static_cast<std::size_t>(s)] != 0) {
            dirty[static_cast<std::size_t>(count++)] = s;
        }
    }
    write_slots(icb, dirty, count);
    icb->cached = 0;
    std::free(memory);
    memory = nullptr;
}

}  // namespace

int IOCACHE(cache_action action, ICB *icb, int block) {
    ix_demand(icb, "IOCACHE");
    if (action == cache_action::init) {
        std::free(memory);
        memory = static_cast<ix_block *>(std::calloc(slot_count, sizeof(ix_block)));
        cblock = {};
        cage = {};
        cdirty = {};
        icb->cached = memory != nullptr ? 1 : 0;
        std::fill(std::begin(icb->path), std::end(icb->path), -1);
        return icb->cached;
    }
    if (memory == nullptr) {
        return 0;
    }
    if (action == cache_action::finish) {
        finish(icb);
        return 1;
    }
    if (block < 1 || block >= ix_block_limit) {
        ix_inconsistent(icb);
    }
    bool hit = false;
    const std::size_t slot = find_slot(icb, block, hit);
    if (action == cache_action::write) {
        memory[slot] = icb->blk;
        cdirty[slot] = 1;
    } else {
        if (hit) {
            icb->blk = memory[slot];
        } else {
            if (!ix_read_block(icb, block, &icb->blk)) {
                ix_inconsistent(icb);
            }
            memory[slot] = icb->blk;
            cdirty[slot] = 0;
        }
        icb->curblk = block;
    }
    cblock[slot] = block;
    cage[slot] = fresh_age;
    return 1;
}
