// The size check: the size kinds are sound, and labels, price sets and series use only sizes of their kind.
//
//   1  size kinds: the sequence numbers of a kind run from 1 without a gap. A human has to mend this. Then
//      the descriptions that their size kind does not know of are deleted
//   2  labels: each has a size of the kind of its series. A human has to mend this
//   3  series: the sizes and the price groups of each agree with its labels and price sets. Differences are
//      mended on the way, so they do not keep the check from passing
//
// Each phase has a report of its own, and runs only when the one before has passed. The chains of labels have
// been checked before, so they can be followed.
//
// It writes during the walk only: it deletes descriptions of sizes after the report of phase 1, and rewrites
// series in phase 3. There is no question.
#pragma once

#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/record_place.h"
#include "check/frame/walk_bound.h"
#include "check/sizes/missing_sizes.h"
#include "data/data.h"

/// The rows of the table of findings.
enum size_finding : std::uint8_t {
    size_number_invalid,   ///< a size of a kind has an impossible sequence number
    size_number_missing,   ///< no size of a kind has the sequence number
    size_number_repeated,  ///< several sizes have it
    size_of_label,         ///< a label has a size that its kind does not have
    size_series_invalid,   ///< a series had sizes that its kind does not have
    size_series_missing,   ///< it lacked sizes of its labels or price sets
    size_series_empty,     ///< it had price sets, but no sizes
    size_series_groups,    ///< its last price group did not end at its last size
};
/// The table of what this check can find.
std::span<const finding_kind> size_findings();

/// What was mended of a series: a bit for each `size_finding`.
using size_reasons = unsigned;
inline constexpr size_reasons size_reason(size_finding finding) {
    return 1U << finding;
}

/// Visits records in the order of the current key, from the one at or after the key in `record`, as long as
/// the first `parts` fields of the key stay the same and `visit` gives true. An index that does not agree
/// with its records could lead in a circle, so there are no more steps than records.
template <class Record, class Visit>
void sizes_walk_by_key(ICB *file, Record &record, int parts, Visit visit) {
    walk_bound bound(file);
    for (bool found = IXFIRSTR(file, &record, parts); found && bound.step();
         found = IXNEXTR(file, &record, parts)) {
        const record_place place(file);
        if (!visit()) {
            return;
        }
    }
}

/// Visits the labels of a series, until `visit` gives false.
template <class Visit>
void sizes_walk_labels(const SeriesRecord &series, Visit visit) {
    eti_rec label;
    std::int32_t number = series.first_block;
    for (int found = eti_file(eti_action::first, number, label); found != 0;
         found = eti_file(eti_action::next, number, label)) {
        if (!visit(number, label)) {
            return;
        }
    }
}

/// Sets the shared view to the size kind of a series.
void sizes_view_kind(const SeriesRecord &series);
/// Deletes the descriptions that their size kind does not know of.
void sizes_delete_stale_names();

// The reports: the column heads of each phase, and its lines.
void sizes_kind_heads();
void sizes_label_heads();
void sizes_series_heads();
void sizes_print_number(int kind, int number, const char *text);
/// A size that labels have and their kind does not: of one label, of a series, or of the whole run.
struct missing_size_row {
    unsigned kind;
    unsigned index;
    std::uint32_t count;
    const SeriesKey *series = nullptr;  ///< null for the whole run
    std::int32_t label = 0;             ///< 0 for all of the series
};
void sizes_print_missing(const missing_size_row &row);
void sizes_print_mended(const SeriesRecord &series, size_reasons reasons);

class size_check final : public chk_check {
public:
    size_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return false;
    }
    void heads(bool first_page) override;
    void close() override;

private:
    struct size_phase;
    static const size_phase phases[3];

    /// False when the check ends here: findings for a human, no report, or cancelled.
    bool run_phase(const size_phase &which);
    void print_nothing_found();

    // The phases. Each prints its findings and gives their number.
    std::int64_t check_kinds();
    std::int64_t check_labels();
    std::int64_t check_series();
    bool check_label_sizes(const SeriesRecord &series);

    // The bar over all series.
    void bar_open();
    void bar_step();

    static constexpr std::size_t sizes_in_run = 250;
    static constexpr std::size_t sizes_in_series = 100;

    const size_phase *phase = nullptr;
    day_number last_date = 0;
    std::uint32_t series_total = 0;
    std::uint32_t series_done = 0;
    missing_sizes<sizes_in_run> missing_in_run;
    missing_sizes<sizes_in_series> missing_in_series;
};
