#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/catalog.h"
#include "base/interrupted_call.h"
#include "base/owned_file.h"

namespace {

constexpr mode_t new_file_mode = 0660;
/// The range of a whole file, as far as `lock_range` can name it.
constexpr int lock_everything = 2147483646;

bool same_file(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool write_all(int fd, const char *data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = again_if_interrupted([&] { return write(fd, data, size); });
        if (n <= 0) {
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

/// Copies from the current position of one descriptor to that of the other.
bool copy_bytes(int from, int to) {
    static std::array<char, 256> last_resort;
    void *area = nullptr;
    std::size_t size = mem_largest(&area, last_resort.size(), 32768);
    char *buffer = static_cast<char *>(area);
    if (buffer == nullptr) {
        buffer = last_resort.data();
        size = last_resort.size();
    }
    ssize_t n = 0;
    do {
        n = again_if_interrupted([&] { return read(from, buffer, size); });
    } while (n > 0 && write_all(to, buffer, static_cast<std::size_t>(n)));
    std::free(area);
    return n == 0;
}

/// Second half of `file_copy`: `from` is open, and locked where locking works.
bool copy_into(int from, const char *to, int how) {
    const int mode = how > 0 ? O_APPEND : how == 0 ? O_TRUNC : O_EXCL;
    // A file must not be copied into itself: truncating would destroy it, appending would never end.
    struct stat source {};
    struct stat target {};
    if (fstat(from, &source) != 0 || (stat(to, &target) == 0 && same_file(source, target))) {
        return false;
    }
    open_file out(
        again_if_interrupted([&] { return open(to, O_WRONLY | O_CREAT | O_CLOEXEC | mode, new_file_mode); }));
    if (out.fd < 0) {
        return false;
    }
    // A printer device has no position; it counts as 0, and the device is never removed.
    const off_t position = std::max<off_t>(lseek(out.fd, 0, how > 0 ? SEEK_END : SEEK_CUR), 0);
    const int length = position > lock_everything ? 0 : lock_everything - static_cast<int>(position);
    const bool regular = fstat(out.fd, &target) == 0 && S_ISREG(target.st_mode);

    lock_range(out.fd, 3, length);
    bool copied = copy_bytes(from, out.fd);
    lseek(out.fd, position, SEEK_SET);
    lock_range(out.fd, 13, length);
    copied = out.close() && copied;
    if (!copied && position == 0 && regular) {
        file_delete(to);
    }
    return copied;
}

/// True when both paths lead to the same file and it has no second name. A move then has nothing to do, and
/// deleting the target first would lose the file.
bool is_own_name(const char *from, const char *to) {
    struct stat a {};
    struct stat b {};
    return lstat(from, &a) == 0 && lstat(to, &b) == 0 && same_file(a, b) &&
           (a.st_nlink == 1 || std::strcmp(from, to) == 0);
}

}  // namespace

ssize_t file_read_at(int fd, void *buffer, std::size_t size, off_t offset) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = again_if_interrupted([&] {
            return pread(fd, static_cast<char *>(buffer) + done, size - done,
                         offset + static_cast<off_t>(done));
        });
        if (n < 0) {
            return -1;
        }
        if (n == 0) {
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    return static_cast<ssize_t>(done);
}

bool file_write_at(int fd, const void *buffer, std::size_t size, off_t offset) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = again_if_interrupted([&] {
            return pwrite(fd, static_cast<const char *>(buffer) + done, size - done,
                          offset + static_cast<off_t>(done));
        });
        if (n < 0) {
            return false;
        }
        if (n == 0) {
            errno = ENOSPC;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool file_exists(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0;
}

off_t file_size(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 ? status.st_size : -1;
}

bool file_is_dir(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool file_delete(const char *path) {
    return unlink(path) == 0 || errno == ENOENT || errno == ENOTDIR;
}

bool file_copy(const char *from, const char *to, int how) {
    open_file in(again_if_interrupted([&] { return open(from, O_RDWR | O_CLOEXEC); }));
    const bool writable = in.fd >= 0;
    if (!writable) {
        in.fd = again_if_interrupted([&] { return open(from, O_RDONLY | O_CLOEXEC); });
    }
    if (in.fd < 0) {
        return false;
    }
    if (writable) {
        lock_range(in.fd, 3, lock_everything);
    }
    const bool copied = copy_into(in.fd, to, how);
    if (writable) {
        lseek(in.fd, 0, SEEK_SET);
        lock_range(in.fd, 13, lock_everything);
    }
    return copied;
}

bool file_move(const char *from, const char *to, bool replace) {
    if (is_own_name(from, to)) {
        return replace;
    }
    if (replace && file_exists(from)) {
        file_delete(to);
    }
    if (link(from, to) != 0 && !file_copy(from, to, replace ? 0 : -1)) {
        return false;
    }
    return file_delete(from);
}

const char *file_tempname(const char *directory, const char *prefix) {
    static std::string path;
    static int number = -1;
    static std::array<char, 2> letters{'A', 'A'};

    // After as many rounds as there are names, every one of them is taken.
    constexpr int names = 26 * 26 * 100;
    for (int round = 0; round <= names; round++) {
        if (number >= 0 && (letters[0] != 'Z' || letters[1] != 'Z')) {
            if (letters[1]++ == 'Z') {
                letters[0]++;
                letters[1] = 'A';
            }
        } else {
            number = number < 0 ? static_cast<int>(getpid() % 100) : (number + 1) % 100;
            letters = {'A', 'A'};
        }
        path = directory;
        if (!path.empty()) {
            path += '/';
        }
        path.append(prefix, strnlen(prefix, 4));
        path.append(letters.data(), letters.size());
        path += static_cast<char>('0' + number / 10);
        path += static_cast<char>('0' + number % 10);

        open_file made(again_if_interrupted(
            [&] { return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, new_file_mode); }));
        if (made.fd >= 0) {
            file_delete(path.c_str());
            return path.c_str();
        }
        if (errno != EEXIST) {
            break;
        }
    }
    path.clear();
    return path.c_str();
}

const char *file_basename(const char *path) {
    const char *separator = std::strrchr(path, '\\');
    if (separator == nullptr) {
        separator = std::strrchr(path, '/');
    }
    return separator == nullptr ? path : separator + 1;
}

const char *disk_full_text(int error) {
    if (error != ENOSPC && error != EDQUOT) {
        return "";
    }
    const char *text = term_text(1, 603, " (de schijf is vol)");
    errno = error;  // the catalogue may have changed it
    return text;
}

long disk_free() {
    struct statvfs status {};
    if (statvfs(".", &status) != 0 || status.f_frsize == 0) {
        return INT_MAX;
    }
    const double kilobytes =
        static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize) / 1024.0;
    return kilobytes >= static_cast<double>(LONG_MAX) ? LONG_MAX : static_cast<long>(kilobytes);
}

std::size_t mem_largest(void **where, std::size_t minimum, std::size_t maximum) {
    std::size_t size = std::max(minimum, maximum);
    *where = nullptr;
    while (size > 0) {
        *where = std::calloc(size, 1);
        if (*where != nullptr) {
            return size;
        }
        if (size == minimum) {
            break;
        }
        size = std::max(size / 2, minimum);
    }
    return 0;
}
