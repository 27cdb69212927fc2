// The course of the order journal check, and of one journal.
#include "check/journals/journals.h"

#include <fcntl.h>
#include <unistd.h>

#include "data/data.h"

namespace {

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

}  // namespace

journal_check::journal_check()
    : chk_check({.flag = &ok_journals,
                 .date = &SysRow19::journals,
                 .shows_date = false,
                 .repairs = false,
                 .report_time = chk_report_time::before_walk}) {}

const char *journal_check::status() const {
    return detail_text(24, 1, "Controleren orderjournaals");
}

const char *journal_check::title() const {
    return detail_text(24, 2, "CONTROLEREN ORDERJOURNAALS");
}

void journal_check::open() {
    any_failed = false;
    numbers.open();
    chk_eti_raw(raw_action::open);
}

/// Checks one journal; false when it has failed.
bool journal_check::check_journal(const journal_name &name) {
    const open_file journal(::open(journal_path(name).c_str(), O_RDWR | O_CLOEXEC));
    if (journal.fd < 0) {
        journal_report_closed(str_format("%04d%c", name.year, name.letter),
                              str_format("ORD%04d.JRN", name.number));
        return false;
    }
    while (!file_lock_soon([&] { return file_lock(lock_action::sole, journal.fd, 0, 0); })) {
        op_leave_if_due();
        op_in_use(lock_holder_text("", journal.fd, 0, 0).c_str());
    }
    const journal_state before = journal_state_of(journal.fd);
    journal_walk walk;
    journal_begin(walk, journal.fd, eti_next_serial);
    const bool clean = journal_is_clean(walk);
    std::int64_t size = 0;
    if (!clean) {
        journal_again(walk);
        if (!journal_write_copy(name, walk, size)) {
            journal_report_end(name, walk);
            return false;
        }
    }
    // A program that ignores the lock has written: its order is in the journal, but not in the copy.
    if (!(journal_state_of(journal.fd) == before)) {
        journal_report(name, journal_fault::changed, journal_findings()[3].text());
        return false;
    }
    if (clean) {
        journal_remove_copy(name);
    } else {
        journal_take_copy(name, walk, size);
    }
    // The copy, if there was one, is the journal now. The lock is released before any series is held.
    file_lock(lock_action::unlock, journal.fd, 0, 0);
    numbers.follow(walk, name);
    if (walk.end == journal_end::unreadable) {
        journal_report_end(name, walk);
        return false;
    }
    // A journal that has stayed in its place may be written from here on. Orders that the last walk missed by
    // that would lose their numbers.
    if (clean && walk.end != journal_end::passed) {
        journal_report(name, journal_fault::changed, journal_findings()[3].text());
        return false;
    }
    return true;
}

void journal_check::check_season(const std::string &directory, journal_name name) {
    // A directory that can't be entered would look like a season without journals.
    if (access(directory.c_str(), R_OK | W_OK | X_OK) != 0) {
        journal_report_closed(directory, directory);
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

/// When the terminal is closed meanwhile the program leaves at the next order: what is left over by then the
/// next run puts right, as after a program that died.
bool journal_check::walk() {
    op_clear(op_field::journal);
    each_name("%*4d%*[ZWK]", dir_kind::directories, [this](const std::string &directory) {
        journal_name name{};
        if (journal_season(directory, name)) {
            check_season(directory, name);
        }
    });
    numbers.close();
    if (!any_failed) {
        numbers.settle();
    }
    return true;
}

void journal_check::close() {
    numbers.end();
    chk_eti_raw(raw_action::close);
}

void chk_journals() {
    journal_check check;
    chk_perform(check);
}
