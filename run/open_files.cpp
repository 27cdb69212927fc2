#include "run/open_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "base/base.h"
#include "run/startup.h"
#include "screen/screen.h"
#include "store/store.h"

namespace {

constexpr int not_measured = -1;
constexpr int first_descriptor = 3;
constexpr int last_descriptor = 15;
constexpr int first_row = 3;

int file_baseline = not_measured;

/// Name of the file in the directory of `pattern` that is the same file as `wanted`; empty when there is
/// none.
std::string name_in(const std::string &pattern, const struct stat &wanted) {
    std::string found;
    std::string name = pattern;
    if (!DIRECTORY(dir_action::open, name)) {
        return found;
    }
    while (found.empty() && DIRECTORY(dir_action::next, name)) {
        struct stat info {};
        if (stat(name.c_str(), &info) == 0 && info.st_ino == wanted.st_ino && info.st_dev == wanted.st_dev) {
            found = name;
        }
    }
    DIRECTORY(dir_action::close, name);
    return found;
}

/// A season directory: a year and the letter of the season.
bool is_season(const std::string &name) {
    constexpr std::size_t season_length = 5;
    int year = 0;
    return name.size() == season_length && std::sscanf(name.c_str(), "%4d", &year) == 1 &&
           (year == 0 || (year >= 1980 && year <= 2079));
}

std::string name_of(const struct stat &wanted) {
    std::string found = name_in("*", wanted);
    std::string season = "%*4d%*[ZWK]";
    if (!found.empty() || !DIRECTORY(dir_action::open, season, dir_kind::directories)) {
        return found.empty() ? "???" : found;
    }
    while (found.empty() && DIRECTORY(dir_action::next, season, dir_kind::directories)) {
        if (is_season(season)) {
            // The walk gives full paths, which would not fit on the line.
            found = name_in(season + "/*", wanted);
            found = found.empty() ? found : std::string(season).append(found, found.rfind('/'));
        }
    }
    DIRECTORY(dir_action::close, season);
    return found.empty() ? "???" : found;
}

void list_open_files() {
    int row = first_row;
    for (int fd = first_descriptor; fd <= last_descriptor; fd++) {
        struct stat info {};
        if (fstat(fd, &info) != 0 || S_ISCHR(info.st_mode)) {
            continue;
        }
        scr_text(A_BOLD, row, 1, "file-%2d  size=%-7ld %s", fd, static_cast<long>(info.st_size),
                 name_of(info).c_str());
        if (++row >= scr->scr_lines) {
            row = first_row;
        }
    }
}

}  // namespace

void open_file_check() {
    const int measure = open_file_limit();
    if (file_baseline == not_measured) {
        file_baseline = measure;
        return;
    }
    if (file_baseline <= 0 || file_baseline == measure) {
        return;
    }
    if (measure < file_baseline) {
        list_open_files();
    }
    win_open1(scr->scr_lines - 5, 1, 4, 80);
    win_title(" %s ", program_name);
    beep();
    scr_text(A_BOLD, 1, 2, "Files nog open: %d  (begin=%d, einde=%d)", file_baseline - measure, file_baseline,
             measure);
    ing_enter(2, 2);
    win_close();
}
