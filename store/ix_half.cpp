// Reading and writing the two halves.
//
// Both are read through a view (base/file_view.h). Where another process has cut a half, what the view shows
// past the new end are zeros. A block of zeros is never sound and a record of zeros is rare, so both are read
// again through the system before they are believed.
//
// A block is copied before it is looked at: it may be half-written at the moment of the copy, but it can't
// change between a test and its use.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "store/store_internal.h"

bool ix_read_block(ICB *icb, std::int32_t block, ix_block *to) {
    if (block < 0) {
        return false;
    }
    const off_t offset = off_t{block} * ix_block_size;
    // A sound tree block has a level, and the lock block a key number.
    if (file_view_read(icb->index_view, icb->ixfd, offset, to, sizeof *to) && to->bkey != 0) {
        return true;
    }
    return file_read_at(icb->ixfd, to, sizeof *to, offset) == ix_block_size;
}

void ix_write_blocks(ICB *icb, std::int32_t block, const void *from, int count) {
    const off_t offset = off_t{block} * ix_block_size;
    const std::size_t size = static_cast<std::size_t>(count) * ix_block_size;
    if (block < 0 || block > ix_block_limit - count) {
        ix_inconsistent(icb);
    }
    if (!file_write_at(icb->ixfd, from, size, offset)) {
        ix_disk_failed(icb, true);
    }
    file_view_grown(icb->index_view, offset + static_cast<off_t>(size));
}

namespace {

bool all_zero(const void *bytes, std::size_t size) {
    const auto *p = static_cast<const std::uint8_t *>(bytes);
    return p[0] == 0 && p[size - 1] == 0 && std::all_of(p, p + size, [](std::uint8_t c) { return c == 0; });
}

/// Place of a record; ends the program when the format's offsets can't reach it.
off_t seek_record(const ICB *icb, std::int32_t number) {
    const off_t offset = off_t{number} * icb->reclen;
    if (offset < 0 || offset > INT_MAX) {
        isam_fatal("QBISAM(%d): %.11s(if=%d,df=%d,file=%d,start=%ld,len=%u)", EINVAL, icb->fname, icb->ixfd,
                   icb->datfd, icb->datfd, static_cast<long>(offset), static_cast<unsigned>(icb->reclen));
    }
    return offset;
}

}  // namespace

bool ix_read_record(ICB *icb, void *record, std::int32_t number) {
    const off_t offset = seek_record(icb, number);
    const auto size = static_cast<std::size_t>(icb->reclen);
    if (file_view_read(icb->data_view, icb->datfd, offset, record, size) && !all_zero(record, size)) {
        return true;
    }
    const ssize_t got = file_read_at(icb->datfd, record, size, offset);
    if (got < 0) {
        ix_disk_failed(icb, false);
    }
    if (got == static_cast<ssize_t>(size)) {
        return true;
    }
    std::memset(record, 0xFF, size);
    return false;
}

void ix_write_record(ICB *icb, const void *record, std::int32_t number) {
    const off_t offset = seek_record(icb, number);
    const auto size = static_cast<std::size_t>(icb->reclen);
    if (!file_write_at(icb->datfd, record, size, offset)) {
        // Part of a record at the end would keep the pair from being rebuilt.
        const int error = errno;
        const off_t end = file_fd_size(icb->datfd);
        if (end > offset && end < offset + static_cast<off_t>(size)) {
            (void)!ftruncate(icb->datfd, offset);
        }
        errno = error;
        ix_disk_failed(icb, false);
    }
    file_view_grown(icb->data_view, offset + static_cast<off_t>(size));
}

std::int32_t ix_record_places(const ICB *icb) {
    const off_t places = icb->reclen > 0 ? file_fd_size(icb->datfd) / icb->reclen : 0;
    return static_cast<std::int32_t>(std::clamp<off_t>(places, 0, INT_MAX));
}

// A header that does not fit its pair is left to the next write, which refuses it.
void ix_renew_count(ICB *icb) {
    ix_header header;
    if (icb->cached == 0 && file_read_at(icb->ixfd, &header, ix_header_size, 0) == ix_header_size &&
        ix_same_definition(header, *icb) && header.nrecs > icb->nrecs &&
        header.nrecs <= ix_record_places(icb)) {
        icb->nrecs = header.nrecs;
    }
}

void IXRDDAT(ICB *icb, void *record) {
    ix_demand(icb, "IXRDDAT");
    ix_read_record(icb, record, icb->recno);
}

void IXWRDAT(ICB *icb, const void *record) {
    ix_demand(icb, "IXWRDAT");
    ix_write_record(icb, record, icb->recno);
}
