// Advisory locks between the programs that share a shop's files. A process loses all its locks on a file when
// it closes any descriptor of that file, and when it ends.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <random>

#include "base/catalog.h"
#include "base/files.h"
#include "base/interrupted_call.h"
#include "base/operator.h"

namespace {

struct flock range_of(short type, off_t start, off_t length) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    return range;
}

bool set_lock(short type, int fd, off_t start, off_t length) {
    struct flock range = range_of(type, start, length);
    return again_if_interrupted([&] { return fcntl(fd, F_SETLK, &range); }) == 0;
}

/// Asks which lock keeps this process from a write lock. False when that can't be told.
bool ask_lock(struct flock &range, int fd, off_t start, off_t length) {
    range = range_of(F_WRLCK, start, length);
    return again_if_interrupted([&] { return fcntl(fd, F_GETLK, &range); }) == 0;
}

bool is_free(int fd, off_t start, off_t length) {
    struct flock range {};
    return ask_lock(range, fd, start, length) && range.l_type == F_UNLCK;
}

}  // namespace

bool file_lock(lock_action action, int fd, off_t start, off_t length) {
    switch (action) {
        case lock_action::exclusive:
            return set_lock(F_WRLCK, fd, start, length);
        case lock_action::sole:
            if (!set_lock(F_RDLCK, fd, start, length)) {
                return false;
            }
            if (!is_free(fd, start, length)) {
                set_lock(F_UNLCK, fd, start, length);
                errno = EAGAIN;
                return false;
            }
            return true;
        case lock_action::test:
            return is_free(fd, start, length);
        case lock_action::unlock:
            return set_lock(F_UNLCK, fd, start, length);
    }
    return false;
}

bool file_lock_soon(const std::function<bool()> &granted) {
    // The distances differ between processes: two that ask for a sole lock at the same moments refuse each
    // other each time.
    static std::minstd_rand scatter(static_cast<unsigned>(getpid()));
    constexpr long first = 50;  // microseconds
    constexpr long most = 800;
    constexpr long patience = 20000;
    long waited = 0;
    for (long distance = first; !granted(); distance = std::min(distance * 2, most)) {
        if ((errno != EACCES && errno != EAGAIN) || waited >= patience) {
            return false;
        }
        const int error = errno;
        const long now = distance / 2 + static_cast<long>(scatter()) % distance;
        usleep(static_cast<useconds_t>(now));
        waited += now;
        errno = error;
    }
    return true;
}

pid_t file_lock_holder(int fd, off_t start, off_t length) {
    struct flock range {};
    return ask_lock(range, fd, start, length) && range.l_type != F_UNLCK ? range.l_pid : 0;
}

int lock_range(int fd, int operation, int length) {
    if (length < 1) {
        return 0;
    }
    if (operation == 4 || operation == 14) {
        lseek(fd, 0, SEEK_END);
    }
    if (operation == 13 || operation == 14) {
        again_if_interrupted([&] { return lockf(fd, F_ULOCK, length); });
        return 0;
    }
    while (!file_lock_soon([&] { return lockf(fd, F_TLOCK, length) == 0; })) {
        if (errno == EACCES || errno == EAGAIN) {
            lock_wait();
        } else if (errno != EINTR) {
            return -1;  // no such descriptor, or a file system without locks: waiting would never end
        }
    }
    return 0;
}

void lock_wait() {
    if (isam_operator.flash != nullptr) {
        isam_operator.flash(1, nullptr, term_text(1, 15, "Informatie in gebruik op ander scherm"));
    } else {
        sleep(1);
    }
}
