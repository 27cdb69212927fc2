// Removal of the temporary files that earlier days left behind.
#include <sys/stat.h>

#include <cstdint>
#include <ctime>
#include <string>

#include "run/run.h"
#include "screen/screen.h"

namespace {

constexpr const char *patterns[] = {"PR*", "TP*", "TEMP*"};
constexpr std::int64_t worth_telling = 512001;  // bytes

/// Day of the last change, by the local clock; today for a file that is gone or can't be looked at.
day_number changed_on(const std::string &name) {
    struct stat info {};
    std::tm local{};
    if (stat(name.c_str(), &info) != 0 || localtime_r(&info.st_mtime, &local) == nullptr) {
        return date_today();
    }
    const std::string day = str_format("%02d%02d%02d", local.tm_mday, local.tm_mon + 1, local.tm_year % 100);
    return date_from_str(day.c_str());
}

void tell_space(std::int64_t bytes) {
    const std::int64_t kilobytes = bytes / 1024;
    win_open1(scr->scr_lines - 5, 1, 5, 80);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", detail_text(7, 319, "Tijdelijke bestanden zijn verwijderd..."));
    const int length = scr_text(A_BOLD, 2, 2, "%s", detail_text(3, 604, "Extra ruimte op de harddisk"));
    scr_text(A_BOLD, 2, 2 + length + 1, "%.1lf Mb", static_cast<double>(kilobytes) / 1024);
    ing_enter(3, 2);
    win_close();
}

}  // namespace

void chk_remove_temp() {
    const int last = scr->scr_lines;
    const int length =
        scr_text(A_BOLD, last, 1, "%s", detail_text(7, 874, "Verwijderen tijdelijke bestanden"));
    scr_flush(0);
    const day_number today = date_today();
    std::int64_t total = 0;
    int count = 0;
    for (const char *pattern : patterns) {
        std::string name = pattern;
        if (!DIRECTORY(dir_action::open, name)) {
            continue;
        }
        while (DIRECTORY(dir_action::next, name)) {
            if (changed_on(name) >= today) {
                continue;
            }
            const off_t size = file_size(name.c_str());
            if (file_delete(name.c_str())) {
                total += size > 0 ? size : 0;
                scr_text(A_BOLD, last, length + 2, "%d", ++count);
            }
        }
        DIRECTORY(dir_action::close, name);
    }
    scr_clear_eol(last, 1);
    if (total >= worth_telling) {
        tell_space(total);
    }
}
