// The note of a price set that is being replaced.
//
// Between the moment that the old set is deleted and the moment that the new one is written, the prices are
// in no file of the shop. So they stand in a file of their own meanwhile: when the program dies, the next one
// stores them from there.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/base.h"
#include "base/file_view.h"
#include "data/errors.h"
#include "data/ioink_internal.h"

namespace {

constexpr char note_file[] = "RVIPA.PUT";

/// The whole contents of the file; a file of any other length is no note. Only this machine's programs read
/// it.
struct put_note {
    PriceSetRecord set;
    ink_prices prices;
};

int note_fd = -1;

}  // namespace

void ink_note_write(const PriceSetRecord &set) {
    if (note_fd < 0) {
        note_fd = open(note_file, O_RDWR | O_CREAT | O_CLOEXEC, 0660);
    }
    const put_note note{set, ink_working};
    if (note_fd < 0 || !file_write_at(note_fd, &note, sizeof note, 0)) {
        err_open("ioink", note_file);
    }
}

bool ink_note_read(PriceSetRecord &set) {
    const int fd = open(note_file, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    put_note note;
    const bool whole = file_fd_size(fd) == sizeof note &&
                       file_read_at(fd, &note, sizeof note, 0) == static_cast<ssize_t>(sizeof note);
    close(fd);
    if (whole) {
        set = note.set;
        ink_working = note.prices;
    }
    return whole;
}

void ink_note_clear() {
    if (note_fd >= 0 ? ftruncate(note_fd, 0) != 0 : truncate(note_file, 0) != 0 && errno != ENOENT) {
        err_open("ioink", note_file);
    }
}

void ink_note_close() {
    if (note_fd >= 0) {
        close(note_fd);
        note_fd = -1;
    }
    if (file_size(note_file) == 0) {
        file_delete(note_file);
    }
}
