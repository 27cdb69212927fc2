// The report of the label check.
#include "check/frame/columns.h"
#include "check/labels/labels.h"

namespace {

constexpr int line_margin = 2;

/// A line: the error, and the block as it is now.
struct error_line {
    const ChainError &error;
    const LabelBlock &content;
    bool readable;
    bool lost;
};

std::string key_text(bool known, const SeriesKey &key) {
    return known ? field_of(key).value : "";
}

report_cell block_cell(const error_line &line) {
    return line.error.block == stdchk_none ? text_cell("%10s", "")
                                           : number_cell("%10ld", long{line.error.block});
}

/// The block after a lost one, or before one that its chain should not lead to.
report_cell neighbour_cell(const error_line &line) {
    const std::int32_t block = !line.lost      ? line.error.previous.value()
                               : line.readable ? line.content.next.value()
                                               : stdchk_none;
    if (block == stdchk_none) {
        return text_cell("%10s", "");
    }
    return number_cell(line.lost ? " %8ldN" : " %8ldP", long{block});
}

const finding_kind &kind_of(const ChainError &error) {
    return label_findings()[error.code - 1U];
}

constexpr report_column<error_line> columns[] = {
    {[] { return detail_text(6, 918, "serienr"); }, "%-22.22s",
     [](const error_line &line) { return text_cell("%-22.22s", key_text(!line.lost, line.error.key)); }},
    {[] { return detail_text(3, 499, "etiketblok"); }, "%10.10s", block_cell},
    {[] { return "P/N"; }, "%10.10s  ", neighbour_cell},
    {[] { return detail_text(6, 931, "serienr-etiketblok"); }, "%-22.22s ",
     [](const error_line &line) {
         const bool shown = line.readable && (line.lost || line.error.code == label_other_series);
         return text_cell("  %-22.22s", key_text(shown, line.content.key));
     }},
    {[] { return detail_text(4, 150, "hersteld"); }, "%-8.8s  ",
     [](const error_line &line) {
         return text_cell(" %-8.8s  ",
                          line.error.repaired != 0 ? detail_text(4, 471, "JA") : detail_text(5, 506, "NEE"));
     }},
    {[] { return detail_text(3, 920, "foutmelding"); }, "%s",
     [](const error_line &line) { return number_cell("%-2ld ", kind_of(line.error).number); }},
    {nullptr, "%s", [](const error_line &line) { return text_cell("%s", kind_of(line.error).text()); }},
};

void print_error(const ChainError &error) {
    LabelBlock content{};
    const bool readable = labels_read(error.block, content);
    chk_room(line_margin);
    print_line<error_line>(columns, {error, content, readable, label_is_lost(error)});
}

}  // namespace

void label_check::preface() {
    if (tell_rebuilt) {
        prt_printf("%s", detail_text(4, 274, "Index van het seriebestand hersteld"));
        prt_newline();
        chk_dashes();
    }
}

void label_check::heads(bool) {
    print_headings<error_line>(columns);
    chk_dashes();
}

void label_check::report() {
    errors.for_each(print_error);
}

void label_check::figures() {
    const std::int32_t all = end;
    const std::int32_t unused = free_in_chain;
    const auto labels = [](std::int32_t blocks) { return long{blocks} * labels_per_block; };
    prt_printf("%-32.32s : %8ld (100.0%%)", detail_text(4, 880, "Laatste etiketnummer in gebruik"),
               labels(all));
    prt_newline();
    prt_printf("%-32.32s : %8ld (%5.1f%%)", detail_text(8, 152, "Waarvan vrije etiketnummers"),
               labels(unused), all == 0 ? 0.0 : unused * 100.0 / all);
    prt_newline();
}
