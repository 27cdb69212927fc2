// What the phases of the size check share.
#pragma once

#include "check/frame/frame.h"

/// Lines that must be free on the page for a row of a report.
inline constexpr int sizes_margin = 2;

/// Visits records in the order of the current key, from the one at or after the key in `record`, as long as
/// the first `parts` fields of the key stay the same and `visit` gives true. An index that does not agree
/// with its records could lead in a circle, so there are no more steps than records.
template <class Record, class Visit>
void sizes_walk_by_key(ICB *file, Record &record, int parts, Visit visit) {
    std::int32_t steps = 0;
    for (bool found = IXFIRSTR(file, &record, parts); found && steps < file->nrecs;
         found = IXNEXTR(file, &record, parts)) {
        const std::int32_t place = file->recno;
        if (!visit()) {
            return;
        }
        file->recno = place;
        steps++;
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

/// The bar of a phase that goes through all series.
void sizes_bar_open();
void sizes_bar_step();
void sizes_bar_close();

/// Phase 3: mends the sizes and price groups of all series. Returns the number of series mended.
std::int64_t sizes_check_series();
void sizes_series_columns();
