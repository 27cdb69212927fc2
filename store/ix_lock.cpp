// Locks between users: byte ranges of the two halves, and the queue of reserved keys in the lock block.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "store/store_internal.h"

namespace {

void wait_plainly(ICB *icb) {
    if (isam_operator.last_line == nullptr) {
        sleep(2);
        return;
    }
    char text[120];
    std::snprintf(text, sizeof text, "%-11.11s: %-19.19s --> %s", icb->fname, icb->fdesc,
                  term_text(1, 15, "Informatie in gebruik op ander scherm"));
    isam_operator.last_line(true, text, 2);
}

bool range_lock_soon(lock_action action, const ICB *icb, int fd, off_t start, off_t length) {
    return file_lock_soon([&] { return ix_range_lock(action, icb, fd, start, length); });
}

void lock_until_granted(lock_action action, ICB *icb, int fd, off_t start, off_t length) {
    while (!ix_trylock(action, icb, fd, start, length)) {
    }
}

/// Locks both halves. A program that updates the file holds the header while it tries to lock a free record.
/// Waiting for the header with all records locked would never end, so they are given up during the wait.
void lock_whole_file(ICB *icb) {
    for (;;) {
        if (icb->tempfile == 0) {
            lock_until_granted(lock_action::sole, icb, icb->datfd, 0, 0);
        }
        if (icb->flocked != 0 || range_lock_soon(lock_action::exclusive, icb, icb->ixfd, 0, ix_block_size)) {
            icb->flocked = 1;
            return;
        }
        if (icb->tempfile == 0) {
            ix_range_lock(lock_action::unlock, icb, icb->datfd, 0, 0);
        }
        ix_lock_wait(icb);
    }
}

/// The lock block, locked while it is looked at. The block that was current is current again at the end.
struct lock_queue {
    ICB *icb;
    std::int32_t noted;
    int key;
    int number;
    int klen;
    int count = 0;
    int found = -1;

    explicit lock_queue(ICB *of)
        : icb(of), noted(of->curblk), key(of->blk.bkey), number(of->nkeys + 1), klen(of->plan[0].klen) {
        lock_until_granted(lock_action::exclusive, icb, icb->ixfd, range(), ix_block_size);
        IXRDIX(icb, number);
        if (icb->curblk != number) {
            ix_inconsistent(icb);  // the half ends before its lock block, and a root was read instead
        }
        count = std::min<int>(icb->blk.bcount, ix_entry_bytes / klen);
        for (int n = 0; n < count && found < 0; ++n) {
            if (ix_compare(icb->plan[0], icb->skey, image(n), klen) == 0) {
                found = n;
            }
        }
    }

    void leave() const {
        ix_range_lock(lock_action::unlock, icb, icb->ixfd, range(), ix_block_size);
        IXRDIX(icb, noted);
        if (icb->blk.bkey != key && key >= 1) {
            ix_root(icb, key);  // a rebuild meanwhile gave the block to another key or removed it
        }
    }

    off_t range() const {
        return off_t{number} * ix_block_size;
    }

    std::uint8_t *image(int n) const {
        return icb->blk.bentries + n * klen;
    }

    void write() const {
        icb->blk.bcount = static_cast<std::uint8_t>(count);
        IXWRIX(icb, number);
    }
};

/// False when another program has the key reserved.
bool try_reserve_key(ICB *icb) {
    lock_queue queue(icb);
    if (queue.found >= 0) {
        queue.leave();
        errno = EAGAIN;
        return false;
    }
    if (queue.klen * (queue.count + 1) > ix_entry_bytes) {
        isam_fatal("%-11.11s: %-19.19s --> %s.", icb->fname, icb->fdesc, term_text(1, 236, "Lock queue vol"));
    }
    std::memcpy(queue.image(queue.count), icb->skey, static_cast<std::size_t>(queue.klen));
    ++queue.count;
    queue.write();
    queue.leave();
    return true;
}

bool reserve_key(ICB *icb) {
    if (file_lock_soon([icb] { return try_reserve_key(icb); })) {
        return true;
    }
    ix_lock_wait(icb);
    return false;
}

void release_key(ICB *icb) {
    // The queue is nearly always empty, and then no reservation of this process can be in it.
    ix_block queue_block;
    if (ix_read_block(icb, icb->nkeys + 1, &queue_block) && queue_block.bcount == 0) {
        return;
    }
    lock_queue queue(icb);
    if (queue.found >= 0) {
        --queue.count;
        const auto klen = static_cast<std::size_t>(queue.klen);
        if (queue.found != queue.count) {
            std::memcpy(queue.image(queue.found), queue.image(queue.count), klen);
        }
        std::memset(queue.image(queue.count), 0, klen);
        queue.write();
    }
    queue.leave();
}

}  // namespace

void (*ix_lock_wait)(ICB *icb) = wait_plainly;

bool ix_trylock(lock_action action, ICB *icb, int fd, off_t start, off_t length) {
    ix_demand(icb, "ix_trylock");
    if (icb->flocked != 0 || range_lock_soon(action, icb, fd, start, length)) {
        return true;
    }
    ix_lock_wait(icb);
    return false;
}

bool IXLOCK(ICB *icb, int number) {
    ix_demand(icb, "IXLOCK");
    const off_t record = off_t{icb->recno} * icb->reclen;
    switch (number) {
        case ix_lock_file:
            lock_whole_file(icb);
            return true;
        case ix_lock_header:
            lock_until_granted(lock_action::exclusive, icb, icb->ixfd, 0, ix_block_size);
            return true;
        case ix_lock_record:
            return ix_trylock(lock_action::sole, icb, icb->datfd, record, icb->reclen);
        case ix_lock_key:
            return icb->flocked != 0 || reserve_key(icb);
        case ix_unlock_file:
            icb->flocked = 0;
            if (icb->tempfile == 0) {
                ix_range_lock(lock_action::unlock, icb, icb->datfd, 0, 0);
            }
            ix_range_lock(lock_action::unlock, icb, icb->ixfd, 0, ix_block_size);
            return true;
        case ix_unlock_header:
            // The header's range is part of the whole-file lock, which an update must not give up.
            if (icb->flocked == 0 || icb->flocked == ix_alone) {
                ix_range_lock(lock_action::unlock, icb, icb->ixfd, 0, ix_block_size);
            }
            return true;
        case ix_unlock_record:
            if (icb->flocked == 0) {
                ix_range_lock(lock_action::unlock, icb, icb->datfd, record, icb->reclen);
            }
            return true;
        case ix_unlock_key:
            if (icb->flocked == 0) {
                release_key(icb);
            }
            return true;
        default:
            return false;
    }
}
