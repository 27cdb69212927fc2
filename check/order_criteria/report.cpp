// The report of the order criteria check. A line stands for a series, whatever was wrong with
// its blocks, and says what became of it.
#include <limits>

#include "check/frame/columns.h"
#include "check/order_criteria/order_criteria.h"
#include "data/data.h"

namespace {

constexpr int row_margin = 2;

struct series_line {
    const SeriesKey &key;
    const finding_kind &kind;
};

constexpr report_column<series_line> columns[] = {
    {nullptr, "", [](const series_line &line) { return text_cell("%-15.15s  ", field_of(line.key).value); }},
    {nullptr, "", [](const series_line &line) { return text_cell("%s", line.kind.text()); }},
};

}  // namespace

void criteria_check::heads(bool first_page) {
    if (!first_page) {
        return;
    }
    prt_printf(
        "%-.132s",
        detail_text(
            14, 1,
            "Bij de volgende series zijn fouten in de bestelcriteria gevonden. Deze fouten zijn hersteld."));
    prt_newline();
    prt_printf(
        "%-.132s",
        detail_text(14, 2,
                    "U dient zelf de juistheid van de bestelcriteria van deze series te controleren bij "
                    "besteladviezen."));
    prt_newline();
    chk_dashes();
}

/// Mends and reports each series once.
void criteria_check::report() {
    const leave_guard undisturbed;
    ChainError error{};
    while (errors.first(error)) {
        const SeriesKey key = error.key;
        const std::int32_t block = error.block;
        const finding_kind &outcome = criteria_findings()[mend_series(key) ? 0U : 1U];
        if (chk_is_heard()) {
            chk_found(outcome, "RVBAPAR", {field_of(key), field_of("block", std::int64_t{block})});
        }
        chk_room(row_margin);
        print_line<series_line>(columns, {key, outcome});
        // The next look is after all errors of this series.
        error.key = key;
        error.code = std::numeric_limits<std::uint8_t>::max();
    }
}
