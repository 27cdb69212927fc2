#include "command/shop_copy.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/base.h"
#include "base/interrupted_call.h"
#include "base/owned_file.h"
#include "check/journals/journals.h"

namespace {

constexpr mode_t all_modes = 07777;
constexpr mode_t owner_only = 0700;
constexpr mode_t owner_writes = 0600;

/// A file or a season directory of the shop.
struct copied_entry {
    std::string name;  ///< from the directory of the shop
    struct stat status {};
};

struct shop_list {
    std::vector<copied_entry> directories;
    std::vector<copied_entry> files;
};

/// Opens a file or directory so that the time of its last reading stays, where the system allows that.
int open_unnoticed(const std::string &path, int flags) {
    flags |= O_RDONLY | O_CLOEXEC | O_NOCTTY;
    const int fd = again_if_interrupted([&] { return open(path.c_str(), flags | O_NOATIME); });
    return fd < 0 && errno == EPERM ? again_if_interrupted([&] { return open(path.c_str(), flags); }) : fd;
}

/// One copy of a shop.
class shop_copier {
public:
    shop_copier(std::string from, std::string to, bool keep)
        : from_(std::move(from)), to_(std::move(to)), keep_(keep) {}

    copy_result run() {
        result_.ok = copy();
        return std::move(result_);
    }

private:
    bool copy();
    bool list(const std::string &directory, shop_list &shop);
    bool look_at(const std::string &name, bool in_season, shop_list &shop);
    bool copy_file(const copied_entry &file);
    bool copy_content(const copied_entry &file, int in, int out);
    bool clones(int in, int out);
    bool has_room();
    bool finish(const copied_entry &entry, int fd, mode_t owner_may);
    bool finish_directory(const copied_entry &entry);

    bool failed(const char *what, const std::string &path) {
        const int why = errno;
        result_.why = str_format("%s (%s: %s)", what, path.c_str(), std::strerror(why));
        return false;
    }
    bool cannot_read(const std::string &path) {
        return failed(detail_text(29, 1, "Lezen niet gelukt"), path);
    }
    bool cannot_write(const std::string &path) {
        return failed(term_text(1, 602, "Schrijven niet gelukt"), path);
    }

    std::string from_;
    std::string to_;
    bool keep_;  ///< owners as well, and on disk
    enum class sharing { unknown, works, fails } sharing_ = sharing::unknown;
    bool room_known_ = false;
    std::uint64_t bytes_ = 0;
    copy_result result_;
};

/// Adds what has that name to the list; false when it can't be looked at.
bool shop_copier::look_at(const std::string &name, bool in_season, shop_list &shop) {
    copied_entry entry{name};
    const std::string path = from_ + "/" + name;
    if (stat(path.c_str(), &entry.status) != 0) {
        struct stat link {};
        const int why = errno;
        if (lstat(path.c_str(), &link) != 0 && errno == ENOENT) {
            return true;  // gone since the directory was read
        }
        errno = why;
        if (why != ENOENT) {
            return cannot_read(path);
        }
        result_.left_out.push_back(name);
    } else if (S_ISREG(entry.status.st_mode)) {
        bytes_ += static_cast<std::uint64_t>(entry.status.st_size);
        shop.files.push_back(entry);
    } else if (!S_ISDIR(entry.status.st_mode)) {
        result_.left_out.push_back(name);
    } else if (journal_name season{}; !in_season && journal_season(name, season)) {
        shop.directories.push_back(entry);
        return list(name, shop);
    }
    return true;
}

bool shop_copier::list(const std::string &directory, shop_list &shop) {
    const std::string path = directory.empty() ? from_ : from_ + "/" + directory;
    const int fd = open_unnoticed(path, O_DIRECTORY);
    const std::unique_ptr<DIR, int (*)(DIR *)> names(fd < 0 ? nullptr : fdopendir(fd), closedir);
    if (names == nullptr) {
        return cannot_read(path);
    }
    std::vector<std::string> found;
    errno = 0;
    while (const dirent *entry = readdir(names.get())) {
        found.emplace_back(entry->d_name);
    }
    if (errno != 0) {
        return cannot_read(path);
    }
    std::sort(found.begin(), found.end());
    return std::all_of(found.begin(), found.end(), [&](const std::string &name) {
        return name == "." || name == ".." ||
               look_at(directory.empty() ? name : directory + "/" + name, !directory.empty(), shop);
    });
}

bool shop_copier::has_room() {
    struct statvfs status {};
    if (statvfs(to_.c_str(), &status) != 0) {
        return true;  // unknown; a full disk shows when it is written
    }
    const std::uint64_t room = std::uint64_t{status.f_bavail} * status.f_frsize;
    if (room > bytes_) {
        return true;
    }
    constexpr std::uint64_t megabyte = 1024 * 1024;
    result_.why = str_format(detail_text(29, 2, "Te weinig schijfruimte in %s: %lu MB nodig, %lu MB vrij"),
                             to_.c_str(), static_cast<unsigned long>(bytes_ / megabyte + 1),
                             static_cast<unsigned long>(room / megabyte));
    return false;
}

bool shop_copier::clones(int in, int out) {
    if (sharing_ == sharing::fails) {
        return false;
    }
    const bool cloned = again_if_interrupted([&] { return ioctl(out, FICLONE, in); }) == 0;
    if (sharing_ == sharing::unknown) {
        sharing_ = cloned ? sharing::works : sharing::fails;
    }
    return cloned;
}

/// Copies a part from the positions of both files, by the kernel where it can. The number of bytes, 0 at the
/// end, -1 with errno.
ssize_t copy_part(int in, int out, bool &by_kernel) {
    constexpr std::size_t kernel_part = 16 << 20;
    constexpr std::size_t own_part = 1 << 18;
    if (by_kernel) {
        const ssize_t n =
            again_if_interrupted([&] { return copy_file_range(in, nullptr, out, nullptr, kernel_part, 0); });
        // Some file systems can't, and some say that a file is at its end when they can't.
        if (n > 0 || (n < 0 && (errno == EIO || errno == ENOSPC || errno == EDQUOT || errno == EFBIG))) {
            return n;
        }
        by_kernel = false;
    }
    static std::vector<char> buffer(own_part);
    const ssize_t n = again_if_interrupted([&] { return read(in, buffer.data(), buffer.size()); });
    for (ssize_t done = 0; done < n;) {
        const ssize_t written = again_if_interrupted(
            [&] { return write(out, buffer.data() + done, static_cast<std::size_t>(n - done)); });
        if (written < 0) {
            return -1;
        }
        done += written;
    }
    return n;
}

bool shop_copier::copy_content(const copied_entry &file, int in, int out) {
    if (file.status.st_size == 0 || clones(in, out)) {
        return true;
    }
    if (!room_known_) {
        room_known_ = true;
        if (!has_room()) {
            return false;
        }
    }
    bool by_kernel = true;
    for (;;) {
        const ssize_t n = copy_part(in, out, by_kernel);
        if (n == 0) {
            return true;
        }
        if (n < 0) {
            return cannot_write(to_ + "/" + file.name);
        }
        if (op_interrupted()) {
            result_.why = detail_text(29, 3, "Afgebroken tijdens de kopie");
            return false;
        }
    }
}

/// Gives a copy what its original has beside content. A user who may not give files away keeps them.
bool shop_copier::finish(const copied_entry &entry, int fd, mode_t owner_may) {
    const std::string path = to_ + "/" + entry.name;
    if (keep_ && fchown(fd, entry.status.st_uid, entry.status.st_gid) != 0 && errno != EPERM) {
        return cannot_write(path);
    }
    const mode_t mode = (entry.status.st_mode & all_modes) | (keep_ ? 0 : owner_may);
    const timespec times[] = {entry.status.st_atim, entry.status.st_mtim};
    return (fchmod(fd, mode) == 0 && futimens(fd, times) == 0 && (!keep_ || fsync(fd) == 0)) ||
           cannot_write(path);
}

bool shop_copier::copy_file(const copied_entry &file) {
    const std::string path = from_ + "/" + file.name;
    // Without a wait, should it have become a pipe meanwhile.
    const open_file in(open_unnoticed(path, O_NONBLOCK));
    copied_entry before{file.name};
    if (in.fd < 0 || fstat(in.fd, &before.status) != 0) {
        return errno == ENOENT || cannot_read(path);
    }
    if (!S_ISREG(before.status.st_mode)) {
        result_.left_out.push_back(file.name);
        return true;
    }
    const std::string copy = to_ + "/" + file.name;
    open_file out(again_if_interrupted(
        [&] { return open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_writes); }));
    if (out.fd < 0) {
        return cannot_write(copy);
    }
    if (!copy_content(before, in.fd, out.fd) || !finish(before, out.fd, owner_writes)) {
        return false;
    }
    struct stat after {};
    if (fstat(in.fd, &after) == 0 &&
        (after.st_size != before.status.st_size || after.st_mtim.tv_sec != before.status.st_mtim.tv_sec ||
         after.st_mtim.tv_nsec != before.status.st_mtim.tv_nsec)) {
        result_.changed.push_back(file.name);
    }
    return out.close() || cannot_write(copy);
}

bool shop_copier::finish_directory(const copied_entry &entry) {
    const std::string path = to_ + "/" + entry.name;
    const open_file fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd.fd < 0 ? cannot_write(path) : finish(entry, fd.fd, owner_only);
}

bool shop_copier::copy() {
    shop_list shop;
    copied_entry top{"."};
    if (stat(from_.c_str(), &top.status) != 0 || !list("", shop)) {
        return result_.why.empty() ? cannot_read(from_) : false;
    }
    for (const copied_entry &directory : shop.directories) {
        const std::string path = to_ + "/" + directory.name;
        if (mkdir(path.c_str(), owner_only) != 0) {
            return cannot_write(path);
        }
    }
    const bool copied = std::all_of(shop.files.begin(), shop.files.end(),
                                    [&](const copied_entry &file) { return copy_file(file); }) &&
                        std::all_of(shop.directories.begin(), shop.directories.end(),
                                    [&](const copied_entry &entry) { return finish_directory(entry); });
    // Nobody else may enter a private copy, whatever the original allows.
    return copied && (!keep_ || finish_directory(top));
}

/// False with errno when the directory is not there and can't be made, or holds something.
bool make_empty(const std::string &directory, bool &made) {
    made = mkdir(directory.c_str(), owner_only) == 0;
    if (made) {
        return true;
    }
    std::error_code error;
    const bool empty = errno == EEXIST && std::filesystem::is_directory(directory, error) &&
                       std::filesystem::is_empty(directory, error) && !error;
    if (!empty && errno == EEXIST) {
        errno = file_is_dir(directory.c_str()) ? ENOTEMPTY : EEXIST;
    }
    return empty;
}

/// The name of a directory stands in the one above it, which has to be put on disk as well.
void name_on_disk(const std::string &directory) {
    const open_file above(open((directory + "/..").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (above.fd >= 0) {
        fsync(above.fd);
    }
}

void empty_directory(const std::string &directory) {
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator(directory, ignored)) {
        std::filesystem::remove_all(entry.path(), ignored);
    }
}

copy_result cannot_make(const std::string &directory) {
    copy_result result;
    result.why = str_format("%s (%s: %s)", term_text(1, 602, "Schrijven niet gelukt"), directory.c_str(),
                            std::strerror(errno));
    return result;
}

}  // namespace

copy_result shop_copy(const std::string &from, const std::string &to) {
    bool made = false;
    if (!make_empty(to, made)) {
        return cannot_make(to);
    }
    copy_result result = shop_copier(from, to, true).run();
    if (!result.ok) {
        empty_directory(to);
        if (made) {
            rmdir(to.c_str());
        }
    } else if (made) {
        name_on_disk(to);
    }
    return result;
}

copy_result shop_copy_private(const std::string &from, const std::string &place,
                              const std::function<void(const std::string &)> &made) {
    std::string name = place + "/rvcheck-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        return cannot_make(name);
    }
    made(name);
    copy_result result = shop_copier(from, name, false).run();
    if (!result.ok) {
        shop_copy_remove(name);
    }
    return result;
}

void shop_copy_remove(const std::string &dir) {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
}
