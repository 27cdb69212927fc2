// The note of a price set that is being replaced.
//
// Between the moment that the old set is deleted and the moment that the new one is written, the prices are
// in no file of the shop. So they stand in a file of their own meanwhile, with row 9 locked: a note that is
// found under that lock was left by a program that died.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/base.h"
#include "base/file_view.h"
#include "data/errors.h"
#include "data/ioink_internal.h"
#include "data/iomaat.h"
#include "data/iotab.h"

namespace {

constexpr char note_file[] = "RVIPA.PUT";

/// Whoever may change the prices may also read the note.
void share_as_blocks(int fd) {
    struct stat blocks {};
    if (stat(ink_block_file, &blocks) == 0 && (fchown(fd, blocks.st_uid, blocks.st_gid) == 0 ||
                                               fchown(fd, static_cast<uid_t>(-1), blocks.st_gid) == 0)) {
        fchmod(fd, blocks.st_mode & 0666);
    }
}

bool write_note(const put_note &note) {
    file_delete(note_file);
    const int fd = open(note_file, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0660);
    if (fd < 0) {
        return false;
    }
    share_as_blocks(fd);
    const bool written = file_write_at(fd, &note, sizeof note, 0);
    const int error = errno;
    close(fd);
    errno = error;
    return written;
}

}  // namespace

void ink_note_write(const PriceSetRecord &set) {
    if (!write_note({set, session_sizes->kind, ink_working})) {
        const int error = errno;
        set_program_status(status_prices_suspect);
        errno = error;
        err_open("ioink", note_file);
    }
}

bool ink_note_read(put_note &note) {
    const int fd = open(note_file, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return false;
    }
    const bool whole = file_fd_size(fd) == sizeof note &&
                       file_read_at(fd, &note, sizeof note, 0) == static_cast<ssize_t>(sizeof note);
    close(fd);
    return whole;
}

void ink_note_clear() {
    file_delete(note_file);
}

bool ink_noted(PriceSetRecord &set) {
    set = {};
    put_note note;
    if (!file_exists(note_file)) {
        return false;
    }
    if (ink_note_read(note)) {
        set = note.set;
    }
    return true;
}
