// The course of the master data check.
#include "check/master/master.h"

#include <fcntl.h>

#include "base/owned_file.h"

namespace {

constexpr char module_name[] = "chkhdl";
constexpr char till_file[] = "KASPARM.TXT";
constexpr std::uint8_t option_session_limit = 1;

/// What a file that is too short lacks stays zero: no saving action in use.
TillSettings read_tills() {
    const open_file file(open(till_file, O_RDONLY | O_CLOEXEC));
    TillSettings tills{};
    if (file.fd < 0 || file_read_at(file.fd, &tills, sizeof tills, 0) < 0) {
        err_open(module_name, till_file);
    }
    return tills;
}

std::uint16_t read_session_limit() {
    SysRow8 limits{};
    if ((sys_settings.session_options & option_session_limit) == 0) {
        return 0;
    }
    iotab_row(tab_action::read, row_limits, limits);
    return limits.session_limit;
}

}  // namespace

master_check::master_check()
    : chk_check({.flag = &ok_master,
                 .date = &SysRow19::master,
                 .shows_date = false,
                 .repairs = false,
                 .report_time = chk_report_time::first}) {}

const char *master_check::status() const {
    return detail_text(20, 62, "controleren serie-stamgegevens");
}

const char *master_check::title() const {
    return detail_text(20, 63, "CONTROLEREN SERIE-STAMGEGEVENS");
}

void master_check::open() {
    files = {};
    found = {};
    files.tills = read_tills();
    files.session_limit = read_session_limit();
    op_caption(op_field::series_referring, detail_text(20, 61, "Serienummer"));
    files.articles = pair_open("RVARTREG", ix_shared, sizeof(SmallArticleRecord));
    files.turnover = pair_open("RVOMZGRP", ix_shared, sizeof(TurnoverGroupRecord));
    files.staff = pair_open("RVVKP", ix_shared, sizeof(StaffRecord));
    if ((sys_settings.mode & mode_customers) != 0) {
        IXCLOSE(pair_open("RVKLT", ix_shared, any_length));  // only to make sure that it can be opened
    }
}

bool master_check::walk() {
    if (!master_walk_references(files, found)) {
        return false;
    }
    found.print();
    return master_walk_series(found);
}

void master_check::close() {
    IXCLOSE(files.articles);
    IXCLOSE(files.turnover);
    IXCLOSE(files.staff);
}

void chk_master() {
    master_check check;
    chk_perform(check);
}
