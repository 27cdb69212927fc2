// The course of the EAN code check, its question and its repair.
#include "check/ean/ean.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "data/data.h"
#include "data/masterfile.h"

namespace {

/// A line of the delete list: the code, and the number of its record.
constexpr int line_bytes = 13 + 11 + 1;

bool ask_assign() {
    return op_ask(op_question::assign_codes, detail_text(23, 5, "Instore EAN-codes toekennen"),
                  {detail_text(23, 4, "Serie-maten zonder EAN-code aangetroffen: raadpleeg het overzicht")});
}

}  // namespace

ean_check::ean_check()
    : chk_check({.flag = &ok_ean, .date = &SysRow19::ean, .report_time = chk_report_time::before_walk}) {}

const char *ean_check::status() const {
    return detail_text(23, 1, "controleren EAN-codes");
}

const char *ean_check::title() const {
    return detail_text(23, 2, "CONTROLEREN EAN-CODES");
}

const char *ean_check::success() const {
    return detail_text(23, 3, "Serie-maten met EAN-code correct");
}

void ean_check::open() {
    sound = true;
    accepted = false;
    op_caption(op_field::ean_code, detail_text(21, 26, "Eannummer"));
    articles = pair_open("RVARTREG", ix_readonly, sizeof(SmallArticleRecord));
    codes = pair_open(ean_file_name, ix_shared, sizeof(EanRecord));
    chk_eti_raw(raw_action::open);
    findings.open();
    list.create();
}

bool ean_check::walk() {
    return check_sizes() && check_codes() && ean_check_index(codes, sound);
}

void ean_check::heads(bool) {
    ean_heads();
}

void ean_check::report() {
    if (findings.empty()) {
        return;
    }
    accepted = ask_assign();
    if (accepted) {
        const leave_guard undisturbed;
        assign_codes();
    }
    ean_report(findings, codes);
}

/// Gives codes to the sizes without one; what stays on the list is what the report shows.
void ean_check::assign_codes() {
    SeriesRecord series{};
    bool found = false;
    bool first = true;
    findings.for_each([&](const ean_finding &finding) {
        if (finding.code[0] != '\0') {
            return;
        }
        if (first || !(series.key == finding.key)) {
            series = {};
            series.key = finding.key;
            found = IXREAD(chk_files.rvser, &series);
            if (found) {
                ean_generate(codes, series, series.sizes);
            }
            first = false;
        }
        if (found) {
            IXDELETE(findings.icb(), &finding);
        }
    });
}

void ean_check::repair() {
    list.rewind();
    char line[line_bytes + 1];
    while (std::fread(line, line_bytes, 1, list.stream()) == 1) {
        line[line_bytes] = '\0';
        const auto number =
            static_cast<std::int32_t>(std::strtol(line + sizeof EanRecord::code, nullptr, 10));
        EanRecord record{};
        const bool live = IXGET(codes, &record, number) == 1;
        const std::string text = str_format("%-13.13s", ean_text(record).c_str());
        if (live && text.compare(0, text.size(), line, text.size()) == 0) {
            ean_delete(codes, number, record);
        }
    }
}

void ean_check::close() {
    findings.close();
    list.remove();
    chk_eti_raw(raw_action::close);
    IXCLOSE(articles);
    IXCLOSE(codes);
}

void chk_ean() {
    ean_check check;
    chk_perform(check);
}
