// IXBLDIX: makes the index half anew from the data half and the definition in the old header.
//
// 1. Read and test the old header. Nothing is changed before it has passed.
// 2. Lock the whole pair. Write the new header, with all counts at their start and the mark of an unfinished
//    update, over the old one; then cut the index half. The mark shows when a rebuild has died. Without it, a
//    program that has the pair open would then go on as if the file were empty, and write its next record
//    over the first.
// 3. Read the data half once, in chunks. Link free records into the new chain. Gather the entries of the live
//    ones, separately for each key.
// 4. When the area for entries is full, and at the end: for each key put the gathered entries in key order,
//    and insert them in the tree through the block cache. In key order each leaf is visited once, whatever
//    the order of the records.
// 5. Write the cache, and on closing the header with its true counts.
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "store/store_internal.h"

// Keeps a rebuild below 64 megabytes in all.
std::size_t ix_rebuild_area = 56 << 20;

namespace {

constexpr char title[] = " ZUV - QB-ISAM  >>> IXBLDIX <<< %.11s ";
constexpr std::size_t chunk_least = 1024;
constexpr std::size_t chunk_most = 16384;
constexpr std::size_t area_least = 1 << 16;

/// An entry to be sorted: the first 8 bytes of its sorting form in which entries differ, and its place among
/// those gathered.
struct ranked {
    std::uint64_t rank;
    std::uint32_t at;
};

/// Entries gathered and not yet inserted: one area, with a part for the ranks and one for each key.
struct stretch {
    void *area = nullptr;
    std::size_t room = 0;  // records that fit
    std::size_t count = 0;
    ranked *ranks = nullptr;
    std::array<std::uint8_t *, ix_max_keys> entries{};

    bool reserve(const ICB *icb, std::size_t records) {
        std::size_t each = sizeof(ranked);
        for (int k = 0; k < icb->nkeys; ++k) {
            each += static_cast<std::size_t>(icb->plan[k].esize);
        }
        // No more than the records of the data half need.
        const std::size_t most = std::clamp((records + 1) * each, area_least, ix_rebuild_area);
        const std::size_t size = mem_largest(&area, area_least, most);
        room = size / each;
        if (size == 0) {
            return false;
        }
        ranks = static_cast<ranked *>(area);
        auto *next = reinterpret_cast<std::uint8_t *>(ranks + room);
        for (std::size_t k = 0; k < static_cast<std::size_t>(icb->nkeys); ++k) {
            entries[k] = next;
            next += room * static_cast<std::size_t>(icb->plan[k].esize);
        }
        return true;
    }

    void gather(const ICB *icb, const std::uint8_t *record, std::int32_t number) {
        for (std::size_t k = 0; k < static_cast<std::size_t>(icb->nkeys); ++k) {
            const ix_plan &plan = icb->plan[k];
            std::uint8_t *entry = entries[k] + count * static_cast<std::size_t>(plan.esize);
            ix_build_key(plan, entry, record, number);
            ix_set_pointer(plan, entry, number);
        }
        ++count;
    }
};

/// Where the sorting forms of the entries begin to differ.
int common_length(const ix_plan &plan, const std::uint8_t *entries, std::size_t count) {
    std::uint8_t first[ix_sort_max + 8];
    std::uint8_t other[ix_sort_max + 8];
    int common = ix_sort_bytes(plan, entries, first);
    const auto esize = static_cast<std::size_t>(plan.esize);
    for (std::size_t n = 1; n < count && common > 0; ++n) {
        ix_sort_bytes(plan, entries + n * esize, other);
        common = static_cast<int>(std::mismatch(first, first + common, other).first - first);
    }
    return common;
}

/// Fills in `ranks` in key order, equal keys in the order of their records.
void rank_entries(const ix_plan &plan, const std::uint8_t *entries, std::span<ranked> ranks) {
    const auto esize = static_cast<std::size_t>(plan.esize);
    bool ascending = true;
    for (std::size_t n = 0; n < ranks.size(); ++n) {
        ranks[n] = {0, static_cast<std::uint32_t>(n)};
        const std::uint8_t *entry = entries + n * esize;
        ascending = ascending && (n == 0 || ix_compare(plan, entry - esize, entry, plan.klen) < 0);
    }
    if (ascending) {
        return;
    }
    const int skip = common_length(plan, entries, ranks.size());
    for (ranked &one : ranks) {
        std::uint8_t bytes[ix_sort_max + 8];
        const int length = ix_sort_bytes(plan, entries + one.at * esize, bytes);
        std::fill_n(bytes + length, 8, std::uint8_t{0});
        std::memcpy(&one.rank, bytes + skip, sizeof one.rank);
        one.rank = boost::endian::big_to_native(one.rank);
    }
    std::sort(ranks.begin(), ranks.end(), [&](const ranked &a, const ranked &b) {
        if (a.rank != b.rank) {
            return a.rank < b.rank;
        }
        const int order = ix_compare(plan, entries + a.at * esize, entries + b.at * esize, plan.klen);
        return order != 0 ? order < 0 : a.at < b.at;
    });
}

/// Inserts entries that come in key order. The current leaf is written when the next entry lies outside it.
struct inserter {
    ICB *icb;
    const ix_plan &plan;
    int key_number;
    int at = 0;  // place after the entry inserted last
    bool in_leaf = false;
    bool changed = false;

    inserter(ICB *of, int key) : icb(of), plan(of->plan[key - 1]), key_number(key) {}

    void insert(const std::uint8_t *entry) {
        if (!in_leaf || !place_in_leaf(entry)) {
            leave();
            descend(entry);
        }
        if (icb->blk.bcount + 1 < plan.korder) {
            std::uint8_t *to = icb->blk.bentries + at * plan.esize;
            const int behind = (icb->blk.bcount - at) * plan.esize;
            std::memmove(to + plan.esize, to, static_cast<std::size_t>(behind));
            std::memcpy(to, entry, static_cast<std::size_t>(plan.esize));
            ++icb->blk.bcount;
            changed = true;
            ++at;
            return;
        }
        std::memcpy(icb->skey, entry, static_cast<std::size_t>(plan.klen));
        icb->newptr = ix_pointer(plan, entry);
        icb->cur = icb->blk.bentries + at * plan.esize;
        IXINSKEY(icb);
        in_leaf = false;
        changed = false;
    }

    /// Writes the current leaf.
    void leave() {
        if (changed) {
            IXWRIX(icb, icb->curblk);
            changed = false;
        }
        in_leaf = false;
    }

    /// Moves to the place of an entry in the current leaf, which is not before `at`. False when the place
    /// lies past the leaf, and when the entry equals the one inserted last: it goes before all its equals,
    /// and some of them may be in other leaves.
    bool place_in_leaf(const std::uint8_t *entry) {
        const int count = icb->blk.bcount;
        const std::uint8_t *last = icb->blk.bentries + (at - 1) * plan.esize;
        if (!plan.dups && ix_compare(plan, entry, last, plan.klen) == 0) {
            return false;
        }
        for (int step = 1;; step *= 2) {
            const int next = std::min(at + step, count) - 1;
            if (ix_compare(plan, entry, icb->blk.bentries + next * plan.esize, plan.klen) <= 0) {
                at +=
                    ix_locate(plan, icb->blk.bentries + at * plan.esize, next - at, entry, plan.klen, false);
                return true;
            }
            at = next + 1;
            if (at >= count) {
                return false;
            }
        }
    }

    void descend(const std::uint8_t *entry) {
        std::memcpy(icb->skey, entry, static_cast<std::size_t>(plan.klen));
        ix_root(icb, key_number);
        at = IXLOCKEY(icb, plan.klen);
        while (icb->blk.blevel > 1) {
            if (at >= icb->blk.bcount) {
                ix_inconsistent(icb);  // even a key of all 0xFF lies before the sentinel
            }
            IXRDIX(icb, ix_pointer(plan, icb->cur));
            at = IXLOCKEY(icb, plan.klen);
        }
        in_leaf = true;
    }
};

/// Inserts all that was gathered. False, after a warning, at the limit of block numbers.
bool insert_stretch(ICB *icb, stretch &gathered) {
    for (int k = 1; k <= icb->nkeys; ++k) {
        const ix_plan &plan = icb->plan[k - 1];
        const std::uint8_t *entries = gathered.entries[static_cast<std::size_t>(k - 1)];
        const std::span<ranked> ranks{gathered.ranks, gathered.count};
        rank_entries(plan, entries, ranks);
        inserter into(icb, k);
        for (const ranked &one : ranks) {
            if (icb->nblocks > ix_block_limit - (ix_max_level + 1)) {
                ix_flash(-1, term_text(1, 230, "Waarschuwing"),
                         term_text(1, 233, "Er kunnen niet meer index records aangemaakt worden !"));
                return false;
            }
            into.insert(entries + one.at * static_cast<std::size_t>(plan.esize));
        }
        into.leave();
    }
    gathered.count = 0;
    return true;
}

/// Links a free record into the new chain.
void link_free(ICB *icb, std::uint8_t *record, std::int32_t number) {
    if (icb->reclen < 5) {
        return;  // no room for the chain in the record
    }
    if (std::memcmp(record + 1, &icb->freehead, sizeof icb->freehead) != 0) {
        std::memcpy(record + 1, &icb->freehead, sizeof icb->freehead);
        ix_write_record(icb, record, number);
    }
    icb->freehead = number;
}

bool read_old_header(const ix_names &names, ix_header &header) {
    const int fd = ix_fd_open(names.index, O_RDONLY);
    if (fd < 0) {
        return false;
    }
    const bool whole = file_read_at(fd, &header, ix_header_size, 0) == ix_header_size;
    ix_fd_close(fd);
    return whole;
}

/// Opens the pair for the rebuild under the whole-file lock, and makes the data half if need be. While it
/// waits for the lock the operator is shown the file's name from `header`.
ICB *open_for_rebuild(const char *name, const ix_names &names, const ix_header &header) {
    const bool existed = file_exists(names.data);
    const int datfd = ix_fd_open(names.data, O_RDWR | O_CREAT);
    if (datfd < 0) {
        isam_fatal("%s : %s%s", existed ? "File open mislukt" : "File create mislukt", names.data,
                   disk_full_text(errno));
    }
    const int ixfd = ix_fd_open(names.index, O_RDWR);
    if (ixfd < 0) {
        isam_fatal("File create mislukt : %s", names.index);
    }
    ICB *icb = ix_new_icb(name, names, ixfd, datfd, ix_exclusive);
    static_cast<ix_header &>(*icb) = header;
    IXLOCK(icb, ix_lock_file);
    return icb;
}

/// Closes the pair without writing its header.
void give_back(ICB *icb) {
    IXLOCK(icb, ix_unlock_file);
    ix_free_icb(icb);
}

/// Steps 3 and 4. `recno` is the number of records afterwards.
bool read_records(ICB *icb, stretch &gathered, std::span<std::uint8_t> chunk, std::uint32_t total) {
    const auto reclen = static_cast<std::size_t>(icb->reclen);
    std::int32_t number = 0;
    for (std::uint32_t step = 1;; ++step) {
        const ssize_t got =
            file_read_at(icb->datfd, chunk.data(), chunk.size(), off_t{number} * static_cast<off_t>(reclen));
        if (got < 0) {
            ix_disk_failed(icb, false);
        }
        const std::size_t records = static_cast<std::size_t>(got) / reclen;
        if (records == 0) {
            break;
        }
        ix_progress(1, step, total, title, icb->fname);
        for (std::size_t n = 0; n < records; ++n, ++number) {
            std::uint8_t *record = chunk.data() + n * reclen;
            if (!ix_live(record, icb->reclen)) {
                link_free(icb, record, number);
                continue;
            }
            gathered.gather(icb, record, number);
            if (gathered.count == gathered.room && !insert_stretch(icb, gathered)) {
                return false;
            }
        }
    }
    icb->recno = number;
    return insert_stretch(icb, gathered);
}

/// Makes the index half anew from the header in the ICB and `data_size` bytes of records, and closes the
/// pair. False at the limit of block numbers; the mark of the unfinished update then stays on disk.
bool build_index(ICB *icb, stretch &gathered, std::span<std::uint8_t> chunk, off_t data_size) {
    const std::string name(icb->fname, strnlen(icb->fname, sizeof icb->fname));
    if (IOCACHE(cache_action::init, icb, 0) == 0) {
        isam_fatal("%s", term_text(1, 226, "Onvoldoende geheugen voor ixremake"));
    }
    ix_initial_image(icb, true);
    ix_cut_index(icb);

    const auto total = static_cast<std::uint32_t>(static_cast<std::size_t>(data_size) / chunk.size() + 1);
    ix_progress(0, 0, total, title, name.c_str());
    const bool done = read_records(icb, gathered, chunk, total);
    if (done) {
        ix_progress(1, total, total, title, name.c_str());
        icb->nrecs = icb->recno;
        icb->inupdate = 0;
    }
    IOCACHE(cache_action::finish, icb, 0);
    if (done) {
        IXCLOSE(icb);
    } else {
        give_back(icb);
    }
    ix_progress(2, total, total, title, name.c_str());
    return done;
}

}  // namespace

bool IXBLDIX(const char *name) {
    ix_names names;
    ix_header header;
    if (!ix_resolve(name, names)) {
        return false;
    }
    std::snprintf(names.index, sizeof names.index, "%s.INX", name);
    std::snprintf(names.data, sizeof names.data, "%s.TXT", name);
    names.temporary = false;
    if (!read_old_header(names, header)) {
        return false;
    }
    // The definition is tested in its final form: at most five keys, with their orders computed.
    ICB trial{};
    static_cast<ix_header &>(trial) = header;
    ix_limit_keys(&trial);
    if (!ix_definition_sound(trial)) {
        return false;
    }
    const off_t reclen = header.reclen;
    const off_t present = file_size(names.data);
    if (present > INT_MAX || (present > 0 && present % reclen != 0)) {
        return false;
    }
    void *buffer = nullptr;
    const std::size_t buffer_size = mem_largest(&buffer, chunk_least, chunk_most);
    stretch gathered;
    if (buffer_size == 0 ||
        !gathered.reserve(&trial, static_cast<std::size_t>(std::max(present, off_t{0}) / reclen))) {
        std::free(buffer);
        return false;
    }

    ICB *icb = open_for_rebuild(name, names, trial);
    // Until the lock was granted others may have changed the pair, or even made it anew.
    const off_t data_size = file_fd_size(icb->datfd);
    ICB now{};
    file_read_at(icb->ixfd, static_cast<ix_header *>(&now), ix_header_size, 0);
    ix_limit_keys(&now);
    bool done = ix_same_definition(now, trial) && data_size % reclen == 0 && data_size <= INT_MAX;
    if (done) {
        const std::size_t chunk =
            buffer_size / static_cast<std::size_t>(reclen) * static_cast<std::size_t>(reclen);
        done = build_index(icb, gathered, {static_cast<std::uint8_t *>(buffer), chunk}, data_size);
    } else {
        give_back(icb);
    }
    std::free(gathered.area);
    std::free(buffer);
    return done;
}
