// The check of the EAN codes.
//
//   A  Every size of every series has a code, in a shop that requires codes.
//   B  Every code points to a size of a series, or to a small article.
//   C  The index of the codes is sound, and no size has two codes.
// When the operator agrees, the sizes without a code get one of the shop's own, and the codes that point to
// nothing are deleted.
#include "check/ean/ean.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/owned_file.h"
#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "data/iomaat.h"
#include "data/leesstam.h"
#include "report/report.h"

namespace {

/// The delete list: a line for each code, with the number of its record.
constexpr int line_bytes = 13 + 11 + 1;

struct {
    ICB *codes = nullptr;
    ICB *articles = nullptr;
    ean_findings findings{"tmp_prt",
                          {{"key-1", false, {{'I', 0, 4}, {'I', 4, 2}, {'I', 6, 2}, {'I', 8, 1}}}}};
    std::string list_name;
    open_stream list;
    bool sound = true;
    bool accepted = false;
} check;

void show_code(const EanRecord &record) {
    op_value(op_field::ean_code, ean_text(record).c_str());
}

void add_finding(const SeriesKey &key, std::uint8_t size, std::uint8_t kind, const EanRecord *code) {
    ean_finding finding{};
    finding.key = key;
    finding.size = size;
    finding.size_kind = kind;
    if (code != nullptr) {
        std::memcpy(finding.code, code->code, sizeof finding.code);
    }
    if (!IXFIND(check.findings.icb(), &finding)) {
        check.findings.add(finding);
    }
}

// ---- A: sizes without a code

void check_series(const SeriesRecord &series) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind, &series.sizes);
    size_cursor size{};
    for (int found = mtread(session_sizes, mt_action::first, size, mt_key::position); found != 0;
         found = mtread(session_sizes, mt_action::next, size, mt_key::position)) {
        EanRecord record;
        if (ean_read_series(check.codes, record, series.key, size.index)) {
            show_code(record);
        } else {
            add_finding(series.key, size.position, series.size_kind, nullptr);
        }
    }
}

/// False when the operator cancelled. A shop that does not require codes has no findings here.
bool check_sizes() {
    if (sys_country.ean_check_option == 0) {
        return true;
    }
    SeriesRecord series{};
    std::int32_t left = chk_files.rvser->nrecs;  // a damaged index can lead in a circle
    for (bool found = IXFIRST(chk_files.rvser, &series); found && left-- > 0;
         found = IXNEXT(chk_files.rvser, &series)) {
        const std::int32_t here = chk_files.rvser->recno;
        check_series(series);
        chk_files.rvser->recno = here;
        if (op_interrupted()) {
            return false;
        }
    }
    return true;
}

// ---- B: codes that point to nothing

bool article_exists(std::uint32_t number) {
    SmallArticleRecord article{};
    article.number = static_cast<std::uint16_t>(number);
    return number == article.number && IXFINDP(check.articles, &article, 1);
}

bool points_to_nothing(const EanRecord &code, SeriesRecord &series) {
    if (code.type == ean_of_article) {
        return !article_exists(code.group);
    }
    if (code.type != ean_of_series) {
        return false;
    }
    series.key.group = code.group;
    series.key.colour = code.colour;
    series.key.number = code.number;
    return !IXREAD(chk_files.rvser, &series) || !series.sizes.test(code.size);
}

[[noreturn]] void list_failed() {
    isam_fatal("%s: errno=%d%s", check.list_name.c_str(), errno, disk_full_text(errno));
}

void list_code(const EanRecord &code, std::int32_t number) {
    if (std::fprintf(check.list.get(), "%-13.13s%11ld\n", ean_text(code).c_str(), static_cast<long>(number)) <
        0) {
        list_failed();
    }
}

/// False when the operator cancelled.
bool check_codes() {
    EanRecord code{};
    SeriesRecord series{};
    std::int32_t left = check.codes->nrecs;  // a damaged index can lead in a circle
    for (bool found = IXFIRST(check.codes, &code); found && left-- > 0; found = IXNEXT(check.codes, &code)) {
        show_code(code);
        if (points_to_nothing(code, series)) {
            list_code(code, check.codes->recno);
            SeriesKey key{};
            key.group = code.group;
            key.colour = code.colour;
            key.number = code.number;
            add_finding(key, code.type == ean_of_series ? code.size : std::uint8_t{0}, code.size_kind, &code);
        }
        if (op_interrupted()) {
            return false;
        }
    }
    return true;
}

// ---- Repair

void delete_listed() {
    // A code that did not reach the file would be told, and not deleted.
    if (std::fflush(check.list.get()) != 0) {
        list_failed();
    }
    std::rewind(check.list.get());
    char line[line_bytes + 1];
    while (std::fread(line, line_bytes, 1, check.list.get()) == 1) {
        line[line_bytes] = '\0';
        const auto number =
            static_cast<std::int32_t>(std::strtol(line + sizeof EanRecord::code, nullptr, 10));
        EanRecord record{};
        const bool live = IXGET(check.codes, &record, number) == 1;
        const std::string text = str_format("%-13.13s", ean_text(record).c_str());
        if (live && text.compare(0, text.size(), line, text.size()) == 0) {
            ean_delete(check.codes, number, record);
        }
    }
}

/// Gives codes to the sizes without one; what stays on the list is what the report shows.
void assign_codes() {
    SeriesRecord series{};
    bool found = false;
    bool first = true;
    check.findings.for_each([&](const ean_finding &finding) {
        if (finding.code[0] != '\0') {
            return;
        }
        if (first || !(series.key == finding.key)) {
            series = {};
            series.key = finding.key;
            found = IXREAD(chk_files.rvser, &series);
            if (found) {
                ean_generate(check.codes, series, series.sizes);
            }
            first = false;
        }
        if (found) {
            IXDELETE(check.findings.icb(), &finding);
        }
    });
}

bool ask_assign() {
    return op_ask(op_question::assign_codes, detail_text(23, 5, "Instore EAN-codes toekennen"),
                  {detail_text(23, 4, "Serie-maten zonder EAN-code aangetroffen: raadpleeg het overzicht")});
}

// ---- The course

const char *status_text() {
    return detail_text(23, 1, "controleren EAN-codes");
}

const char *title_text() {
    return detail_text(23, 2, "CONTROLEREN EAN-CODES");
}

const char *success_text() {
    return detail_text(23, 3, "Serie-maten met EAN-code correct");
}

void open_files() {
    check.sound = true;
    check.accepted = false;
    op_caption(op_field::ean_code, detail_text(21, 26, "Eannummer"));
    check.articles = pair_open("RVARTREG", ix_readonly, sizeof(SmallArticleRecord));
    check.codes = pair_open(ean_file_name, ix_shared, sizeof(EanRecord));
    chk_eti_raw(raw_action::open);
    check.findings.open();
    check.list_name = chk_tempname();
    check.list.reset(std::fopen(check.list_name.c_str(), "w+e"));
    if (check.list == nullptr) {
        err_open(program_name, check.list_name.c_str());
    }
}

bool walk() {
    return check_sizes() && check_codes() && ean_check_index(check.codes, check.sound);
}

bool has_errors() {
    return !check.sound || !check.findings.empty();
}

/// The question comes before the report, because the report shows what is left to do after the answer.
void ask_and_report() {
    if (check.findings.empty()) {
        return;
    }
    check.accepted = ask_assign();
    if (check.accepted) {
        const leave_guard undisturbed;
        assign_codes();
    }
    ean_report(check.findings, check.codes);
}

void close_files() {
    check.findings.close();
    if (!close_stream(check.list)) {
        list_failed();
    }
    file_delete(check.list_name.c_str());
    chk_eti_raw(raw_action::close);
    IXCLOSE(check.articles);
    IXCLOSE(check.codes);
}

constexpr chk_course course{
    .status = status_text,
    .title = title_text,
    .flag = &ok_ean,
    .date = &SysRow19::ean,
    .report_time = chk_report_time::before_walk,
    .open = open_files,
    .walk = walk,
    .has_errors = has_errors,
    .heads = ean_heads,
    .report = ask_and_report,
    .success = success_text,
    .ask = [] { return check.accepted; },
    .repair = delete_listed,
    .close = close_files,
};

}  // namespace

void chk_ean() {
    chk_perform(course);
}
