// The check of the order journals and of the list of their order numbers.
//
// For each journal of each season:
//   1  A walk checks the order of its records, and writes the clean copy beside it.
//   2  A journal that fails is left as it is, with its copy beside it, and nothing in it has any effect.
//   3  The copy of a journal that passes replaces it, once the copy is complete on disk.
//   4  A second walk, through the old journal, updates the list of order numbers and gives the labels of
//      renumbered orders their new number. A run that dies before this leaves orders with their new numbers
//      in the journal, and the next run does the same for these.
// When all have passed, each order number is looked up in its journal; one that isn't there is deleted.
#include "check/journals/journals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "base/owned_file.h"
#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "report/report.h"

namespace {

bool any_failed = false;

/// Four digits, -1 for anything else.
int four_digits(const char *text) {
    int value = 0;
    for (int i = 0; i < 4; i++) {
        if (text[i] < '0' || text[i] > '9') {
            return -1;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

/// A byte as the report can show it.
char shown(char c) {
    constexpr unsigned char first_visible = 32;
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0 ? ' ' : byte < first_visible ? '?' : c;
}

void report_failure(const journal_name &name, const journal_walk &walk) {
    const long at = static_cast<long>(walk.at);
    switch (walk.end) {
        case journal_end::unknown_code:
            journal_report(name, str_format("%s (%s=%c, fpos=%ld) --> %s",
                                            detail_text(24, 5, "Ongeldige kode"), detail_text(24, 10, "kode"),
                                            shown(walk.code), at, detail_text(24, 8, "FOUT")));
            break;
        case journal_end::order_misplaced:
            journal_report(
                name,
                str_format("%s (%s=%c, %s=%c, fpos=%ld) --> %s", detail_text(24, 6, "Ongeldige volgorde"),
                           detail_text(24, 10, "kode"), walk.code, detail_text(24, 11, "prevkode"),
                           walk.previous, at, detail_text(24, 8, "FOUT")));
            break;
        case journal_end::cut_off:
            journal_report(
                name, str_format("%s (%s=%c, fpos=%ld) --> %s", detail_text(24, 7, "Onvolledig record"),
                                 detail_text(24, 10, "kode"), walk.code, at, detail_text(24, 8, "FOUT")));
            break;
        case journal_end::unreadable:
            journal_report(name,
                           str_format("%s --> %s", std::strerror(walk.error), detail_text(24, 8, "FOUT")));
            break;
        default:
            break;
    }
}

/// Checks one journal; false when it has failed.
bool check_journal(const journal_name &name) {
    const open_file journal(open(journal_path(name).c_str(), O_RDWR | O_CLOEXEC));
    if (journal.fd < 0) {
        return false;
    }
    while (!file_lock(lock_action::sole, journal.fd, 0, 0)) {
        op_leave_if_due();
        op_in_use(lock_holder_text("", journal.fd, 0, 0).c_str());
    }
    const journal_state before = journal_state_of(journal.fd);
    journal_walk walk;
    journal_begin(walk, journal.fd, eti_next_serial);
    std::int64_t size = 0;
    if (!journal_write_copy(name, walk, size)) {
        report_failure(name, walk);
        return false;
    }
    // A program that ignores the lock has written: its order is in the journal, but not in the copy.
    if (!(journal_state_of(journal.fd) == before)) {
        journal_report(name, str_format("%s --> %s", detail_text(24, 9, "Gewijzigd tijdens controle"),
                                        detail_text(24, 8, "FOUT")));
        return false;
    }
    journal_take_copy(name, walk, size);
    // The copy is the journal now. The lock on the old one is released before any series is held.
    file_lock(lock_action::unlock, journal.fd, 0, 0);
    journal_follow(walk, name);
    if (walk.end == journal_end::unreadable) {
        report_failure(name, walk);
        return false;
    }
    return true;
}

/// Calls `visit` with each name in the present directory, or in the one that `pattern` begins with.
template <class Visit>
void each_name(std::string pattern, dir_kind kind, Visit visit) {
    std::string name = std::move(pattern);
    if (!DIRECTORY(dir_action::open, name, kind)) {
        return;
    }
    while (DIRECTORY(dir_action::next, name, kind)) {
        visit(name.substr(name.rfind('/') + 1));
    }
    DIRECTORY(dir_action::close, name, kind);
}

void check_season(const std::string &directory, journal_name name) {
    // A directory that can't be entered would look like a season without journals.
    if (access(directory.c_str(), R_OK | W_OK | X_OK) != 0) {
        any_failed = true;
        return;
    }
    each_name(directory + "/ORD%*4d.JRN", dir_kind::files, [&](const std::string &file) {
        if (journal_number(file, name)) {
            op_leave_if_due();
            op_value(op_field::journal, str_format("%s/%-13s", directory.c_str(), file.c_str()).c_str());
            any_failed = !check_journal(name) || any_failed;
        }
    });
}

// ---- The course

const char *status_text() {
    return detail_text(24, 1, "Controleren orderjournaals");
}

const char *title_text() {
    return detail_text(24, 2, "CONTROLEREN ORDERJOURNAALS");
}

void open_files() {
    any_failed = false;
    journal_numbers_open();
    chk_eti_raw(raw_action::open);
}

/// When the terminal is closed meanwhile the program leaves at the next order: what is left over by then the
/// next run puts right, as after a program that died.
bool walk_journals() {
    op_clear(op_field::journal);
    each_name("%*4d%*[ZWK]", dir_kind::directories, [](const std::string &directory) {
        journal_name name{};
        if (journal_season(directory, name)) {
            check_season(directory, name);
        }
    });
    journal_numbers_close();
    if (!any_failed) {
        journal_settle_numbers();
    }
    return true;
}

void close_files() {
    journal_numbers_end();
    chk_eti_raw(raw_action::close);
}

constexpr chk_course course{
    .status = status_text,
    .title = title_text,
    .flag = &ok_journals,
    .date = &SysRow19::journals,
    .shows_date = false,
    .report_time = chk_report_time::before_walk,
    .open = open_files,
    .walk = walk_journals,
    .has_errors = [] { return any_failed; },
    .close = close_files,
};

}  // namespace

std::string journal_path(const journal_name &name, const char *extension) {
    return str_format("%04d%c/ORD%04d.%s", name.year, name.letter, name.number, extension);
}

bool journal_season(const std::string &directory, journal_name &name) {
    constexpr int first_year = 1980;
    constexpr int last_year = 2079;
    if (directory.size() != 5 || std::string_view("ZWK").find(directory[4]) == std::string_view::npos) {
        return false;
    }
    name.letter = directory[4];
    name.year = four_digits(directory.c_str());
    return name.year == 0 || (name.year >= first_year && name.year <= last_year);
}

bool journal_number(const std::string &file, journal_name &name) {
    if (file.size() != 11 || !file.starts_with("ORD") || !file.ends_with(".JRN")) {
        return false;
    }
    name.number = four_digits(file.c_str() + 3);
    return name.number >= 0;
}

void journal_report(const journal_name &name, const std::string &text) {
    if (chk_page_full(1)) {
        chk_report_header(detail_text(24, 3, "CONTROLE ORDERJOURNAALS"), false, 0);
    }
    prt_printf("%04d%c ORD%04d.JRN: %s", name.year, name.letter, name.number, text.c_str());
    prt_newline();
}

void chk_journals() {
    chk_perform(course);
}
