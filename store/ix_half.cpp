// Reading and writing the two halves.
//
// A system call costs more than a search in a block, so both halves are read through a read-only shared
// mapping: what another process on this host writes is seen in it at once, as it is with a read. Writes are
// plain writes, which the mapping shows as well.
//
// - A mapping reaches beyond the end of the file, to leave room for growth. Only bytes below `known`, the
//   size as last seen, are touched; for a place past that the size is asked for again, and more is mapped if
//   need be.
// - Another process may cut the half meanwhile (a rebuild, an emptied file). The rest of the page that the
//   end falls in then reads as zeros, and pages after it raise SIGBUS. The handler puts a page of zeros in
//   place and marks the view as lost. The reader looks at the mark after each copy; it then drops the view
//   and reads through the system instead. A block of zeros is never sound and a record of zeros is rare, so
//   both are read again through the system before they are believed. A half cut short thus shows as a read
//   that returns nothing, just as without a view.
// - A half that can't be mapped is read with pread.
//
// A block is copied before it is looked at: it may be half-written at the moment of the copy, but it can't
// change between a test and its use.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>

#include "store/store_internal.h"

namespace {

struct view_slot {
    std::atomic<std::uintptr_t> base;  // 0: free
    std::atomic<std::size_t> length;
    volatile std::sig_atomic_t lost;
};

std::array<view_slot, 64> slots;
struct sigaction previous_action;
long page_size = 0;

void on_bus_error(int, siginfo_t *info, void *) {
    const auto at = reinterpret_cast<std::uintptr_t>(info->si_addr);
    for (view_slot &slot : slots) {
        const std::uintptr_t base = slot.base;
        if (base != 0 && at >= base && at < base + slot.length) {
            slot.lost = 1;
            void *page = reinterpret_cast<void *>(at & ~static_cast<std::uintptr_t>(page_size - 1));
            if (mmap(page, static_cast<std::size_t>(page_size), PROT_READ,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
                return;
            }
        }
    }
    sigaction(SIGBUS, &previous_action, nullptr);  // not ours: the access will fault again
}

void catch_bus_errors() {
    if (page_size == 0) {
        page_size = sysconf(_SC_PAGESIZE);
        struct sigaction action {};
        action.sa_sigaction = on_bus_error;
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigaction(SIGBUS, &action, &previous_action);
    }
}

/// Maps the file with room for growth. False when that fails.
bool view_map(ix_view &view, int fd, off_t size) {
    ix_view_close(view);
    catch_bus_errors();
    const auto free_slot =
        std::find_if(slots.begin(), slots.end(), [](const auto &s) { return s.base == 0; });
    if (free_slot == slots.end()) {
        view.refused = true;
        return false;
    }
    std::size_t length = static_cast<std::size_t>(size + size / 2) + (std::size_t{1} << 20);
    length = (length + static_cast<std::size_t>(page_size) - 1) & ~static_cast<std::size_t>(page_size - 1);
    void *base = mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
    if (base == MAP_FAILED) {
        view.refused = true;
        return false;
    }
    view.base = static_cast<std::uint8_t *>(base);
    view.length = length;
    view.known = size;
    view.slot = static_cast<int>(free_slot - slots.begin()) + 1;
    free_slot->lost = 0;
    free_slot->length = length;
    free_slot->base = reinterpret_cast<std::uintptr_t>(base);
    return true;
}

/// Makes the bytes up to `end` readable through the view; false when the file ends before that or can't be
/// mapped.
bool view_reach(ix_view &view, int fd, off_t end) {
    if (view.refused) {
        return false;
    }
    const off_t size = std::max(ix_fd_size(fd), off_t{0});
    if (view.base != nullptr && static_cast<std::size_t>(size) <= view.length) {
        view.known = size;
        return end <= size;
    }
    return end <= size && view_map(view, fd, size);
}

/// True when what was just copied from the view can be believed.
bool view_intact(ix_view &view) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (slots[static_cast<std::size_t>(view.slot - 1)].lost != 0) {
        ix_view_close(view);
        return false;
    }
    return true;
}

bool all_zero(const void *bytes, std::size_t size) {
    const auto *p = static_cast<const std::uint8_t *>(bytes);
    return p[0] == 0 && p[size - 1] == 0 && std::all_of(p, p + size, [](std::uint8_t c) { return c == 0; });
}

void view_grown(ix_view &view, off_t end) {
    if (view.base != nullptr && end > view.known && static_cast<std::size_t>(end) <= view.length) {
        view.known = end;
    }
}

}  // namespace

const std::uint8_t *ix_view_peek(ix_view &view, int fd, off_t offset, std::size_t size) {
    const off_t end = offset + static_cast<off_t>(size);
    if ((view.base == nullptr || end > view.known) && !view_reach(view, fd, end)) {
        return nullptr;
    }
    return view.base + offset;
}

bool ix_view_read(ix_view &view, int fd, off_t offset, void *to, std::size_t size) {
    const std::uint8_t *from = ix_view_peek(view, fd, offset, size);
    if (from == nullptr) {
        return false;
    }
    std::memcpy(to, from, size);
    return view_intact(view);
}

void ix_view_close(ix_view &view) {
    if (view.base != nullptr) {
        slots[static_cast<std::size_t>(view.slot - 1)].base = 0;
        munmap(view.base, view.length);
        view.base = nullptr;
        view.known = 0;
    }
}

bool ix_read_block(ICB *icb, std::int32_t block, ix_block *to) {
    if (block < 0) {
        return false;
    }
    const off_t offset = off_t{block} * ix_block_size;
    // A sound tree block has a level, and the lock block a key number.
    if (ix_view_read(icb->index_view, icb->ixfd, offset, to, sizeof *to) && to->bkey != 0) {
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
    view_grown(icb->index_view, offset + static_cast<off_t>(size));
}

namespace {

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
    if (ix_view_read(icb->data_view, icb->datfd, offset, record, size) && !all_zero(record, size)) {
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
        const off_t end = ix_fd_size(icb->datfd);
        if (end > offset && end < offset + static_cast<off_t>(size)) {
            (void)!ftruncate(icb->datfd, offset);
        }
        errno = error;
        ix_disk_failed(icb, false);
    }
    view_grown(icb->data_view, offset + static_cast<off_t>(size));
}

void IXRDDAT(ICB *icb, void *record) {
    ix_demand(icb, "IXRDDAT");
    ix_read_record(icb, record, icb->recno);
}

void IXWRDAT(ICB *icb, const void *record) {
    ix_demand(icb, "IXWRDAT");
    ix_write_record(icb, record, icb->recno);
}
