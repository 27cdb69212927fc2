#include "command/shop_checks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/codepage.h"
#include "command/courier.h"
#include "command/course.h"
#include "command/operator.h"
#include "command/text_report.h"

namespace {

using steady = std::chrono::steady_clock;

constexpr int most_rounds = 4;        // through all checks
constexpr int most_rounds_alone = 8;  // of one check

constexpr char passed[] = "passed";
constexpr char failed[] = "failed";
constexpr char not_needed[] = "not_needed";
constexpr char not_run[] = "not_run";
constexpr char cancelled[] = "cancelled";

/// Under which the reports of a check go in one of the rounds.
std::string report_name(const char *check, int round) {
    return check + (round > 1 ? "-round" + std::to_string(round) : std::string());
}

/// Those of an earlier run would be taken for this one's.
void remove_old_reports() {
    for (const chk_row &row : chk_rows()) {
        for (int round = 1; round <= most_rounds; round++) {
            text_report_name(report_name(row.name, round));
        }
        text_report_name("entry-" + std::to_string(row.entry));
    }
}

check_record *record_now = nullptr;

const char *severity_of(finding_fate fate) {
    return fate == finding_fate::mended ? "mended" : fate == finding_fate::asked ? "asked" : "human";
}

/// Whether a finding of that kind is put right; null where only the next look tells. That is so when the
/// answer will be no, too: the label check puts back some of what it would ask about.
json mended_of(finding_fate fate) {
    return fate == finding_fate::asked ? json(nullptr) : json(fate == finding_fate::mended);
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

shop_checks *checks_now = nullptr;

}  // namespace

shop_checks::shop_checks(const run_options &options, std::string shop)
    : options_(options), shop_(std::move(shop)) {
    checks_now = this;
    chk_finding_listener = [](const finding &found) { checks_now->hear(found); };
    chk_look_listener = [](const char *status) {
        if (record_now != nullptr) {
            record_now->begin_look(status);
        }
    };
}

shop_checks::~shop_checks() {
    chk_finding_listener = nullptr;
    chk_look_listener = nullptr;
}

void shop_checks::hear(const finding &found) {
    if (record_now == nullptr || !record_now->add(found)) {
        return;
    }
    courier_send({{"type", "finding"},
                  {"shop", shop_},
                  {"check", running_->name},
                  {"code", found.kind.code},
                  {"severity", severity_of(found.kind.fate)},
                  {"mended", mended_of(found.kind.fate)},
                  {"file", codepage_to_utf8(found.file)},
                  {"fields", fields_of(found)},
                  {"text", shown_text(found.kind.text())},
                  {"remedy", shown_text(found.kind.remedy())}});
}

// ---- One check

/// Lets a check look until all that can be put right is put right. Once it has passed it has passed, until
/// it finds something else.
void shop_checks::look(const chk_row &row, state &here) {
    bool ever = false;
    std::uint64_t before = 0;
    for (int round = 0; round < most_rounds_alone; round++) {
        chk_run_row(row);
        ever = ever || *row.passed;
        const std::uint64_t made = here.record.state();
        if (operator_cancelled() || !here.record.needs_another_look(options_.answers != answer_mode::ask) ||
            (round > 0 && made == before)) {
            break;
        }
        before = made;
    }
    const std::uint64_t made = here.record.state();
    here.passed = ever || (here.passed && made == here.made);
    here.made = made;
    *row.passed = here.passed;
}

void shop_checks::run(const chk_row &row) {
    state &here = states_[&row];
    const auto began = steady::now();
    running_ = &row;
    record_now = &here.record;
    operator_follow(record_now, row.name);
    text_report_name(report_name(row.name, round_));
    look(row, here);
    operator_follow(nullptr, "");
    record_now = nullptr;
    running_ = nullptr;
    ran_.insert(&row);
    done_.insert(&row);
    here.seconds += std::chrono::duration<double>(steady::now() - began).count();
    here.result = operator_cancelled() ? cancelled : here.passed ? passed : failed;
    here.reason.clear();
}

/// Runs a check, or notes why it does not run.
void shop_checks::take_one(const chk_row &row) {
    std::string reason = detail_text(28, 34, "afgebroken");
    const course_verdict verdict =
        operator_cancelled() ? course_verdict::not_run : course_judge(row, ran_, reason);
    if (verdict == course_verdict::run) {
        run(row);
        return;
    }
    if (verdict == course_verdict::not_needed) {
        *row.passed = row.entry != entry_customers;
    } else if (ran_.contains(&row)) {
        return;  // in an earlier round, of which its result tells
    }
    state &here = states_[&row];
    here.result = verdict == course_verdict::not_needed ? not_needed : not_run;
    here.reason = reason;
}

// ---- All of them

/// A damaged system needs some checks before all others.
void shop_checks::take_start() {
    SysRow10 status{};
    iotab_row(tab_action::read, row_status, status);
    if (status.state != state_missing_files && status.state != state_critical_stop) {
        return;
    }
    set_system_busy("@2");
    for (const chk_row *row : options_.checks) {
        if (!row->at_start) {
            continue;
        }
        run(*row);
        if (!*row->passed || operator_cancelled()) {
            return;
        }
    }
}

/// The report that all checks of an entry have passed, as behind the menu.
void shop_checks::print_summary(int entry, int title) {
    for (const chk_row &row : chk_rows()) {
        const bool counts = row.entry == entry && (row.needed == nullptr || row.needed());
        if (counts && (!ran_.contains(&row) || !*row.passed)) {
            return;
        }
    }
    text_report_name("entry-" + std::to_string(entry));
    chk_print_summary(title);
}

void shop_checks::take() {
    remove_old_reports();
    take_start();
    chk_full_run = true;
    long mended = 0;
    for (; round_ <= most_rounds; round_++) {
        for (const chk_row *row : options_.checks) {
            if (!done_.contains(row)) {
                take_one(*row);
            }
        }
        done_.clear();
        const long now = counts().mended;
        if (operator_cancelled() || now == mended) {
            break;
        }
        mended = now;
    }
    if (!operator_cancelled()) {
        print_summary(entry_series, phrase_all_series);
        print_summary(entry_customers, phrase_all_customers);
        print_summary(entry_other, phrase_all_other);
    }
    chk_full_run = false;
}

// ---- What has become of them

void shop_checks::tell_one(const chk_row &row, const state &here) {
    const bool whole = here.result == passed || here.result == failed;
    finding_counts all;
    json codes = json::object();
    for (const auto &[code, counted] : here.record.counts(!whole)) {
        all += counted;
        codes[code] = {{"found", counted.found}, {"mended", counted.mended}, {"left", counted.left}};
    }
    courier_send({{"type", "check"},
                  {"shop", shop_},
                  {"check", row.name},
                  {"result", here.result},
                  {"reason", here.reason.empty() ? json(nullptr) : json(shown_text(here.reason))},
                  {"found", all.found},
                  {"mended", all.mended},
                  {"left", all.left},
                  {"codes", codes},
                  {"seconds", here.seconds}});
}

void shop_checks::tell(const char *result, const std::string &why) {
    if (running_ != nullptr) {
        states_[running_].result = result;
        states_[running_].reason = why;
        running_ = nullptr;
        record_now = nullptr;
    }
    for (const chk_row *row : options_.checks) {
        state &here = states_[row];
        if (here.result == nullptr) {
            here.result = not_run;
            here.reason = why;
        }
        tell_one(*row, here);
    }
}

finding_counts shop_checks::counts() const {
    finding_counts all;
    for (const auto &[row, here] : states_) {
        for (const auto &[code, counted] : here.record.counts(false)) {
            all += counted;
        }
    }
    return all;
}

bool shop_checks::sound() const {
    return std::all_of(ran_.begin(), ran_.end(), [](const chk_row *row) { return *row->passed; });
}

std::string shop_checks::unexplained() const {
    if (counts().left > 0 || operator_cancelled()) {
        return "";
    }
    for (const chk_row *row : options_.checks) {
        const auto found = states_.find(row);
        if (found == states_.end() || found->second.result == failed) {
            return str_format(detail_text(28, 33, "%s is niet goed, zonder bevinding"), row->name);
        }
        if (found->second.result == not_run) {
            return str_format("%s: %s, %s", row->name, detail_text(28, 35, "niet uitgevoerd"),
                              found->second.reason.c_str());
        }
    }
    return "";
}
