// The reports of the size check: one for each phase.
#include "check/frame/columns.h"
#include "check/sizes/sizes.h"

namespace {

constexpr int line_margin = 2;

const char *kind_heading() {
    return detail_text(12, 11, "maatsoort");
}
const char *error_heading() {
    return detail_text(12, 13, "foutmelding");
}
const char *series_heading() {
    return detail_text(12, 18, "serienummer");
}

/// A line of phase 1.
struct number_row {
    int kind;
    int number;
    const char *text;
};

constexpr report_column<number_row> number_columns[] = {
    {kind_heading, "%9.9s ", [](const number_row &row) { return number_cell("%9ld ", row.kind); }},
    {[] { return detail_text(12, 12, "volgnr"); }, "%6.6s  ",
     [](const number_row &row) { return number_cell("%6ld  ", row.number); }},
    {error_heading, "%s", [](const number_row &row) { return text_cell("%s", row.text); }},
};

constexpr report_column<missing_size_row> missing_columns[] = {
    {kind_heading, "%9.9s ", [](const missing_size_row &row) { return number_cell("%9ld ", row.kind); }},
    {[] { return detail_text(12, 17, "maatindex"); }, "%9.9s ",
     [](const missing_size_row &row) { return number_cell("%9ld ", row.index); }},
    {[] { return detail_text(3, 495, "etiketten"); }, "%9.9s  ",
     [](const missing_size_row &row) { return number_cell("%9ld  ", row.count); }},
    {error_heading, "%-16.16s",
     [](const missing_size_row &row) {
         return text_cell(row.series == nullptr ? "%s" : "%-16.16s", size_findings()[size_of_label].text());
     }},
    {series_heading, " %-14.14s",
     [](const missing_size_row &row) {
         return row.series == nullptr ? text_cell("%s", "") : text_cell(" %s", ser_text(*row.series));
     }},
    {[] { return detail_text(12, 19, "etiketnummer"); }, " %-15.15s",
     [](const missing_size_row &row) {
         return row.label == 0 ? text_cell("%s", "") : number_cell(" %ld", row.label);
     }},
};

constexpr report_column<SeriesRecord> series_columns[] = {
    {series_heading, "%-14.14s ",
     [](const SeriesRecord &series) { return text_cell("%s ", ser_text(series.key)); }},
    {kind_heading, "%9.9s  ",
     [](const SeriesRecord &series) { return number_cell("%9ld  ", series.size_kind); }},
    // What was mended follows it.
    {[] { return detail_text(12, 21, "hersteld"); }, "%s",
     [](const SeriesRecord &) { return text_cell("%s:", detail_text(12, 22, "Serie hersteld")); }},
};

}  // namespace

void sizes_kind_heads() {
    print_headings<number_row>(number_columns);
}

void sizes_label_heads() {
    print_headings<missing_size_row>(missing_columns);
}

void sizes_series_heads() {
    print_headings<SeriesRecord>(series_columns);
}

void sizes_print_number(int kind, int number, const char *text) {
    chk_room(line_margin);
    print_line<number_row>(number_columns, {kind, number, text});
}

void sizes_print_missing(const missing_size_row &row) {
    chk_room(line_margin);
    print_line<missing_size_row>(missing_columns, row);
}

void sizes_print_mended(const SeriesRecord &series, size_reasons reasons) {
    chk_room(line_margin);
    print_cells<SeriesRecord>(series_columns, series);
    for (const size_finding reason :
         {size_series_invalid, size_series_missing, size_series_empty, size_series_groups}) {
        if ((reasons & size_reason(reason)) != 0) {
            prt_printf(" %s,", size_findings()[reason].text());
        }
    }
    prt_newline();
}
