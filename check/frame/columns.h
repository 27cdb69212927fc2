// The columns of a report, described once: headings and lines both come from the description.
//
//     constexpr report_column<LostBlock> columns[] = {
//         {series_heading, "%-22.22s", [](const LostBlock &lost) { return text_cell("%-22.22s", ...); }},
//         {block_heading, "%10.10s", [](const LostBlock &lost) { return number_cell("%10ld", lost.block); }},
//     };
//     print_headings<LostBlock>(columns);
//     print_line<LostBlock>(columns, lost);
#pragma once

#include <span>
#include <string>
#include <variant>

#include "report/report.h"

/// What stands in a column. The format has one conversion, %s or %ld with its width, and the blanks around
/// it: the report writer moves a number that outgrows its width.
struct report_cell {
    const char *format;
    std::variant<std::string, long> value;
};
inline report_cell text_cell(const char *format, std::string text) {
    return {format, std::move(text)};
}
inline report_cell number_cell(const char *format, long number) {
    return {format, number};
}

template <class Row>
struct report_column {
    const char *(*heading)();    ///< null for a column without one
    const char *heading_format;  ///< %s with its width, and the blanks around it
    report_cell (*value)(const Row &row);
};

void print_cell(const report_cell &cell);

/// The line of headings.
template <class Row>
void print_headings(std::span<const report_column<Row>> columns) {
    for (const report_column<Row> &column : columns) {
        print_cell(text_cell(column.heading_format, column.heading == nullptr ? "" : column.heading()));
    }
    prt_newline();
}

/// A line of the report, without its end.
template <class Row>
void print_cells(std::span<const report_column<Row>> columns, const Row &row) {
    for (const report_column<Row> &column : columns) {
        print_cell(column.value(row));
    }
}

template <class Row>
void print_line(std::span<const report_column<Row>> columns, const Row &row) {
    print_cells(columns, row);
    prt_newline();
}
