// The clean copy of an order journal.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/owned_file.h"
#include "check/journals/journals.h"
#include "data/data.h"

namespace {

constexpr mode_t copy_mode = 0660;
constexpr std::size_t buffer_size = 65536;
/// A copy of this size holds no order: the journal is deleted.
constexpr std::int64_t bytes_without_order = 69;

struct journal_copy {
    int fd;
    std::string bytes = {};        ///< not on disk yet
    std::int64_t bytes_at = 0;     ///< their place
    std::int64_t order_place = 0;  ///< of the last order head
    int error = 0;

    void flush() {
        if (error == 0 && !file_write_at(fd, bytes.data(), bytes.size(), bytes_at)) {
            error = errno;
        }
        bytes_at += static_cast<std::int64_t>(bytes.size());
        bytes.clear();
    }
    [[nodiscard]] std::int64_t size() const {
        return bytes_at + static_cast<std::int64_t>(bytes.size());
    }
    void take(const journal_walk &walk) {
        // A head that may still be replaced is never flushed: only another head stands between the two.
        if (walk.replaces) {
            bytes.resize(static_cast<std::size_t>(order_place - bytes_at));
        } else if (bytes.size() >= buffer_size) {
            flush();
        }
        if (walk.code == 'O') {
            order_place = size();
        }
        bytes += walk.code;
        bytes.append(reinterpret_cast<const char *>(walk.payload.data()), walk.payload.size());
    }
    void finish() {
        flush();
        if (error == 0 && journal_copies_on_disk && fsync(fd) != 0) {
            error = errno;
        }
    }
};

/// Makes sure that renames and deletions in a season are on disk.
void sync_season(const std::string &path) {
    const open_file directory(
        open(path.substr(0, path.find('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (journal_copies_on_disk && directory.fd >= 0) {
        fsync(directory.fd);
    }
}

}  // namespace

bool journal_is_clean(journal_walk &walk) {
    bool clean = true;
    std::int64_t size = 0;
    while (journal_next(walk)) {
        if (walk.code == 'O') {
            op_leave_if_due();
        }
        clean = clean && walk.copied && !walk.replaces && !walk.renumbered;
        size += 1 + static_cast<std::int64_t>(walk.payload.size());
    }
    return clean && walk.end == journal_end::passed && size != bytes_without_order;
}

void journal_remove_copy(const journal_name &name) {
    unlink(journal_path(name, "TMP").c_str());
}

bool journal_write_copy(const journal_name &name, journal_walk &walk, std::int64_t &size) {
    const std::string path = journal_path(name, "TMP");
    journal_remove_copy(name);
    const open_file file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, copy_mode));
    if (file.fd < 0) {
        err_open(program_name, path.c_str());
    }
    journal_copy copy{file.fd};
    while (journal_next(walk)) {
        if (walk.code == 'O') {
            op_leave_if_due();
        }
        if (walk.copied) {
            copy.take(walk);
        }
    }
    copy.finish();
    size = copy.size();
    if (copy.error != 0) {
        journal_report(name, journal_fault::disk, std::strerror(copy.error));
    }
    return copy.error == 0 && (walk.end == journal_end::passed || walk.end == journal_end::empty);
}

journal_state journal_state_of(int fd) {
    struct stat info {};
    fstat(fd, &info);
    return {info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

void journal_take_copy(const journal_name &name, const journal_walk &walk, std::int64_t size) {
    const std::string journal = journal_path(name);
    const std::string copy = journal_path(name, "TMP");
    if (walk.end == journal_end::empty) {
        unlink(copy.c_str());
        return;
    }
    if (size == bytes_without_order) {
        unlink(journal.c_str());
        unlink(copy.c_str());
    } else if (rename(copy.c_str(), journal.c_str()) != 0) {
        isam_fatal("%s: errno=%d", journal.c_str(), errno);
    }
    sync_season(journal);
}
