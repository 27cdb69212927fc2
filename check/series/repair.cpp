// The repair of the series check: a series gets the figures of its labels.
#include <algorithm>

#include "check/series/series.h"

namespace {

void repair_series(series_hold &hold) {
    SeriesRecord &series = hold.record;
    const walked_labels walked = walk_labels(series, label_mend::all);
    series.ordered = walked.count[label_ordered];
    series.stock = walked.count[label_stock];
    series.sold = walked.count[label_sold];
    series.corrected = walked.count[label_corrected];
    series.last_delivery = walked.last_delivery;
    series.last_sale = walked.last_sale;
    if (!stamp_valid(walked.first_date, series.stamp)) {
        series.stamp = stamp_of_day(std::max(latest_start(walked.first_date), earliest_day));
    }
    hold.rewrite();
}

}  // namespace

void series_check::repair() {
    op_caption(op_field::series_repaired, status());
    const key_switch key(chk_files.rvser, 1);
    errors.for_each([&](const ChainError &error) {
        series_hold hold(error.key);
        if (hold.exists()) {
            op_value(op_field::series_repaired, ser_text(error.key).c_str());
            repair_series(hold);
        }
    });
    op_clear(op_field::series_repaired);
}
