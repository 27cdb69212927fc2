// The report of the series check. Labels and series stand in pairs, each of which is one format: a number
// that outgrows its column makes room together with its neighbour.
#include "report/report.h"

#include "check/series/series.h"

namespace {

constexpr int line_margin = 3;
constexpr int lines_a_group = 5;

const char *text_of(series_error error) {
    return series_findings()[error - 1U].text();
}

/// What labels and series say, where they differ.
void print_pair(std::uint64_t labels, std::uint64_t series) {
    if (labels == series) {
        prt_printf("%13s", "");
    } else {
        prt_printf("%7ld%6ld", static_cast<long>(labels), static_cast<long>(series));
    }
}

void print_dates(const char *before, day_number labels, day_number series) {
    prt_printf("%s", before);
    if (labels == series) {
        prt_printf("%13s", "");
    } else {
        char first[7];
        char second[7];
        prt_printf("%s %s", date_to_str(first, labels, false), date_to_str(second, series, false));
    }
}

}  // namespace

void series_check::heads(bool) {
    prt_printf("%s", detail_text(26, 1,
                                 "                  ---not---    ---vrd---    ---vrk---    ---cor---    ???"
                                 " | ---l.ontdat--  ---l.vrkdat-- |"));
    prt_newline();
    const char *const labels = detail_text(26, 3, "eti");
    const char *const series = detail_text(26, 4, "serie");
    prt_printf("%-13.13s ", detail_text(26, 2, "serienummer"));
    for (int status = label_ordered; status <= label_corrected; status++) {
        prt_printf("%7.7s%6.6s", labels, series);
    }
    prt_printf("%7.7s | ", labels);
    prt_printf("%-6.6s %-6.6s  %-6.6s %-6.6s", labels, series, labels, series);
    prt_printf(" | %s", detail_text(26, 5, "adressen"));
    prt_newline();
    chk_dashes();
}

void series_check::start_series() {
    if (chk_room(line_margin)) {
        line_in_group = 1;
    }
    if (line_in_group > lines_a_group) {
        chk_dashes();
        line_in_group = 1;
    }
}

void series_check::end_line() {
    prt_newline();
    line_in_group++;
}

void series_check::print_figures(const SeriesRecord &series, const walked_labels &walked,
                                 std::int32_t place) {
    const status_counts counts = counts_of(series);
    prt_printf("%s", ser_text(series.key).c_str());
    for (int status = label_ordered; status <= label_corrected; status++) {
        const auto at = static_cast<std::size_t>(status);
        print_pair(walked.count[at], counts[at]);
    }
    if (walked.bad > 0) {
        prt_printf("%7ld", long{walked.bad});
    } else {
        prt_printf("%7s", "");
    }
    prt_printf("%s", " | ");
    print_dates("", walked.last_delivery, series.last_delivery);
    print_dates("  ", walked.last_sale, series.last_sale);
    prt_printf(" | %ld/%ld", long{place}, long{series.first_block});
    end_line();
}

void series_check::print_series(const SeriesRecord &series, const walked_labels &walked, std::int32_t place) {
    start_series();
    if (!figures_agree(series, walked)) {
        print_figures(series, walked, place);
    }
    if (walked.bad_branch) {
        prt_printf("%s   %s", ser_text(series.key).c_str(), text_of(series_bad_branch));
        end_line();
    }
    if (!stamp_valid(walked.first_date, series.stamp)) {
        char day[9];
        prt_printf("%s   %s %s", ser_text(series.key).c_str(), text_of(series_bad_stamp),
                   date_to_str(day, day_of_stamp(series.stamp), true));
        end_line();
    }
}

void series_check::report() {
    chk_dashes();
    prt_printf("%14s", "");
    for (std::size_t status = label_ordered; status <= label_corrected; status++) {
        print_pair(labels_total[status], series_total[status]);
    }
    prt_newline();
    prt_newline();
    prt_printf("%-s: %d", detail_text(2, 39, "Aantal series"), listed);
    prt_newline();
}
