// Reading a file through a mapping that shows what other programs write.
//
// A system call costs more than a search in a block, so files of blocks and records are read through a
// read-only shared mapping: what another process on this host writes is seen in it at once, as it is with a
// read. Writes are plain writes, which the mapping shows as well.
//
// - A mapping and its pages cost as much as some tens of reads, and a shop has hundreds of small files of
//   which little more than the header is read. The first reads of a file go through the system.
// - A mapping reaches beyond the end of the file, to leave room for growth. Only bytes below `known`, the
//   size as last seen, are touched; for a place past that the size is asked for again, and more is mapped if
//   need be.
// - Another process may cut the file meanwhile (a rebuild, an emptied file). The rest of the page that the
//   end falls in then reads as zeros, and pages after it raise SIGBUS. The handler puts a page of zeros in
//   place and marks the view as lost. The reader looks at the mark after each copy; it then drops the view
//   and reads through the system instead. A block of zeros may lie past the new end, so the size is asked for
//   before it is believed. A file cut short thus shows as a read that returns less, just as without a view.
//   (A cut within a block, which no program of the system makes, shows at the next look at the size.)
// - A page that the disk can't read raises SIGBUS as well; the read through the system then tells the error.
// - A file that can't be mapped is read with pread.
#include "base/file_view.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

#include "base/files.h"

namespace {

struct view_slot {
    std::atomic<std::uintptr_t> base;  // 0: free
    std::atomic<std::size_t> length;
    volatile std::sig_atomic_t lost;
};

/// After so many reads a file is mapped.
constexpr int reads_worth_a_mapping = 32;

std::array<view_slot, 128> slots;
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
bool view_map(file_view &view, int fd, off_t size) {
    file_view_close(view);
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
bool view_reach(file_view &view, int fd, off_t end) {
    if (view.refused) {
        return false;
    }
    if (view.base == nullptr && view.reads < reads_worth_a_mapping) {
        view.reads++;
        return false;
    }
    const off_t size = std::max(file_fd_size(fd), off_t{0});
    if (view.base != nullptr && static_cast<std::size_t>(size) <= view.length) {
        view.known = size;
        return end <= size;
    }
    return end <= size && view_map(view, fd, size);
}

/// True when what was just copied from the view can be believed.
bool view_intact(file_view &view) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (slots[static_cast<std::size_t>(view.slot - 1)].lost != 0) {
        file_view_close(view);
        return false;
    }
    return true;
}

/// True for what begins and ends in zeros. That costs less than a look at all of it, and much less than
/// asking for the size each time.
bool is_framed_in_zeros(const void *buffer, std::size_t size) {
    static constexpr std::array<std::uint8_t, 8> zeros{};
    const std::size_t length = std::min(size, zeros.size());
    const auto *bytes = static_cast<const std::uint8_t *>(buffer);
    return std::memcmp(bytes, zeros.data(), length) == 0 &&
           std::memcmp(bytes + size - length, zeros.data(), length) == 0;
}

}  // namespace

const std::uint8_t *file_view_peek(file_view &view, int fd, off_t offset, std::size_t size) {
    const off_t end = offset + static_cast<off_t>(size);
    if ((view.base == nullptr || end > view.known) && !view_reach(view, fd, end)) {
        return nullptr;
    }
    return view.base + offset;
}

bool file_view_read(file_view &view, int fd, off_t offset, void *to, std::size_t size) {
    const std::uint8_t *from = file_view_peek(view, fd, offset, size);
    if (from == nullptr) {
        return false;
    }
    std::memcpy(to, from, size);
    return view_intact(view);
}

void file_view_close(file_view &view) {
    if (view.base != nullptr) {
        slots[static_cast<std::size_t>(view.slot - 1)].base = 0;
        munmap(view.base, view.length);
        view.base = nullptr;
        view.known = 0;
    }
}

ssize_t file_view_read_at(file_view &view, int fd, void *buffer, std::size_t size, off_t offset) {
    // A damaged count or pointer may lead before the file: then the system says what it thinks of it.
    if (offset >= 0 && file_view_read(view, fd, offset, buffer, size)) {
        if (!is_framed_in_zeros(buffer, size) || file_fd_size(fd) >= offset + static_cast<off_t>(size)) {
            return static_cast<ssize_t>(size);
        }
    }
    return file_read_at(fd, buffer, size, offset);
}

void file_view_grown(file_view &view, off_t end) {
    if (view.base != nullptr && end > view.known && static_cast<std::size_t>(end) <= view.length) {
        view.known = end;
    }
}

off_t file_fd_size(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 ? info.st_size : -1;
}
