// The parts that every check uses, and the course that it follows.
//
// A check is an object derived from `chk_check`, which goes its course in `chk_perform`: the status line is
// shown, what the check needs is opened, it walks, the report is printed, flag and date are set when there is
// nothing to report, the operator is asked, the check repairs, and all starts again.
#pragma once

#include <string>

#include "check/check.h"
#include "check/frame/error_list.h"
#include "data/pricefile.h"

// ---- Texts

/// Numbers of the standard phrases.
enum chk_phrase : int {
    phrase_labels = 1,           ///< "etiketten"
    phrase_prices = 2,           ///< "prijzen"
    phrase_customers = 3,        ///< "klanten"
    phrase_check_titles = 4,     ///< "controleren titulatuurcodes klanten"
    phrase_check_countries = 5,  ///< "controleren landcodes klanten"
    phrase_check_customers = 6,  ///< "controleren klanten"
    phrase_check_sizes = 7,      ///< "controleren maten"
    phrase_no_errors = 8,        ///< "Geen fouten gevonden!"
    phrase_price_block = 9,      ///< "prijsblok"
    phrase_outside = 10,         ///< "buiten bestand"
    phrase_in_free_chain = 11,   ///< "in vrijketting"
    phrase_seen_before = 12,     ///< "reeds aanwezig"
    phrase_other_series = 13,    ///< "van andere serie"
    phrase_no_series = 14,       ///< "van niet aanwezige serie"
    phrase_not_in_chain = 15,    ///< "niet in ketting"
    phrase_all_series = 16,      ///< "alle controles series/etiketten"
    phrase_all_customers = 17,   ///< "alle controles klanten"
    phrase_all_other = 18,       ///< "alle controles overig"
};
/// A standard phrase; empty for any other index.
const char *chk_name(int index);

// ---- Operator

enum class chk_bar : int { open = 1, step = 2, close = 3 };
/// The progress bar in its window: opens it for `total` with a caption, moves it to `current` of `total`, or
/// closes it, whatever the numbers.
void chk_progress(std::uint32_t current, std::uint32_t total, chk_bar action, const char *text = nullptr);
/// Begins a phase and opens the bar at the start of a pass. The pass ends, cancelled or
/// not, with `chk_progress(0, 0, chk_bar::close)`.
void chk_phase(const char *caption, std::uint32_t total);
/// The question whether errors are to be repaired, default no.
bool chk_ask_repair();

// ---- Report

/// Opens the report on the operator's print set-up, 132 columns wide. False when no destination was chosen.
bool chk_open_report();
/// Begins a page. A title without ":" gets the program's title in front. The first page also shows the
/// package and directory and, when `show_date` is set, the date of the last error-free run (0: never).
void chk_report_header(const char *title, bool show_date, day_number date);
/// A line of "-" across the report.
void chk_dashes();
/// True when fewer than `margin` lines are left on the page, or none was begun.
bool chk_page_full(int margin);
/// A report line which says that the shop itself must check the prices of the series above.
void chk_note_prices();
/// The report that all checks of an entry have passed; `title` is the number of the entry's phrase.
void chk_print_summary(int title);

// ---- Dates of the last error-free runs

/// A field of row 19.
using chk_date = little_uint16_t SysRow19::*;
/// The date in row 19, read fresh from the file; 0 for never.
day_number chk_last_date(chk_date field);
/// Writes today's date, with the row locked meanwhile.
void chk_write_date(chk_date field);

// ---- Files and blocks

/// The first record of a scan by `IXSEQ` from the front. A scan of the file that another walk left unfinished
/// would continue where it stopped and miss the records before that, so it is ended first.
bool chk_scan_first(ICB *file, void *record);
/// Size in bytes of NAME.TXT, -1 when there is none.
off_t chk_txt_size(const char *name);
/// Price blocks, as `raw_access`.
int chk_ipg_raw(raw_action action, std::int32_t block, PriceBlock &buffer);
/// The same for open and close.
int chk_ipg_raw(raw_action action);

/// The bit map of seen blocks; one at a time. A bit outside the map counts as set.
void chk_bits_open(std::size_t bytes);
bool chk_bit_test(std::int64_t bit);
/// Sets a bit; false when it was set before.
bool chk_bit_set(std::int64_t bit);
/// Makes the map longer; the new bits are clear.
void chk_bits_grow(std::size_t bytes);
void chk_bits_close();

// ---- The course of a check

/// When the report of a check is opened.
enum class chk_report_time {
    first,        ///< before anything else, even the status line; lines are printed during the walk
    before_walk,  ///< the same, once the check has opened its files
    after_walk,   ///< there is always a job, which is dropped when nothing is printed
    as_needed,    ///< after the walk, and only when there is something to print
    by_check,     ///< the check opens and closes its reports itself
};

/// What happens when the operator chooses no destination.
struct chk_refusal {
    bool ends = true;         ///< the check ends: no question, and none of the following
    bool keeps_flag = false;  ///< a clean run still sets the flag
    bool keeps_date = false;  ///< a clean run still writes the date
};

/// What stands for a check from the start.
struct chk_settings {
    bool *flag = nullptr;     ///< session flag, set when the check has passed; null for none
    chk_date date = nullptr;  ///< its field in row 19
    bool shows_date = true;   ///< the report tells that date
    bool writes_date = true;  ///< a clean run writes it
    bool withdraws = false;   ///< errors take back an earlier pass
    bool repairs = true;      ///< errors lead to the question and the repair
    bool runs_again = true;   ///< after a repair, from the start
    chk_report_time report_time = chk_report_time::after_walk;
    chk_refusal refusal{};
};

/// A check: what it gathers, and what it supplies to the course. It lives as long as the check runs; `open`
/// sets back what an earlier turn has gathered.
class chk_check {
public:
    explicit chk_check(chk_settings wanted) : settings(wanted) {}
    virtual ~chk_check() = default;
    chk_check(const chk_check &) = delete;
    chk_check &operator=(const chk_check &) = delete;

    /// Title for the status line, and of the report.
    virtual const char *status() const = 0;
    virtual const char *title() const = 0;

    /// Files, rows, error list.
    virtual void open() {}
    /// The passes; false when the operator cancelled.
    virtual bool walk() = 0;
    /// Asked after the walk.
    virtual bool has_errors() = 0;
    /// Repairs that need no question, before the report.
    virtual void mend() {}
    /// Below the head of the first report page.
    virtual void preface() {}
    /// Column heads of a report page.
    virtual void heads(bool /*first_page*/) {}
    /// The error lines, or what comes below lines printed earlier.
    virtual void report() {}
    /// What the report of a clean run says, and what comes after that line.
    virtual const char *success() const;
    virtual void figures() {}
    /// Once the report is gone, with or without errors, unless cancelled.
    virtual void finish() {}
    /// The question before `repair`.
    virtual bool ask();
    virtual void repair() {}
    /// Called on every way out, once `open` has run.
    virtual void close() {}

    const chk_settings settings;
};

/// Runs a check, again after each repair. Afterwards its flag tells whether it has passed.
void chk_perform(chk_check &check);
/// For the check that is running: begins a page with the heads when fewer than `margin` lines are left. True
/// when it began one.
bool chk_room(int margin);
