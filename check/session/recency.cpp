// Which checks have passed lately, and the marker that lets the conversion go on.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "check/session/session.h"

namespace {

constexpr char marker_name[] = "RVCHK860.OK";
constexpr char module_name[] = "rvchk860";
constexpr day_number days_recent = 7;

/// True when the marker asks for a date of the check.
bool is_required(const chk_row &row) {
    return row.marker == chk_marker::always ||
           (row.marker == chk_marker::with_customers && shop_has_customers());
}

}  // namespace

bool chk_all_recent() {
    SysRow19 dates{};
    iotab_row(tab_action::read, row_dates, dates);
    const auto limit = static_cast<day_number>(date_today() - days_recent);
    const auto rows = chk_rows();
    return std::all_of(rows.begin(), rows.end(),
                       [&](const chk_row &row) { return !is_required(row) || dates.*row.date > limit; });
}

void chk_reset_dates() {
    SysRow19 dates{};
    iotab_row(tab_action::lock_read, row_dates, dates);
    std::memset(dates.zeroed, 0, sizeof dates.zeroed);
    if ((sys_settings.mode & (mode_customers | mode_customer_labels)) == 0) {
        dates.customers = 0;
    }
    iotab_row(tab_action::write, row_dates, dates);
}

void chk_marker_remove() {
    if (!file_delete(marker_name)) {
        err_open(module_name, marker_name);
    }
}

void chk_marker_write() {
    const int fd = open(marker_name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0660);
    if (fd < 0) {
        err_open(module_name, marker_name);
    }
    close(fd);
}

bool chk_marker_exists() {
    return file_exists(marker_name);
}
