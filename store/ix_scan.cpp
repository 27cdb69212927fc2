// IXSEQ: reads the data half from front to back without the index.
#include <cstdlib>

#include "store/store_internal.h"

namespace {

constexpr std::size_t scan_bytes = 16384;

// The one scan.
struct {
    const ICB *owner;
    std::uint8_t *buffer;
    std::int32_t room;   // records that the buffer can hold
    std::int32_t first;  // record at its start
    std::int32_t count;  // records read into it
} scan;

void end_scan() {
    std::free(scan.buffer);
    scan = {};
}

bool begin_scan(ICB *icb) {
    void *area = nullptr;
    const auto reclen = static_cast<std::size_t>(icb->reclen);
    if (isam_operator.interrupt_reset != nullptr) {
        isam_operator.interrupt_reset();
    }
    const std::size_t size = mem_largest(&area, reclen, scan_bytes);
    if (size == 0) {
        return false;
    }
    scan = {icb, static_cast<std::uint8_t *>(area), static_cast<std::int32_t>(size / reclen), 0, 0};
    icb->recno = -1;
    return true;
}

/// Reads the records after `recno` into the buffer. False when there are none, or the user breaks off.
bool fill_buffer(ICB *icb) {
    if (isam_operator.interrupted != nullptr && isam_operator.interrupted()) {
        return false;
    }
    const off_t reclen = icb->reclen;
    scan.first = icb->recno + 1;
    scan.count = 0;
    const ssize_t got = file_read_at(icb->datfd, scan.buffer, static_cast<std::size_t>(scan.room * reclen),
                                     scan.first * reclen);
    if (got < 0) {
        ix_disk_failed(icb, false);
    }
    scan.count = static_cast<std::int32_t>(got / reclen);
    return scan.count > 0;
}

}  // namespace

void ix_scan_forget(const ICB *icb) {
    if (scan.owner == icb) {
        end_scan();
    }
}

bool IXSEQ(ICB *icb, void *record) {
    ix_demand(icb, "IXSEQ");
    if (scan.owner != icb) {
        end_scan();  // the scan of another file did not run to its end
        if (!begin_scan(icb)) {
            return false;
        }
    }
    const auto reclen = static_cast<std::size_t>(icb->reclen);
    while (icb->recno < icb->nrecs - 1) {
        const std::int32_t next = icb->recno + 1;
        if ((next < scan.first || next - scan.first >= scan.count) && !fill_buffer(icb)) {
            break;
        }
        const std::uint8_t *from = scan.buffer + static_cast<std::size_t>(next - scan.first) * reclen;
        std::memcpy(record, from, reclen);
        icb->recno = next;
        if (ix_live(record, icb->reclen)) {
            return true;
        }
    }
    end_scan();
    return false;
}
