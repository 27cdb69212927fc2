#include "data/rawfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/base.h"
#include "data/errors.h"
#include "data/shop_session.h"

namespace {

off_t place_of(const raw_file &file, std::int32_t block) {
    return static_cast<off_t>(block) * static_cast<off_t>(file.size);
}

void open_raw(raw_file &file) {
    if (file.fd < 0) {
        file.fd = open(file.name, O_RDWR | O_CLOEXEC);
        if (file.fd < 0) {
            err_open(program_name, file.name);
        }
    }
    file.next = 0;
}

[[noreturn]] void fail(const raw_file &file, raw_action action, std::int32_t block) {
    isam_fatal("%s: errno=%d a=%c fd=%d o=%ld", file.name, errno, static_cast<char>(action), file.fd,
               static_cast<long>(place_of(file, block)));
}

/// False past the end of the file. A block that the disk can't read must not count as missing: a repair would
/// then cut off everything after it.
bool read_raw(raw_file &file, std::int32_t block, void *buffer) {
    if (block < 0) {
        return false;
    }
    const ssize_t got = file_read_at(file.fd, buffer, file.size, place_of(file, block));
    if (got < 0) {
        fail(file, raw_action::read, block);
    }
    if (got != static_cast<ssize_t>(file.size)) {
        return false;
    }
    file.next = block + 1;
    return true;
}

void write_raw(raw_file &file, std::int32_t block, const void *buffer) {
    if (block < 0 || !file_write_at(file.fd, buffer, file.size, place_of(file, block))) {
        fail(file, raw_action::write, block);
    }
    file.next = block + 1;
}

}  // namespace

int raw_access(raw_file &file, raw_action action, std::int32_t block, void *buffer) {
    switch (action) {
        case raw_action::open:
            open_raw(file);
            return 1;
        case raw_action::close:
            if (file.fd >= 0) {
                close(file.fd);
                file.fd = -1;
            }
            return 1;
        case raw_action::read:
            return read_raw(file, block, buffer) ? 1 : 0;
        case raw_action::read_on:
            return read_raw(file, file.next, buffer) ? 1 : 0;
        case raw_action::write:
            write_raw(file, block, buffer);
            return 1;
    }
    // A letter between close and read_on that is no action does not count as success.
    return action < raw_action::close || action > raw_action::read_on ? 1 : 0;
}
