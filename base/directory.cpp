// Walks over the names in a directory.
//
// A walk reads the whole directory when it opens, keeps the matching names and sorts them, so files that are
// made or deleted meanwhile do not disturb it. Opening changes to the pattern's directory and back. After
// that a walk needs no descriptor and does not depend on the working directory.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "base/file_pattern.h"
#include "base/files.h"
#include "base/interrupted_call.h"
#include "base/operator.h"

namespace {

constexpr std::size_t deepest_nesting = 11;
constexpr std::size_t longest_pattern = 80;

struct walk {
    std::string prefix;              ///< absolute path with '/' when the pattern named a directory
    std::vector<std::string> names;  ///< sorted
    std::size_t cursor = 0;
};

std::vector<walk> walks;  // innermost last

/// Notes the working directory and goes back to it on every way out, even if it has been moved meanwhile.
struct kept_directory {
    int fd = again_if_interrupted([] { return open(".", O_PATH | O_DIRECTORY | O_CLOEXEC); });
    bool left = false;
    kept_directory() = default;
    kept_directory(const kept_directory &) = delete;
    kept_directory &operator=(const kept_directory &) = delete;
    ~kept_directory() {
        // Callers delete files by names relative to their directory, so going on in another one would be
        // dangerous.
        if (left && fchdir(fd) != 0) {
            isam_fatal("DIRECTORY : CHDIR");
        }
        if (fd >= 0) {
            close(fd);
        }
    }
    bool go(const std::string &path) {
        left = fd >= 0 && chdir(path.c_str()) == 0;
        return left;
    }
};

struct close_stream {
    void operator()(DIR *stream) const {
        closedir(stream);
    }
};

bool has_kind(DIR *stream, const dirent *entry, dir_kind kind) {
    const bool directories = kind == dir_kind::directories;
    if (entry->d_type == DT_REG || entry->d_type == DT_DIR) {
        return (entry->d_type == DT_DIR) == directories;
    }
    if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) {
        return false;
    }
    struct stat status {};
    return fstatat(dirfd(stream), entry->d_name, &status, 0) == 0 &&
           (directories ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode));
}

/// Calls `take` with each name of `kind` in the working directory. False when it can't be read.
template <class Take>
bool each_name(dir_kind kind, Take take) {
    const std::unique_ptr<DIR, close_stream> stream(opendir("."));
    if (stream == nullptr) {
        return false;
    }
    while (const dirent *entry = readdir(stream.get())) {
        if (has_kind(stream.get(), entry, kind)) {
            take(std::string(entry->d_name));
        }
    }
    return true;
}

/// The working directory with a '/' added; empty when it has no path.
std::string working_directory() {
    char *path = getcwd(nullptr, 0);
    std::string result = path == nullptr ? "" : path;
    std::free(path);
    if (!result.empty() && result.back() != '/') {
        result += '/';
    }
    return result;
}

/// Cuts everything up to the last '/' off a pattern and returns it.
std::string cut_directory(std::string &pattern) {
    const std::size_t length = pattern.rfind('/') + 1;
    std::string directory = pattern.substr(0, length);
    pattern.erase(0, length);
    return directory;
}

bool open_walk(walk &opened, std::string pattern, dir_kind kind) {
    if (pattern.size() > longest_pattern) {
        return false;
    }
    const std::string directory = cut_directory(pattern);
    const std::string format = pattern_format(pattern);
    kept_directory kept;
    if (!directory.empty()) {
        if (!kept.go(directory)) {
            return false;
        }
        opened.prefix = working_directory();
        if (opened.prefix.empty()) {
            return false;
        }
    }
    const bool readable = each_name(kind, [&](std::string name) {
        if (format_match(format, name)) {
            opened.names.push_back(std::move(name));
        }
    });
    std::sort(opened.names.begin(), opened.names.end());
    return readable && !opened.names.empty();
}

bool push_walk(const std::string &pattern, dir_kind kind) {
    if (walks.size() >= deepest_nesting) {
        isam_fatal("DIRECTORY : ALLOC");
    }
    walk opened;
    if (!open_walk(opened, pattern, kind)) {
        return false;
    }
    walks.push_back(std::move(opened));
    return true;
}

bool next_name(std::string &text) {
    if (walks.empty() || walks.back().cursor == walks.back().names.size()) {
        return false;
    }
    walk &current = walks.back();
    text = current.prefix + current.names[current.cursor++];
    return true;
}

int count_files(std::string &pattern) {
    if (walks.size() >= deepest_nesting) {
        isam_fatal("FILES_PRESENT : ALLOC voor DIR_ENT");
    }
    pattern.resize(std::char_traits<char>::length(pattern.c_str()));
    const bool too_long = pattern.size() > longest_pattern;
    const std::string directory = cut_directory(pattern);
    kept_directory kept;
    if (too_long || (!directory.empty() && !kept.go(directory))) {
        return 0;
    }
    const bool by_format = pattern.empty() || pattern.find("%*") != std::string::npos;
    const std::string format = by_format ? pattern_format(pattern) : "";
    int count = 0;
    each_name(dir_kind::files, [&](const std::string &name) {
        count += by_format ? format_match(format, name) : wildcard_match(pattern.c_str(), name.c_str());
    });
    return count;
}

}  // namespace

bool DIRECTORY(dir_action action, std::string &text, dir_kind kind) {
    try {
        switch (action) {
            case dir_action::open:
                return push_walk(text, kind);
            case dir_action::next:
                return next_name(text);
            case dir_action::close:
                if (!walks.empty()) {
                    walks.pop_back();
                }
                return true;
        }
    } catch (const std::bad_alloc &) {
        isam_fatal("DIRECTORY : ALLOC");
    }
    return false;
}

int FILES_PRESENT(std::string &pattern) {
    try {
        return count_files(pattern);
    } catch (const std::bad_alloc &) {
        isam_fatal("FILES_PRESENT : ALLOC voor DIR_ENT");
    }
}
