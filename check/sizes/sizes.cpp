// The course of the size check.
#include "check/sizes/sizes.h"

#include <algorithm>

#include "report/report.h"

/// A phase. `walk` prints its findings and gives their number.
struct size_check::size_phase {
    op_field field;
    const char *(*caption)();
    const char *(*title)();
    void (*columns)();
    std::int64_t (size_check::*walk)();
    const char *(*alarm)();  ///< what the operator is told about findings; null: they are mended
    void (*tidy)();          ///< work after the report; null for none
    bool has_bar;            ///< long enough to be cancelled
};

constexpr size_check::size_phase size_check::phases[3] = {
    {op_field::size_kinds, [] { return detail_text(12, 30, "FASE-1: controleren maatsoorten"); },
     [] { return detail_text(12, 31, "CONTROLEREN MAATSOORTEN"); }, sizes_kind_heads,
     &size_check::check_kinds, [] { return detail_text(12, 32, "Foutieve maatsoorten!"); },
     sizes_delete_stale_names, false},
    {op_field::label_sizes, [] { return detail_text(12, 33, "FASE-2: controleren etiketmaten"); },
     [] { return detail_text(12, 34, "CONTROLEREN ETIKETMATEN"); }, sizes_label_heads,
     &size_check::check_labels, [] { return detail_text(12, 35, "Foutieve/ontbrekende etiketmaten!"); },
     nullptr, true},
    {op_field::series_sizes, [] { return detail_text(12, 36, "FASE-3: controleren maten per serie"); },
     [] { return detail_text(12, 37, "CONTROLEREN MATEN PER SERIE"); }, sizes_series_heads,
     &size_check::check_series, nullptr, nullptr, true},
};

namespace {

void alarm_operator(const char *text) {
    op_tell(op_notice::size_findings, {text, term_text(1, 95, "Neem contact op met de Support-groep")});
}

}  // namespace

size_check::size_check()
    : chk_check({.flag = &ok_sizes,
                 .date = &SysRow19::sizes,
                 .repairs = false,
                 .runs_again = false,
                 .report_time = chk_report_time::by_check}) {}

const char *size_check::status() const {
    return chk_name(phrase_check_sizes);
}

const char *size_check::title() const {
    return phase->title();
}

void size_check::open() {
    last_date = chk_last_date(&SysRow19::sizes);
    size_view_forget();  // the kinds may have been mended since
    eti_file(eti_action::open);
    ink_open(ink_mode::write);
}

bool size_check::walk() {
    return std::all_of(std::begin(phases), std::end(phases),
                       [this](const size_phase &each) { return run_phase(each); });
}

bool size_check::run_phase(const size_phase &which) {
    phase = &which;
    op_caption(which.field, which.caption());
    if (!chk_open_report()) {
        return false;
    }
    const std::int64_t findings = (this->*which.walk)();
    const bool broken_off = which.has_bar && op_interrupted();
    if (findings == 0 && !broken_off && !chk_full_run) {
        print_nothing_found();
    }
    prt_close("");
    if (broken_off) {
        return false;
    }
    const bool failed = findings != 0 && which.alarm != nullptr;
    if (failed) {
        alarm_operator(which.alarm());
    }
    if (which.tidy != nullptr) {
        which.tidy();
    }
    if (!failed) {
        op_value(which.field, "OK");
    }
    return !failed;
}

void size_check::heads(bool first_page) {
    if (!first_page) {
        chk_dashes();  // the head of the first page ends with them
    }
    phase->columns();
    chk_dashes();
}

void size_check::print_nothing_found() {
    chk_report_header(phase->title(), true, last_date);
    if (phase->alarm != nullptr) {
        heads(true);
    }
    prt_printf("%s", chk_name(phrase_no_errors));
    prt_newline();
}

void size_check::close() {
    eti_file(eti_action::close);
    ink_close();
}

void size_check::bar_open() {
    series_done = 0;
    const off_t bytes = std::max<off_t>(chk_txt_size("RVSER"), 0);
    series_total = static_cast<std::uint32_t>(bytes / static_cast<off_t>(sizeof(SeriesRecord)));
    chk_phase(detail_text(12, 10, "series verwerken"), series_total);
}

void size_check::bar_step() {
    chk_progress(++series_done, series_total, chk_bar::step);
}

void chk_sizes() {
    size_check check;
    chk_perform(check);
}
