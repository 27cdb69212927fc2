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

#include "print/print.h"
#include "screen/screen.h"

namespace {

/// The check that is running, and the date of its last error-free run as it stood at the start.
struct running_check {
    const chk_course *course = nullptr;
    day_number last_date = 0;
};
running_check running;

void call(void (*step)()) {
    if (step != nullptr) {
        step();
    }
}

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

bool wants_report(const chk_course &course, const outcome &run) {
    switch (course.report_time) {
        case chk_report_time::after_walk:
            return true;
        case chk_report_time::as_needed:
            return run.errors || !chk_full_run;
        default:
            return false;
    }
}

void print_success(const chk_course &course) {
    chk_report_header(course.title(), course.shows_date, running.last_date);
    call(course.preface);
    prt_printf("%s", course.success == nullptr ? chk_name(phrase_no_errors) : course.success());
    prt_newline();
    prt_newline();
    call(course.figures);
}

void finish_clean(const chk_course &course, const outcome &run) {
    if (run.report && !chk_full_run) {
        print_success(course);
    }
    if (course.flag != nullptr && (!run.refused || course.refusal.keeps_flag)) {
        *course.flag = true;
    }
    if (course.date != nullptr && course.writes_date && (!run.refused || course.refusal.keeps_date)) {
        chk_write_date(course.date);
    }
}

void finish_with_errors(const chk_course &course, const outcome &run) {
    if (run.report || course.report_time == chk_report_time::by_check) {
        call(course.report);
    }
}

/// Asks and repairs; true when the repair has run.
bool ask_and_repair(const chk_course &course, const outcome &run) {
    if (course.repair == nullptr || run.broken_off || !run.errors || (run.refused && course.refusal.ends)) {
        return false;
    }
    if (course.ask != nullptr && !course.ask()) {
        return false;
    }
    const leave_guard undisturbed;
    course.repair();
    return true;
}

/// One run; true when it ended with a repair.
bool run_once(const chk_course &course) {
    running = {&course, course.date == nullptr ? day_number{0} : chk_last_date(course.date)};
    ing_break_reset();
    outcome run;
    if (course.report_time == chk_report_time::first) {
        open_report(run);
        if (run.refused) {
            return false;
        }
    }
    chk_status('C', "%s", course.status());
    call(course.open);
    if (course.report_time == chk_report_time::before_walk) {
        open_report(run);
        if (run.refused) {
            call(course.close);
            return false;
        }
    }
    run.broken_off = course.walk != nullptr && !course.walk();
    if (run.broken_off) {
        chk_broken_off = true;
    } else {
        run.errors = course.has_errors != nullptr && course.has_errors();
        if (run.errors) {
            // At once: the program may be left at a question that comes before the report.
            if (course.withdraws) {
                *course.flag = false;
            }
            call(course.mend);
        }
        if (wants_report(course, run)) {
            open_report(run);
        }
        if (run.errors) {
            finish_with_errors(course, run);
        } else {
            finish_clean(course, run);
        }
    }
    if (run.report) {
        prt_close("");
    }
    if (!run.broken_off) {
        call(course.finish);
    }
    const bool repaired = ask_and_repair(course, run);
    call(course.close);
    return repaired;
}

}  // namespace

bool chk_room(int margin) {
    const chk_course *course = running.course;
    if (course == nullptr || !chk_page_full(margin)) {
        return false;
    }
    const bool first_page = prt_job.rpt_page == 0;
    chk_report_header(course->title(), course->shows_date, running.last_date);
    if (first_page) {
        call(course->preface);
    }
    if (course->heads != nullptr) {
        course->heads(first_page);
    }
    return true;
}

void chk_perform(const chk_course &course) {
    const running_check outer = running;
    while (run_once(course) && course.runs_again) {
    }
    running = outer;
}
