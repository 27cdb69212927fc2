// Checks as tables of functions.
#pragma once

#include "check/frame/frame.h"

/// What a check supplies of its own. Entries that are null are left out.
struct chk_course {
    const char *(*status)();  ///< title for the status line
    const char *(*title)();   ///< title of the report
    bool *flag;               ///< session flag, set when the check has passed; null for none
    chk_date date = nullptr;  ///< its field in row 19
    bool shows_date = true;   ///< the report tells that date
    bool writes_date = true;  ///< a clean run writes it
    bool withdraws = false;   ///< errors take back an earlier pass
    bool runs_again = true;   ///< after a repair, from the start
    chk_report_time report_time = chk_report_time::after_walk;
    chk_refusal refusal{};

    void (*open)() = nullptr;                  ///< files, rows, error list
    bool (*walk)() = nullptr;                  ///< the passes; false when the operator cancelled
    bool (*has_errors)() = nullptr;            ///< asked after the walk
    void (*mend)() = nullptr;                  ///< repairs that need no question, before the report
    void (*preface)() = nullptr;               ///< below the head of the first report page
    void (*heads)(bool first_page) = nullptr;  ///< column heads of a report page
    void (*report)() = nullptr;                ///< the error lines, or what comes below lines printed earlier
    const char *(*success)() = nullptr;        ///< in place of "Geen fouten gevonden!"
    void (*figures)() = nullptr;               ///< after that line
    void (*finish)() = nullptr;      ///< once the report is gone, with or without errors, unless cancelled
    bool (*ask)() = chk_ask_repair;  ///< the question before `repair`
    void (*repair)() = nullptr;
    void (*close)() = nullptr;  ///< called on every way out, once `open` has run
};
void chk_perform(const chk_course &course);
