// The course of a check, from the status line to the run after a repair.
//
//   1  status line, files, rows, error list; in some checks the destination of the report comes first
//   2  the walk. A check that the operator cancels closes its files and leaves flag and date alone
//   3  repairs that need no question
//   4  the report: the errors; or, outside a full run, that there are none
//   5  without errors: the flag is set, and today becomes the date of the last error-free run
//   6  the report goes to its destination, and the check does what it does after every full walk
//   7  with errors: the question, and on yes the repair
//   8  files and error list are closed; after a repair everything is done once more, to show what is left
//
// A repair never sets the date itself; only the run that follows it does.
#include "check/frame/frame.h"

#include "check/frame/findings.h"
#include "data/data.h"
#include "report/report.h"

namespace {

/// The check that is running, and the date of its last error-free run as it stood at the start.
struct current_check {
    chk_check *check = nullptr;
    day_number last_date = 0;
};
current_check current;

/// What is known of a run after its walk.
struct outcome {
    bool broken_off = false;
    bool errors = false;
    bool report = false;   ///< the job is open
    bool refused = false;  ///< no destination was chosen
};

void open_report(outcome &run) {
    run.report = chk_open_report();
    run.refused = !run.report;
}

bool wants_report(const chk_check &check, const outcome &run) {
    switch (check.settings.report_time) {
        case chk_report_time::after_walk:
            return true;
        case chk_report_time::as_needed:
            return run.errors || !chk_full_run;
        default:
            return false;
    }
}

void print_success(chk_check &check) {
    chk_report_header(check.title(), check.settings.shows_date, current.last_date);
    check.preface();
    prt_printf("%s", check.success());
    prt_newline();
    prt_newline();
    check.figures();
}

void finish_clean(chk_check &check, const outcome &run) {
    const chk_settings &settings = check.settings;
    if (run.report && !chk_full_run) {
        print_success(check);
    }
    if (settings.flag != nullptr && (!run.refused || settings.refusal.keeps_flag)) {
        *settings.flag = true;
    }
    if (settings.date != nullptr && settings.writes_date && (!run.refused || settings.refusal.keeps_date)) {
        chk_write_date(settings.date);
    }
}

void finish_with_errors(chk_check &check, const outcome &run) {
    if (run.report || check.settings.report_time == chk_report_time::by_check) {
        check.report();
    }
}

/// Asks and repairs; true when the repair has run.
bool ask_and_repair(chk_check &check, const outcome &run) {
    const bool ends = run.refused && check.settings.refusal.ends;
    if (!check.settings.repairs || run.broken_off || !run.errors || ends || !check.ask()) {
        return false;
    }
    const leave_guard undisturbed;
    check.repair();
    return true;
}

/// What follows a walk that was not cancelled, up to the report.
void judge(chk_check &check, outcome &run) {
    run.errors = check.has_errors();
    if (run.errors) {
        // At once: the program may be left at a question that comes before the report.
        if (check.settings.withdraws) {
            *check.settings.flag = false;
        }
        check.mend();
    }
    if (wants_report(check, run)) {
        open_report(run);
    }
    if (run.errors) {
        finish_with_errors(check, run);
    } else {
        finish_clean(check, run);
    }
}

/// The files of the session stay open while other programs add records, which a check has to see.
void renew_counts() {
    for (ICB *file : {chk_files.rvart, chk_files.rvgo, chk_files.rvlev, chk_files.rvmerk, chk_files.rvontv,
                      chk_files.rvser, chk_files.rvmaat, chk_files.rvmtom, chk_files.rvkoers}) {
        if (file != nullptr) {
            ix_renew_count(file);
        }
    }
}

/// One run; true when it ended with a repair.
bool run_once(chk_check &check) {
    const chk_settings &settings = check.settings;
    current = {&check, settings.date == nullptr ? day_number{0} : chk_last_date(settings.date)};
    op_interrupt_arm();
    if (chk_look_listener != nullptr) {
        chk_look_listener(check.status());
    }
    outcome run;
    if (settings.report_time == chk_report_time::first) {
        open_report(run);
        if (run.refused) {
            return false;
        }
    }
    op_status(check.status());
    renew_counts();
    check.open();
    if (settings.report_time == chk_report_time::before_walk) {
        open_report(run);
        if (run.refused) {
            check.close();
            return false;
        }
    }
    run.broken_off = !check.walk();
    if (run.broken_off) {
        chk_broken_off = true;
    } else {
        judge(check, run);
    }
    if (run.report) {
        prt_close("");
    }
    if (!run.broken_off) {
        check.finish();
    }
    const bool repaired = ask_and_repair(check, run);
    check.close();
    return repaired;
}

}  // namespace

const char *chk_check::success() const {
    return chk_name(phrase_no_errors);
}

bool chk_check::ask() {
    return chk_ask_repair();
}

bool chk_room(int margin) {
    chk_check *check = current.check;
    if (check == nullptr || !chk_page_full(margin)) {
        return false;
    }
    const bool first_page = prt_job.rpt_page == 0;
    chk_report_header(check->title(), check->settings.shows_date, current.last_date);
    if (first_page) {
        check->preface();
    }
    check->heads(first_page);
    return true;
}

void chk_perform(chk_check &check) {
    if (chk_files.rvser == nullptr) {
        err_internal(program_name, 3);  // no shop is open
    }
    const current_check outer = current;
    while (run_once(check) && check.settings.runs_again) {
    }
    current = outer;
}
