// The proof that every search for a record ends at that record.
//
// Looking each record up costs a search a key. One walk through the tree of a key tells the same where all is
// well:
//
//   1  A block belongs to the key, lies one level below the block that points to it, and its last key is the
//      key that stands there.
//   2  The entries of all leaves ascend, and are those of the live records that they point to. At the end
//      stands the sentinel.
//   3  There are as many entries as live records. As no two are equal, each record has its own.
//
// A search for a key goes from a block to the child whose last key is the first one not below it, so it comes
// to the entry of the record. Anything else proves nothing, since another program may be at work in the tree.
#include <algorithm>
#include <vector>

#include "store/store_internal.h"

namespace {

constexpr std::int32_t entries_per_step = 256;

class tree_walk {
public:
    tree_walk(ICB *of, int number, int parts, const std::function<bool(std::int32_t)> &step)
        : icb(of),
          key(number),
          plan(of->plan[number - 1]),
          record(static_cast<std::size_t>(of->reclen)),
          told(step) {
        distinct = plan.klen;
        if (parts > 0) {
            distinct = 0;
            for (int s = 0; s < std::min(parts, plan.nsegs); s++) {
                distinct += plan.seg[s].length;
            }
        }
    }

    bool ascends() {
        return below(key, 0, nullptr, true);
    }
    [[nodiscard]] std::int32_t entries() const {
        return count;
    }
    [[nodiscard]] bool stopped() const {
        return broken_off;
    }

private:
    /// Goes through a block and what lies below it. `high` is the key in the block above.
    bool below(std::int32_t number, int level, const std::uint8_t *high, bool rightmost) {
        ix_block block;
        if (!ix_block_exists(icb, number) || !ix_read_block(icb, number, &block) || block.bkey != key ||
            block.blevel < 1 || block.blevel > ix_max_level || (level != 0 && block.blevel != level) ||
            block.bcount < 1 || block.bcount > plan.korder) {
            return false;
        }
        const std::uint8_t *last = block.bentries + (block.bcount - 1) * plan.esize;
        if (high != nullptr && std::memcmp(last, high, static_cast<std::size_t>(plan.klen)) != 0) {
            return false;
        }
        for (const std::uint8_t *entry = block.bentries; entry <= last; entry += plan.esize) {
            const bool at_end = rightmost && entry == last;
            const std::int32_t pointer = ix_pointer(plan, entry);
            if (block.blevel > 1 ? !below(pointer, block.blevel - 1, entry, at_end)
                : at_end         ? pointer != -1 || !is_sentinel(entry)
                                 : !take(entry, pointer)) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] bool is_sentinel(const std::uint8_t *entry) const {
        return std::all_of(entry, entry + plan.klen, [](std::uint8_t c) { return c == 0xFF; });
    }

    /// An entry of a leaf.
    bool take(const std::uint8_t *entry, std::int32_t pointer) {
        std::uint8_t own[ix_max_klen];
        if (pointer < 0 || pointer >= icb->nrecs || !ix_read_record(icb, record.data(), pointer) ||
            !ix_live(record.data(), icb->reclen)) {
            return false;
        }
        ix_build_key(plan, own, record.data(), pointer);
        const auto length = static_cast<std::size_t>(plan.klen);
        if (std::memcmp(own, entry, length) != 0 ||
            (count > 0 && ix_compare(plan, previous, entry, distinct) >= 0)) {
            return false;
        }
        std::memcpy(previous, entry, length);
        broken_off = ++count % entries_per_step == 0 && !told(count);
        return !broken_off;
    }

    ICB *icb;
    int key;
    const ix_plan &plan;
    int distinct;  ///< so many bytes of a key no two entries have alike
    std::vector<std::uint8_t> record;
    std::uint8_t previous[ix_max_klen];
    std::int32_t count = 0;
    bool broken_off = false;
    const std::function<bool(std::int32_t)> &told;
};

std::int32_t live_records(ICB *icb) {
    std::vector<std::uint8_t> record(static_cast<std::size_t>(icb->reclen));
    std::int32_t count = 0;
    for (std::int32_t number = 0; number < icb->nrecs; number++) {
        if (ix_read_record(icb, record.data(), number) && ix_live(record.data(), icb->reclen)) {
            count++;
        }
    }
    return count;
}

}  // namespace

ix_proof ix_prove(ICB *icb, int key, int parts, const std::function<bool(std::int32_t)> &step) {
    ix_demand(icb, "ix_prove");
    tree_walk walk(icb, key, parts, step);
    if (walk.ascends() && walk.entries() == live_records(icb)) {
        return ix_proof::proven;
    }
    return walk.stopped() ? ix_proof::stopped : ix_proof::none;
}
