// Removal of the temporary files that earlier days left behind.
#include <sys/stat.h>

#include <cstdint>
#include <ctime>
#include <string>

#include "check/session/session.h"

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
    op_tell(op_notice::space_freed, {detail_text(7, 319, "Tijdelijke bestanden zijn verwijderd..."),
                                     detail_text(3, 604, "Extra ruimte op de harddisk"),
                                     str_format("%.1lf Mb", static_cast<double>(kilobytes) / 1024)});
}

}  // namespace

void chk_remove_temp() {
    op_caption(op_field::temporary_files, detail_text(7, 874, "Verwijderen tijdelijke bestanden"));
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
                op_value(op_field::temporary_files, std::to_string(++count).c_str());
            }
        }
        DIRECTORY(dir_action::close, name);
    }
    op_clear(op_field::temporary_files);
    if (total >= worth_telling) {
        tell_space(total);
    }
}
