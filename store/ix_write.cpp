// Writing and deleting records.
//
// An update of a shared file runs under the header lock and has three stages on disk: block 0 with `inupdate`
// 1; the index blocks and the record; block 0 with the new counts and `inupdate` 0. A process that dies in
// between leaves the mark, and the file is then refused until it is rebuilt.
//
// Whether a key exists is decided under that lock. What the caller saw before may have changed, unless it
// holds the record or has reserved the key.
#include "store/store_internal.h"

namespace {

void mark_update(ICB *icb) {
    ++icb->inupdate;
    IXWRIX(icb, 0);
    --icb->inupdate;
}

/// A writer that died in exclusive mode leaves blocks and records that the header doesn't count. A new one
/// would overwrite them, so such a file can be read but not written. In the temporary flavour the data half
/// may belong to another pair, so its length is not tested.
void demand_length(ICB *icb) {
    if (icb->measured == 0) {
        if (file_fd_size(icb->ixfd) != off_t{icb->nblocks} * ix_block_size || icb->nblocks < icb->nkeys + 2 ||
            (icb->tempfile == 0 && file_fd_size(icb->datfd) != off_t{icb->nrecs} * icb->reclen)) {
            ix_inconsistent(icb);
        }
        icb->measured = icb->mode == ix_exclusive ? 1 : 0;
    }
}

void begin_update(ICB *icb) {
    if (icb->mode != ix_exclusive) {
        IXLOCK(icb, ix_lock_header);
        ix_refresh_header(icb);
    }
    demand_length(icb);
    if (icb->mode != ix_exclusive) {
        mark_update(icb);
    }
}

void end_update(ICB *icb) {
    if (icb->mode != ix_exclusive) {
        IXWRIX(icb, 0);
        IXLOCK(icb, ix_unlock_header);
    }
}

/// Makes key `k` current. Shared trees are entered at the root, since the remembered way up from the current
/// block may be out of date.
void enter_key(ICB *icb, int k) {
    if (icb->mode == ix_exclusive) {
        IXSWITCH(icb, k);
    } else {
        ix_root(icb, k);
    }
}

/// False, after a warning, when an update might run past the last block number.
bool room_for_blocks(ICB *icb) {
    const int most = icb->nkeys * (ix_max_level + 1);
    if (icb->nblocks <= ix_block_limit - most) {
        return true;
    }
    ix_flash(-1, term_text(1, 230, "Waarschuwing"),
             term_text(1, 233, "Er kunnen niet meer index records aangemaakt worden !"));
    return false;
}

/// Inserts the entry of key `k` for record `recno`, unless a damaged tree holds it already.
void add_key(ICB *icb, int k, const std::uint8_t *key) {
    enter_key(icb, k);
    const ix_plan &plan = icb->plan[k - 1];
    std::memcpy(icb->skey, key, static_cast<std::size_t>(plan.klen));
    if (IXSEARCH(icb, ix_relation::equal, plan.klen) != icb->recno) {
        icb->newptr = icb->recno;
        IXINSKEY(icb);
    }
}

/// Deletes the entry of key `k` for record `recno`, if there is one.
void drop_key(ICB *icb, int k, const std::uint8_t *key) {
    enter_key(icb, k);
    const ix_plan &plan = icb->plan[k - 1];
    std::memcpy(icb->skey, key, static_cast<std::size_t>(plan.klen));
    if (ix_find_entry(icb, icb->recno)) {
        IXDELKEY(icb, icb->recno);
    }
}

bool update_record(ICB *icb, const std::uint8_t *record) {
    if (!room_for_blocks(icb)) {
        return false;
    }
    if (icb->recno >= icb->nrecs) {
        ix_inconsistent(icb);  // the entry leads out of the file
    }
    std::uint8_t old[ix_max_reclen];
    ix_read_record(icb, old, icb->recno);
    const bool known = ix_live(old, icb->reclen);
    for (int k = 1; k <= icb->nkeys; ++k) {
        const ix_plan &plan = icb->plan[k - 1];
        std::uint8_t key[ix_max_klen];
        std::uint8_t before[ix_max_klen];
        ix_build_key(plan, key, record, icb->recno);
        ix_build_key(plan, before, old, icb->recno);
        if (known && ix_compare(plan, key, before, plan.klen) == 0) {
            continue;
        }
        if (known && k == 1) {
            ix_inconsistent(icb);  // it leads to another record, which would be lost
        }
        if (known) {
            drop_key(icb, k, before);
        }
        add_key(icb, k, key);
    }
    ix_write_record(icb, record, icb->recno);
    return true;
}

/// Takes the first free record. False when another program keeps it locked. That program may be waiting for
/// the header, which is held here, while it still has the lock of a record that a third one deleted: neither
/// would ever give way.
bool pop_free_record(ICB *icb) {
    constexpr int patience = 3;
    if (icb->freehead < 0 || icb->freehead >= icb->nrecs) {
        ix_inconsistent(icb);
    }
    icb->recno = icb->freehead;
    int refused = 0;
    while (!IXLOCK(icb, ix_lock_record)) {
        if (++refused == patience) {
            return false;
        }
    }
    std::uint8_t work[ix_max_reclen];
    std::int32_t next;
    if (!ix_read_record(icb, work, icb->recno) || ix_live(work, icb->reclen)) {
        ix_inconsistent(icb);
    }
    std::memcpy(&next, work + 1, sizeof next);
    next = boost::endian::little_to_native(next);
    if (next < -1 || next >= icb->nrecs) {
        ix_inconsistent(icb);
    }
    icb->freehead = next;
    return true;
}

bool insert_record(ICB *icb, const std::uint8_t *record) {
    if (!room_for_blocks(icb)) {
        return false;
    }
    if (icb->freehead == -1 || !pop_free_record(icb)) {
        icb->recno = icb->nrecs;
        icb->nrecs = icb->recno + 1;
        IXLOCK(icb, ix_lock_record);
    }
    for (int k = 1; k <= icb->nkeys; ++k) {
        std::uint8_t key[ix_max_klen];
        ix_build_key(icb->plan[k - 1], key, record, icb->recno);
        add_key(icb, k, key);
    }
    ix_write_record(icb, record, icb->recno);
    // The caller may have reserved the key.
    ix_build_key(icb->plan[0], icb->skey, record, icb->recno);
    IXLOCK(icb, ix_unlock_key);
    return true;
}

bool write_by_key(ICB *icb, const void *record, bool release) {
    if (icb->mode == ix_readonly) {
        ix_flash(-1, term_text(1, 230, "Waarschuwing"),
                 term_text(1, 244, "IXWRITE op een bestand dat READ-ONLY geopend is"));
        return true;
    }
    const auto *bytes = static_cast<const std::uint8_t *>(record);
    const int noted = icb->blk.bkey;
    begin_update(icb);
    enter_key(icb, 1);
    const bool done = IXFIND(icb, record) ? update_record(icb, bytes) : insert_record(icb, bytes);
    end_update(icb);
    if (icb->mode == ix_shared && release) {
        IXLOCK(icb, ix_unlock_record);
    }
    IXSWITCH(icb, noted);
    return done;
}

/// The header on disk; that of the ICB stays as it is.
ix_header header_on_disk(ICB *icb) {
    ix_header header;
    if (!file_view_read(icb->index_view, icb->ixfd, 0, &header, ix_header_size) ||
        header.version != ix_version) {
        const ix_header before = *icb;
        IXRDIX(icb, 0);
        header = *icb;
        *static_cast<ix_header *>(icb) = before;
    }
    return header;
}

}  // namespace

void ix_refresh_header(ICB *icb) {
    const ix_header header = header_on_disk(icb);
    const bool defined_alike = ix_same_definition(header, *icb);
    *static_cast<ix_header *>(icb) = header;
    // A pair that was made anew with other keys is not the one that was opened.
    if (header.inupdate != 0 || !defined_alike || header.nblocks < header.nkeys + 2 ||
        header.nblocks > ix_block_limit || header.nrecs < 0 || header.freehead < -1 ||
        header.freehead >= header.nrecs) {
        ix_inconsistent(icb);
    }
}

bool IXWRITE(ICB *icb, const void *record) {
    ix_demand(icb, "IXWRITE");
    return write_by_key(icb, record, true);
}

bool IXWRITEK(ICB *icb, const void *record) {
    ix_demand(icb, "IXWRITEK");
    return write_by_key(icb, record, false);
}

bool IXREWRITE(ICB *icb, const void *record) {
    ix_demand(icb, "IXREWRITE");
    IXWRDAT(icb, record);
    IXLOCK(icb, ix_unlock_record);
    return true;
}

// The record on disk decides which entries are deleted; `record` only identifies it by key 1. A record that
// is gone, or has become another one, is left alone.
bool IXDELETE(ICB *icb, const void *record) {
    ix_demand(icb, "IXDELETE");
    const int noted = icb->blk.bkey;
    IXLOCK(icb, ix_lock_header);
    if (icb->mode != ix_exclusive) {
        ix_refresh_header(icb);  // in exclusive mode the counts in memory are ahead of those on disk
    }
    demand_length(icb);
    mark_update(icb);
    const int reclen = icb->reclen;
    std::uint8_t old[ix_max_reclen];
    std::uint8_t key[ix_max_klen];
    std::uint8_t key1[ix_max_klen];
    bool ours = icb->recno >= 0 && icb->recno < icb->nrecs && ix_read_record(icb, old, icb->recno) &&
                ix_live(old, reclen);
    if (ours) {
        ix_build_key(icb->plan[0], key, static_cast<const std::uint8_t *>(record), icb->recno);
        ix_build_key(icb->plan[0], key1, old, icb->recno);
        ours = ix_compare(icb->plan[0], key, key1, icb->plan[0].klen) == 0;
    }
    if (ours) {
        for (int k = icb->nkeys; k >= 1; --k) {
            ix_build_key(icb->plan[k - 1], key, old, icb->recno);
            drop_key(icb, k, key);
        }
        std::memset(old, 0xFF, static_cast<std::size_t>(reclen));
        // Records below 5 bytes have no room for the chain; they become usable again at the next rebuild.
        const bool chained = reclen >= 5;
        if (chained) {
            std::memcpy(old + 1, &icb->freehead, sizeof icb->freehead);
        }
        ix_write_record(icb, old, icb->recno);
        if (chained) {
            icb->freehead = icb->recno;
        }
    }
    IXLOCK(icb, ix_unlock_record);
    IXWRIX(icb, 0);
    IXLOCK(icb, ix_unlock_header);
    IXSWITCH(icb, noted);
    return false;
}

void IXFREE(ICB *icb, const void *record) {
    ix_demand(icb, "IXFREE");
    if (icb->mode != ix_readonly) {
        IXLOCK(icb, IXFIND(icb, record) ? ix_unlock_record : ix_unlock_key);
    }
}
