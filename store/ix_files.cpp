// The descriptors of the store, and the locks that this process holds through them.
//
// The system keeps record locks by process and file, not by descriptor: closing any descriptor of a file
// drops every lock of the process on it, and an unlock through one handle also removes the lock of another.
// Two ICBs on one pair must not do that to each other. So there is a table of the open files, by device and
// inode:
//
// 1. A descriptor whose file has another user in this process isn't closed but parked, and serves the next
//    opening; the last user closes them all. (A descriptor that is opened past this table still drops the
//    locks when it is closed.)
// 2. Each range that an ICB holds is noted. A release gives up the parts of the range that no other ICB
//    covers.
// 3. A refused attempt at a sole lock, which must take back the read lock it has just set, does the same.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "store/store_internal.h"

namespace {

struct held_range {
    off_t start;
    off_t end;  // first byte after the range
    const ICB *owner;
};

struct open_file {
    dev_t device;
    ino_t inode;
    std::vector<int> users;
    std::vector<int> parked;
    std::vector<held_range> held;
};

// Never destroyed: files closed while the process ends still use it.
std::vector<open_file> &files = *new std::vector<open_file>;

open_file *file_of(int fd) {
    for (open_file &file : files) {
        if (std::find(file.users.begin(), file.users.end(), fd) != file.users.end()) {
            return &file;
        }
    }
    return nullptr;
}

off_t range_end(off_t start, off_t length) {
    return length == 0 ? std::numeric_limits<off_t>::max() : start + length;
}

void unlock(int fd, off_t start, off_t end) {
    if (start < end) {
        file_lock(lock_action::unlock, fd, start, end == std::numeric_limits<off_t>::max() ? 0 : end - start);
    }
}

/// Unlocks the parts of a range that lie in no noted range.
void unlock_uncovered(const open_file &file, int fd, off_t start, off_t end) {
    std::vector<held_range> over;
    for (const held_range &range : file.held) {
        if (range.start < end && range.end > start) {
            over.push_back(range);
        }
    }
    std::sort(over.begin(), over.end(),
              [](const held_range &a, const held_range &b) { return a.start < b.start; });
    for (const held_range &range : over) {
        unlock(fd, start, std::min(range.start, end));
        start = std::max(start, range.end);
    }
    unlock(fd, start, end);
}

/// Takes a sole lock on a range that another ICB of this process holds in part.
bool sole_beside(const open_file &file, int fd, off_t start, off_t end) {
    struct flock lock {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = end == std::numeric_limits<off_t>::max() ? 0 : end - start;
    if (fcntl(fd, F_SETLK, &lock) != 0) {
        return false;
    }
    if (file_lock(lock_action::test, fd, lock.l_start, lock.l_len)) {
        return true;
    }
    unlock_uncovered(file, fd, start, end);
    errno = EAGAIN;  // another process has it: worth another try
    return false;
}

/// A parked descriptor of the file at `path` that has the access asked for; -1 when there is none. Without it
/// a file that stays open in x opened over and over in another would use up the descriptors.
int take_parked(const char *path, int flags) {
    struct stat info {};
    if ((flags & O_TRUNC) != 0 || stat(path, &info) != 0) {
        return -1;
    }
    for (open_file &file : files) {
        if (file.device != info.st_dev || file.inode != info.st_ino) {
            continue;
        }
        for (const int fd : file.parked) {
            const int wanted = flags & O_ACCMODE;
            const int granted = fcntl(fd, F_GETFL) & O_ACCMODE;
            if (granted == wanted || granted == O_RDWR) {
                std::erase(file.parked, fd);
                file.users.push_back(fd);
                return fd;
            }
        }
    }
    return -1;
}

}  // namespace

int ix_fd_open(const char *path, int flags) {
    int fd = take_parked(path, flags);
    if (fd >= 0) {
        return fd;
    }
    do {
        fd = open(path, flags | O_CLOEXEC, 0660);
    } while (fd < 0 && errno == EINTR);
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0) {
        return fd;
    }
    for (open_file &file : files) {
        if (file.device == info.st_dev && file.inode == info.st_ino) {
            file.users.push_back(fd);
            return fd;
        }
    }
    files.push_back({info.st_dev, info.st_ino, {fd}, {}, {}});
    return fd;
}

void ix_fd_close(int fd) {
    open_file *file = file_of(fd);
    if (file == nullptr) {
        if (fd >= 0) {
            close(fd);
        }
        return;
    }
    std::erase(file->users, fd);
    if (!file->users.empty()) {
        file->parked.push_back(fd);
        return;
    }
    close(fd);
    for (const int parked : file->parked) {
        close(parked);
    }
    files.erase(files.begin() + (file - files.data()));
}

bool ix_in_use(const char *path) {
    struct stat info {};
    return stat(path, &info) == 0 && std::any_of(files.begin(), files.end(), [&](const open_file &file) {
               return file.device == info.st_dev && file.inode == info.st_ino;
           });
}

bool ix_range_lock(lock_action action, const ICB *icb, int fd, off_t start, off_t length) {
    open_file *file = file_of(fd);
    if (file == nullptr || action == lock_action::test) {
        return file_lock(action, fd, start, length);
    }
    const off_t end = range_end(start, length);
    const auto own = std::find_if(file->held.begin(), file->held.end(), [&](const held_range &range) {
        return range.owner == icb && range.start == start && range.end == end;
    });
    if (action == lock_action::unlock) {
        if (own != file->held.end()) {
            *own = file->held.back();
            file->held.pop_back();
        }
        if (file->held.empty()) {
            unlock(fd, start, end);
        } else {
            unlock_uncovered(*file, fd, start, end);
        }
        return true;
    }
    const bool beside = action == lock_action::sole &&
                        std::any_of(file->held.begin(), file->held.end(), [&](const auto &range) {
                            return range.start < end && range.end > start;
                        });
    const bool granted = beside ? sole_beside(*file, fd, start, end) : file_lock(action, fd, start, length);
    if (granted && own == file->held.end()) {
        file->held.push_back({start, end, icb});
    }
    return granted;
}

void ix_range_release(const ICB *icb, int fd) {
    open_file *file = file_of(fd);
    if (file == nullptr) {
        return;
    }
    if (file->users.size() == 1) {
        file->held.clear();  // closing the last descriptor releases the locks themselves
        return;
    }
    std::vector<held_range> mine;
    for (const held_range &range : file->held) {
        if (range.owner == icb) {
            mine.push_back(range);
        }
    }
    std::erase_if(file->held, [icb](const held_range &range) { return range.owner == icb; });
    for (const held_range &range : mine) {
        unlock_uncovered(*file, fd, range.start, range.end);
    }
}

int open_file_limit() {
    constexpr int most = 200;
    static const char name[] = "OPENFILE";
    std::vector<int> held;
    while (held.size() < most) {
        const int fd = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0660);
        if (fd < 0) {
            break;
        }
        held.push_back(fd);
    }
    for (const int fd : held) {
        close(fd);
    }
    file_delete(name);
    return static_cast<int>(held.size());
}
