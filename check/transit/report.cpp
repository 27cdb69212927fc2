// The report of goods in transit.
#include "check/frame/columns.h"
#include "check/transit/transit.h"
#include "data/data.h"

namespace {

constexpr int line_margin = 3;
constexpr int labels_a_group = 4;

/// The code of the label's size; blank where the series or the size is unknown.
std::string size_code(const SeriesRecord &series, std::uint8_t size) {
    size_cursor cursor{};
    cursor.index = size;
    size_view(session_sizes, sys_settings.size_system, series.size_kind);
    if (session_sizes == nullptr || mtread(session_sizes, mt_action::read, cursor, mt_key::index) == 0) {
        return "";
    }
    return {cursor.code, strnlen(cursor.code, sizeof cursor.code)};
}

/// A line: a label, and its series where that is known.
struct label_line {
    std::int32_t number;
    const eti_rec &label;
    const SeriesRecord &series;
    bool known;
};

/// A series that is registered by size has no numbers on its labels.
report_cell number_of(const label_line &line) {
    return line.known && line.series.registration == registration_sizes
               ? text_cell("%11s", "")
               : number_cell("%10ld ", static_cast<long>(line.number));
}

constexpr report_column<label_line> columns[] = {
    {[] { return detail_text(26, 2, "serienummer"); }, "%-15.15s ",
     [](const label_line &line) {
         return text_cell("%-15.15s ", ser_text(line.label.group, line.label.colour, line.label.number));
     }},
    {[] { return detail_text(26, 6, "etiketnr"); }, "%10.10s ", number_of},
    {[] { return detail_text(3, 272, "vf"); }, "%3.3s ",
     [](const label_line &line) { return number_cell("%3ld ", long{line.label.branch}); }},
    {[] { return detail_text(3, 289, "bf"); }, "%3.3s ",
     [](const label_line &line) { return number_cell("%3ld ", long{line.label.dest_branch}); }},
    {[] { return detail_text(5, 423, "mt"); }, "%3.3s",
     [](const label_line &line) {
         return text_cell("%-3.3s", line.known ? size_code(line.series, line.label.size) : "");
     }},
};

}  // namespace

void transit_check::heads(bool) {
    print_headings<label_line>(columns);
    chk_dashes();
    group_count = 0;
}

void transit_check::print_label(std::int32_t number) {
    eti_rec label;
    eti_file(eti_action::read, number, label);
    SeriesRecord series{};
    series.key = transit_series(label);
    const bool known = IXREAD(chk_files.rvser, &series);
    if (chk_is_heard()) {
        chk_found(
            transit_findings()[0], "RVGO",
            {field_of(transit_series(label)), field_of("label", std::int64_t{number}),
             field_of("from", std::int64_t{label.branch}), field_of("to", std::int64_t{label.dest_branch})});
    }
    chk_room(line_margin);
    if (group_count == labels_a_group) {
        chk_dashes();
        group_count = 0;
    }
    group_count++;
    print_line<label_line>(columns, {number, label, series, known});
}
