#include "command/shop.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "base/codepage.h"
#include "check/session/session.h"
#include "command/courier.h"
#include "command/course.h"
#include "command/operator.h"
#include "command/shop_copy.h"
#include "command/text_report.h"
#include "data/shop_session.h"

namespace {

using steady = std::chrono::steady_clock;

/// The shop of this process.
struct {
    const run_options *options = nullptr;
    const shop_orders *orders = nullptr;
    std::string copy;           ///< private, to be removed
    bool is_open = false;       ///< the user slot is bound
    bool ends = false;          ///< being left
    bool cancelled = false;     ///< a check was broken off
    long left = 0;              ///< findings
    bool missed_check = false;  ///< a check did not run, or has not passed and told nothing
    std::string missed_why;
    std::uint16_t printer = 0;  ///< the operator's print set-up, as it was
    std::uint8_t print_flags = 0;
    std::uint8_t print_connection = 0;
    std::set<const chk_row *> ran;
} shop;

/// The check that runs.
struct running_check {
    const chk_row &row;
    check_record record;
    steady::time_point began = steady::now();

    explicit running_check(const chk_row &of) : row(of) {}
};
running_check *running = nullptr;

double seconds_since(steady::time_point began) {
    return std::chrono::duration<double>(steady::now() - began).count();
}

// ---- What is told

const char *severity_of(finding_fate fate) {
    return fate == finding_fate::mended ? "mended" : fate == finding_fate::asked ? "asked" : "human";
}

/// Whether a finding of that kind will have been mended; null while that is not known.
json mended_of(finding_fate fate) {
    if (fate == finding_fate::mended) {
        return true;
    }
    return fate == finding_fate::asked && operator_may_agree() ? json(nullptr) : json(false);
}

json fields_of(const finding &found) {
    json fields = json::object();
    for (const finding_field &field : found.fields) {
        if (field.number) {
            fields[field.name] = std::strtoll(field.value.c_str(), nullptr, 10);
        } else {
            fields[field.name] = codepage_to_utf8(field.value);
        }
    }
    return fields;
}

void tell_finding(const finding &found) {
    if (running == nullptr || !running->record.add(found)) {
        return;
    }
    courier_send({{"type", "finding"},
                  {"shop", shop.orders->directory},
                  {"check", running->row.name},
                  {"code", found.kind.code},
                  {"severity", severity_of(found.kind.fate)},
                  {"mended", mended_of(found.kind.fate)},
                  {"file", codepage_to_utf8(found.file)},
                  {"fields", fields_of(found)},
                  {"text", shown_text(found.kind.text())},
                  {"remedy", shown_text(found.kind.remedy())}});
}

void tell_check(const chk_row &row, const char *result, const std::string &reason, double seconds,
                const std::map<std::string, finding_counts> &counts) {
    finding_counts all;
    json codes = json::object();
    for (const auto &[code, counted] : counts) {
        all += counted;
        codes[code] = {{"found", counted.found}, {"mended", counted.mended}, {"left", counted.left}};
    }
    shop.left += all.left;
    if (all.left == 0 && std::strcmp(result, "failed") == 0) {
        shop.missed_check = true;
        shop.missed_why = str_format(detail_text(28, 33, "%s is niet goed, zonder bevinding"), row.name);
    }
    courier_send({{"type", "check"},
                  {"shop", shop.orders->directory},
                  {"check", row.name},
                  {"result", result},
                  {"reason", reason.empty() ? json(nullptr) : json(codepage_to_utf8(reason))},
                  {"found", all.found},
                  {"mended", all.mended},
                  {"left", all.left},
                  {"codes", codes},
                  {"seconds", seconds}});
}

/// Tells the check that runs, and that it runs no more.
void tell_running(const char *result, const std::string &reason) {
    const bool whole = std::strcmp(result, "passed") == 0 || std::strcmp(result, "failed") == 0;
    tell_check(running->row, result, reason, seconds_since(running->began), running->record.counts(!whole));
    operator_follow(nullptr, "");
    running = nullptr;
}

// ---- The end

[[noreturn]] void finish(bool unchecked, bool cancelled, const std::string &why) {
    if (!shop.copy.empty()) {
        shop_copy_remove(shop.copy);
    }
    courier_send({{"type", "end"},
                  {"unchecked", unchecked},
                  {"cancelled", cancelled},
                  {"reason", why.empty() ? json(nullptr) : json(codepage_to_utf8(why))}});
    _exit(0);
}

void restore_print_setup() {
    sys_slot.printer = shop.printer;
    sys_slot.print_flags = shop.print_flags;
    sys_slot.print_connection = shop.print_connection;
}

/// Gives the user slot back, with a warning to other programs when the labels were not proved sound.
void close_shop() {
    restore_print_setup();
    if (!ok_labels) {
        set_program_status(status_chains_suspect);
    }
    shop.is_open = false;
    shop_close();
}

[[noreturn]] void stop(stop_cause cause, const std::string &why, bool orderly) {
    const bool cancelled = cause == stop_cause::cancelled;
    const bool first = !shop.ends;
    shop.ends = true;
    if (first && running != nullptr) {
        tell_running(cancelled ? "cancelled" : "stopped", why);
    }
    if (first && orderly && shop.is_open) {
        close_shop();
    }
    finish(!cancelled, cancelled, why);
}

// ---- The checks

/// Lets a check look until all that can be put right is put right. A check that has passed once has passed.
void look(const chk_row &row) {
    constexpr int most_rounds = 8;
    bool passed = false;
    std::uint64_t before = 0;
    for (int round = 0; round < most_rounds; round++) {
        shop.cancelled = !chk_run_row(row) && chk_broken_off;
        passed = passed || *row.passed;
        const std::uint64_t state = running->record.state();
        if (shop.cancelled || operator_cancelled() || !running->record.needs_another_look() ||
            (round > 0 && state == before)) {
            break;
        }
        before = state;
    }
    *row.passed = passed;
    shop.cancelled = shop.cancelled || operator_cancelled();
}

void run_check(const chk_row &row) {
    running_check check(row);
    running = &check;
    operator_follow(&check.record, row.name);
    text_report_name(row.name);
    look(row);
    shop.ran.insert(&row);
    tell_running(shop.cancelled ? "cancelled" : *row.passed ? "passed" : "failed", "");
}

/// Runs a check, or tells why it does not run.
void take_check(const chk_row &row) {
    std::string reason = detail_text(28, 34, "afgebroken");
    const course_verdict verdict =
        shop.cancelled ? course_verdict::not_run : course_judge(row, shop.ran, reason);
    switch (verdict) {
        case course_verdict::run:
            run_check(row);
            break;
        case course_verdict::not_needed:
            *row.passed = row.entry != entry_customers;
            tell_check(row, "not_needed", reason, 0, {});
            break;
        case course_verdict::not_run:
            shop.missed_check = shop.missed_check || !shop.cancelled;
            shop.missed_why =
                shop.missed_why.empty()
                    ? std::string(row.name) + ": " + detail_text(28, 35, "niet uitgevoerd") + ", " + reason
                    : shop.missed_why;
            tell_check(row, "not_run", reason, 0, {});
            break;
    }
}

/// A damaged system needs some checks before all others.
void take_start_checks() {
    SysRow10 status{};
    iotab_row(tab_action::read, row_status, status);
    if (status.state != state_missing_files && status.state != state_critical_stop) {
        return;
    }
    set_system_busy("@2");
    for (const chk_row *row : shop.options->checks) {
        if (!row->at_start) {
            continue;
        }
        if (shop.cancelled) {
            return;
        }
        run_check(*row);
        if (!*row->passed) {
            return;
        }
    }
}

/// The report that all checks of an entry have passed, as behind the menu.
void print_summary(int entry, int title) {
    for (const chk_row &row : chk_rows()) {
        const bool counts = row.entry == entry && (row.needed == nullptr || row.needed());
        if (counts && (!shop.ran.contains(&row) || !*row.passed)) {
            return;
        }
    }
    text_report_name("entry-" + std::to_string(entry));
    chk_print_summary(title);
}

void take_checks() {
    take_start_checks();
    chk_full_run = true;
    for (const chk_row *row : shop.options->checks) {
        if (!shop.ran.contains(row)) {
            take_check(*row);
        }
    }
    if (!shop.cancelled) {
        print_summary(entry_series, phrase_all_series);
        print_summary(entry_customers, phrase_all_customers);
        print_summary(entry_other, phrase_all_other);
    }
    chk_full_run = false;
}

// ---- The shop

/// A marker that is there must not say what is no longer true.
void settle_marker() {
    const bool passed = std::all_of(shop.ran.begin(), shop.ran.end(), [](auto *row) { return *row->passed; });
    if (!passed) {
        chk_marker_remove();
    } else if (shop.options->marker && !shop.missed_check && !shop.cancelled && chk_all_recent()) {
        chk_marker_write();
    }
}

/// Opens the shop as rvchk860 does.
void open_shop() {
    shop_open();
    if (std::string release; !shop_release_fits(release)) {
        stop(stop_cause::fatal,
             str_format("%s %-.5s", detail_text(3, 914, "Foutieve release: bestanden van"), release.c_str()),
             true);
    }
    shop_begin();
    shop.printer = sys_slot.printer;
    shop.print_flags = sys_slot.print_flags;
    shop.print_connection = sys_slot.print_connection;
    if (shop_whole_amounts()) {
        setenv("KPOS", "geset", 1);
    }
    set_program_title(detail_text(2, 660, "bestandscontroles"));
    chk_remove_temp();
    if (shop.options->marker) {
        chk_marker_remove();
    }
    if (chk_master_data_waits()) {
        stop(stop_cause::fatal, detail_text(8, 991, "Eerst stamgegevens verwerken a.u.b."), true);
    }
    chk_release_indexes();
    chk_reset_dates();
    chk_session_open();
    shop.is_open = true;
}

/// Makes the copies that were asked for, and gives the directory in which the checks work.
std::string prepare_directory() {
    const shop_orders &orders = *shop.orders;
    const std::string from = std::filesystem::absolute(orders.directory).string();
    copy_result result{.ok = true, .why = {}, .left_out = {}, .changed = {}};
    std::string work = from;
    if (shop.options->rehearse && orders.keep.empty()) {
        result = shop_copy_private(from, work);
        shop.copy = result.ok ? work : "";
        courier_send({{"type", "copy"}, {"directory", shop.copy}});
    } else if (shop.options->rehearse) {
        work = orders.keep;
        result = shop_copy(from, work);
    } else if (!orders.backup.empty()) {
        result = shop_copy(from, orders.backup);
    }
    if (!result.ok) {
        stop(operator_cancelled() ? stop_cause::cancelled : stop_cause::fatal, result.why, true);
    }
    for (const std::string &file : result.changed) {
        courier_send(
            {{"type", "notice"},
             {"text", file + ": " + shown_text(detail_text(28, 36, "gewijzigd tijdens het kopieren"))}});
    }
    return work;
}

}  // namespace

void shop_run(const run_options &options, const shop_orders &orders, const sigset_t &mask) {
    shop.options = &options;
    shop.orders = &orders;
    operator_install({.answers = options.answers, .wait = options.wait, .bars = orders.bars, .stop = stop});
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    chk_finding_listener = tell_finding;
    chk_look_listener = [](const char *status) {
        if (running != nullptr) {
            running->record.begin_look(status);
        }
    };
    const std::string directory = prepare_directory();
    if (chdir(directory.c_str()) != 0) {
        stop(stop_cause::fatal, std::strerror(errno), true);
    }
    text_report_install(orders.report);
    open_shop();
    take_checks();
    chk_session_close();
    settle_marker();
    close_shop();
    // What is left explains why the checks behind it did not run.
    const bool unexplained = shop.missed_check && shop.left == 0;
    finish(unexplained, shop.cancelled, unexplained ? shop.missed_why : "");
}
