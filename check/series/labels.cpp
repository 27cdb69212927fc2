// What the labels of a series say.
#include <algorithm>

#include "check/series/series.h"

namespace {

constexpr day_number day_before_all = day_1980;  // no label and no series is that old
constexpr std::int32_t seconds_a_day = 86400;

/// A shop that says it has no branches counts as one.
int branch_count() {
    return std::max<int>(sys_settings.branches, 1);
}

}  // namespace

walked_labels walk_labels(const SeriesRecord &series, label_mend mend) {
    const bool fix = mend == label_mend::all;
    walked_labels walked;
    const int branches = branch_count();
    eti_rec label;
    std::int32_t number = series.first_block;
    for (int found = eti_file(eti_action::first, number, label); found != 0;
         found = eti_file(eti_action::next, number, label)) {
        const bool valid = label.status <= label_corrected;
        bool changed = false;
        if (valid) {
            walked.count[label.status]++;
            if (label.date_in <= day_before_all) {
                label.date_in = earliest_day;
                walked.undated = true;
                changed = mend != label_mend::nothing;
            }
            walked.first_date = std::min(walked.first_date, label.date_in);
        } else {
            walked.bad++;
        }
        if (label.status == label_sold) {
            walked.last_sale = std::max(walked.last_sale, label.date_sold);
        }
        if (label.status > label_ordered) {
            walked.last_delivery = std::max(walked.last_delivery, label.date_moved);
        }
        if (label.branch >= branches) {
            walked.bad_branch = true;
            if (fix) {
                label.branch = static_cast<std::uint8_t>(label.branch % branches);
                changed = true;
            }
        }
        if (!valid && fix) {
            eti_file(eti_action::remove, number, label);
        } else if (changed) {
            eti_file(eti_action::write, number, label);
        }
    }
    walked.last_delivery = std::max<day_number>(walked.last_delivery, series.last_delivery);
    walked.last_sale = std::max<day_number>(walked.last_sale, series.last_sale);
    return walked;
}

day_number latest_start(day_number first_date) {
    return std::min(first_date, date_today());
}

bool stamp_valid(day_number first_date, std::int32_t stamp) {
    const day_number day = day_of_stamp(stamp);
    return stamp / seconds_a_day != 0 && day >= day_1980 && day <= latest_start(first_date);
}

status_counts counts_of(const SeriesRecord &series) {
    return {0, series.ordered, series.stock, series.sold, series.corrected};
}

bool figures_agree(const SeriesRecord &series, const walked_labels &walked) {
    return walked.count == counts_of(series) && walked.bad == 0 &&
           walked.last_delivery == series.last_delivery && walked.last_sale == series.last_sale;
}
