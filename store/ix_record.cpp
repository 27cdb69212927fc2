// Reading: by key, along a key, by record number.
//
// A walk that meets an entry whose record is dead, which only a damaged file has, goes on from that entry's
// own key. Keys always rise (or always fall) from step to step, so a walk ends in any tree.
#include <climits>

#include "store/store_internal.h"

namespace {

bool record_live(ICB *icb, void *record) {
    return ix_read_record(icb, record, icb->recno) && ix_live(record, icb->reclen);
}

/// Finds a key over `length` bytes, or else the next one after it.
std::int32_t first_from(ICB *icb, int length) {
    const std::int32_t found = IXSEARCH(icb, ix_relation::equal, length);
    return found >= 0 ? found : IXSEARCH(icb, ix_relation::greater, length);
}

/// Finds the key before `skey`. The search for the key itself makes its leaf current.
std::int32_t step_back(ICB *icb, int length) {
    IXSEARCH(icb, ix_relation::equal, length);
    return IXSEARCH(icb, ix_relation::less, length);
}

/// Ends a step of a walk: goes on to a live record whose key still has the first `parts` segments of `skey`.
bool walk_to_record(ICB *icb, void *record, int parts, bool forward) {
    const int klen = ix_current_plan(icb).klen;
    const int group = parts > 0 ? IXKEYLEN(icb, parts) : 0;
    std::uint8_t start[ix_max_klen];
    std::memcpy(start, icb->skey, sizeof start);
    std::int32_t left = icb->nrecs;  // entries out of order can lead round in a circle
    while (icb->recno >= 0) {
        if (group > 0 && IXCOMP(icb, start, icb->cur, group) != 0) {
            icb->recno = -1;
            break;
        }
        if (record_live(icb, record)) {
            break;
        }
        if (left-- <= 0) {
            icb->recno = -1;
            break;
        }
        std::memcpy(icb->skey, icb->cur, static_cast<std::size_t>(klen));
        icb->recno = forward ? IXSEARCH(icb, ix_relation::greater, klen) : step_back(icb, klen);
    }
    return icb->recno >= 0;
}

/// Ends a step by partial key: the segments before the last one must be the same; the key goes into the
/// record.
bool key_to_record(ICB *icb, void *record, int parts) {
    if (icb->recno >= 0 && parts > 1 && IXCOMP(icb, icb->skey, icb->cur, IXKEYLEN(icb, parts - 1)) != 0) {
        icb->recno = -1;
    }
    if (icb->recno < 0) {
        return false;
    }
    IXKEYTOREC(icb, record);
    return true;
}

int build_partial(ICB *icb, const void *record, int parts) {
    const int length = IXKEYLEN(icb, parts);
    IXBLDKEY(icb, record, length);
    return length;
}

void build_whole(ICB *icb, const void *record) {
    ix_build_key(ix_current_plan(icb), icb->skey, static_cast<const std::uint8_t *>(record), icb->recno);
}

/// Whether the key is really absent. A search during another user's update may miss a key that is there;
/// under the header lock no update can be under way.
bool truly_absent(ICB *icb, int klen) {
    if (icb->flocked != 0) {
        return true;
    }
    IXLOCK(icb, ix_lock_header);
    ix_root(icb, icb->blk.bkey);
    const bool absent = IXSEARCH(icb, ix_relation::equal, klen) < 0;
    IXLOCK(icb, ix_unlock_header);
    return absent;
}

}  // namespace

bool ix_live(const void *record, int reclen) {
    const auto *bytes = static_cast<const std::uint8_t *>(record);
    if (bytes[0] != 0xFF) {
        return true;
    }
    for (int at = reclen - 1; at >= 5; --at) {
        if (bytes[at] != 0xFF) {
            return true;
        }
    }
    return false;
}

bool IXFIND(ICB *icb, const void *record) {
    ix_demand(icb, "IXFIND");
    build_whole(icb, record);
    icb->recno = IXSEARCH(icb, ix_relation::equal, ix_current_plan(icb).klen);
    return icb->recno >= 0;
}

bool IXFINDP(ICB *icb, const void *record, int parts) {
    ix_demand(icb, "IXFINDP");
    const int length = build_partial(icb, record, parts);
    icb->recno = IXSEARCH(icb, ix_relation::equal, length);
    return icb->recno >= 0;
}

bool IXREAD(ICB *icb, void *record) {
    ix_demand(icb, "IXREAD");
    return IXFIND(icb, record) && record_live(icb, record);
}

// Between the search and the grant of the lock another user may have written or deleted the key. So the
// search is repeated under the lock, and the lock is given up when it no longer fits what is found.
bool IXREADLOCK(ICB *icb, void *record) {
    ix_demand(icb, "IXREADLOCK");
    build_whole(icb, record);
    const int klen = ix_current_plan(icb).klen;
    for (;;) {
        icb->recno = IXSEARCH(icb, ix_relation::equal, klen);
        if (icb->mode == ix_readonly || icb->flocked != 0) {
            break;
        }
        if (icb->recno >= 0) {
            if (!IXLOCK(icb, ix_lock_record)) {
                continue;
            }
            const std::int32_t locked = icb->recno;
            if (IXSEARCH(icb, ix_relation::equal, klen) == locked) {
                break;
            }
            IXLOCK(icb, ix_unlock_record);
        } else if (IXLOCK(icb, ix_lock_key)) {
            if (truly_absent(icb, klen)) {
                break;
            }
            IXLOCK(icb, ix_unlock_key);
        }
    }
    return icb->recno >= 0 && record_live(icb, record);
}

bool IXFIRSTR(ICB *icb, void *record, int parts) {
    ix_demand(icb, "IXFIRSTR");
    icb->recno = 0;
    build_whole(icb, record);
    icb->recno = first_from(icb, ix_current_plan(icb).klen);
    return walk_to_record(icb, record, parts, true);
}

bool IXFIRST(ICB *icb, void *record) {
    ix_demand(icb, "IXFIRST");
    return IXFIRSTR(icb, record, 0);
}

bool IXNEXTR(ICB *icb, void *record, int parts) {
    ix_demand(icb, "IXNEXTR");
    build_whole(icb, record);
    icb->recno = IXSEARCH(icb, ix_relation::greater, ix_current_plan(icb).klen);
    return walk_to_record(icb, record, parts, true);
}

bool IXNEXT(ICB *icb, void *record) {
    ix_demand(icb, "IXNEXT");
    return IXNEXTR(icb, record, 0);
}

bool IXPREVR(ICB *icb, void *record, int parts) {
    ix_demand(icb, "IXPREVR");
    build_whole(icb, record);
    icb->recno = step_back(icb, ix_current_plan(icb).klen);
    return walk_to_record(icb, record, parts, false);
}

bool IXPREV(ICB *icb, void *record) {
    ix_demand(icb, "IXPREV");
    return IXPREVR(icb, record, 0);
}

bool IXFIRSTK(ICB *icb, void *record, int parts) {
    ix_demand(icb, "IXFIRSTK");
    icb->recno = first_from(icb, build_partial(icb, record, parts));
    return key_to_record(icb, record, parts);
}

bool IXNEXTK(ICB *icb, void *record, int parts) {
    ix_demand(icb, "IXNEXTK");
    const int length = build_partial(icb, record, parts);
    icb->recno = IXSEARCH(icb, ix_relation::greater, length);
    return key_to_record(icb, record, parts);
}

bool IXPREVK(ICB *icb, void *record, int parts) {
    ix_demand(icb, "IXPREVK");
    icb->recno = step_back(icb, build_partial(icb, record, parts));
    return key_to_record(icb, record, parts);
}

bool IXSKIP(ICB *icb, void *record, int parts, int n, std::int32_t *position) {
    ix_demand(icb, "IXSKIP");
    std::uint8_t saved[ix_max_reclen];
    const auto size = static_cast<std::size_t>(icb->reclen);
    std::memcpy(saved, record, size);
    icb->recno = *position;
    if (icb->recno < 0 || !record_live(icb, record)) {
        std::memcpy(record, saved, size);
        if (n == 0) {
            n = 1;
        }
    }
    const bool forward = n > 0;
    for (long left = forward ? n : -static_cast<long>(n); left > 0; --left) {
        if (!(forward ? IXNEXTK(icb, record, parts) : IXPREVK(icb, record, parts))) {
            break;
        }
        *position = icb->recno;
    }
    return icb->recno >= 0 && record_live(icb, record);
}

int IXGET(ICB *icb, void *record, std::int32_t number) {
    ix_demand(icb, "IXGET");
    if (number < 0 || number >= icb->nrecs) {
        return -1;
    }
    icb->recno = number;
    return record_live(icb, record) ? 1 : 0;
}
