// The check of the master data. It asks nothing: what can be corrected is corrected during the walk.
//
//   1  settings of the tills, and the highest session number that was given out
//   2  the reference files, each from front to back: descriptions, references, session numbers
//   3  their findings, class by class
//   4  the series, with a line for each finding
//
// A field that was corrected and reported is an error of this run, so the check passes in the next one.
#include "check/master/master.h"

#include <fcntl.h>

#include "base/owned_file.h"
#include "check/frame/old_course.h"

namespace {

constexpr char module_name[] = "chkhdl";
constexpr char till_file[] = "KASPARM.TXT";
constexpr std::uint8_t option_session_limit = 1;

master_files files;

/// What a file that is too short lacks stays zero: no saving action in use.
void read_tills() {
    const open_file file(open(till_file, O_RDONLY | O_CLOEXEC));
    files.tills = {};
    if (file.fd < 0 || file_read_at(file.fd, &files.tills, sizeof files.tills, 0) < 0) {
        err_open(module_name, till_file);
    }
}

std::uint16_t read_session_limit() {
    SysRow8 limits{};
    if ((sys_settings.session_options & option_session_limit) == 0) {
        return 0;
    }
    iotab_row(tab_action::read, row_limits, limits);
    return limits.session_limit;
}

void open_files() {
    files = {};
    read_tills();
    master_clear();
    files.session_limit = read_session_limit();
    op_caption(op_field::series_referring, detail_text(20, 61, "Serienummer"));
    files.articles = pair_open("RVARTREG", ix_shared, sizeof(SmallArticleRecord));
    files.turnover = pair_open("RVOMZGRP", ix_shared, sizeof(TurnoverGroupRecord));
    files.staff = pair_open("RVVKP", ix_shared, sizeof(StaffRecord));
    if ((sys_settings.mode & mode_customers) != 0) {
        IXCLOSE(pair_open("RVKLT", ix_shared, any_length));  // only to make sure that it can be opened
    }
}

void close_files() {
    IXCLOSE(files.articles);
    IXCLOSE(files.turnover);
    IXCLOSE(files.staff);
    files = {};
    master_clear();
}

bool walk() {
    if (!master_walk_references(files)) {
        return false;
    }
    master_print_classes();
    return master_walk_series();
}

const chk_course course{
    .status = [] { return detail_text(20, 62, "controleren serie-stamgegevens"); },
    .title = [] { return detail_text(20, 63, "CONTROLEREN SERIE-STAMGEGEVENS"); },
    .flag = &ok_master,
    .date = &SysRow19::master,
    .shows_date = false,
    .report_time = chk_report_time::first,
    .open = open_files,
    .walk = walk,
    .has_errors = [] { return master_errors() != 0; },
    .close = close_files,
};

}  // namespace

void chk_master() {
    chk_perform(course);
}
