// The walk of the series check, and what is mended on the way.
#include <algorithm>

#include "check/frame/walk_bound.h"
#include "check/series/series.h"

namespace {

/// Turns the small letters of the model code into capitals.
bool capitals_in_model(SeriesRecord &series) {
    bool changed = false;
    for (char &letter : series.model) {
        if (letter == '\0') {
            break;
        }
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
            changed = true;
        }
    }
    return changed;
}

/// Clears a value that only series of other article groups may have.
bool drop_option_value(SeriesRecord &series, const ArticleGroupRecord &group) {
    if (group.option != 0 || (series.option_value & 0xFF) == 0) {
        return false;
    }
    series.option_value = 0;
    return true;
}

/// Mends what needs no question. The record of the walk becomes the one on file.
void mend_quietly(SeriesRecord &series, const ArticleGroupRecord &group, walked_labels &walked) {
    SeriesRecord changed = series;
    const bool by_record = capitals_in_model(changed);
    if (!drop_option_value(changed, group) && !by_record && !walked.undated) {
        return;
    }
    series_hold hold(series.key);
    if (!hold.exists()) {
        return;
    }
    walked = walk_labels(hold.record, label_mend::dates);
    const bool capitals = capitals_in_model(hold.record);
    const bool dropped = drop_option_value(hold.record, group);
    series = hold.record;
    if (capitals || dropped) {
        hold.rewrite();
    }
}

/// A series without a brand or without a size kind does not count as a series.
bool is_void(const SeriesRecord &series) {
    return series.brand == 0 || series.size_kind == 0;
}

void delete_void(const SeriesKey &key) {
    series_hold hold(key);
    if (hold.exists() && is_void(hold.record)) {
        hold.remove();
    }
}

/// Tells the listener what is wrong with a series.
void tell(const SeriesRecord &series, const walked_labels &walked) {
    const auto found = [&](series_error error, std::vector<finding_field> fields) {
        fields.insert(fields.begin(), field_of(series.key));
        chk_found(series_findings()[error - 1U], "RVSER", std::move(fields));
    };
    const status_counts counts = counts_of(series);
    for (std::size_t status = label_ordered; status <= label_corrected; status++) {
        if (walked.count[status] != counts[status]) {
            found(series_count,
                  {field_of("status", std::int64_t(status)), field_of("labels", walked.count[status]),
                   field_of("counted", counts[status])});
        }
    }
    if (walked.bad > 0) {
        found(series_bad_status, {field_of("labels", walked.bad)});
    }
    if (walked.last_delivery != series.last_delivery) {
        found(series_date, {field_of("date", "delivery")});
    }
    if (walked.last_sale != series.last_sale) {
        found(series_date, {field_of("date", "sale")});
    }
    if (walked.bad_branch) {
        found(series_bad_branch, {});
    }
    if (!stamp_valid(walked.first_date, series.stamp)) {
        found(series_bad_stamp, {});
    }
}

}  // namespace

void series_check::list(const SeriesRecord &series, const walked_labels &walked, std::int32_t place) {
    if (chk_is_heard()) {
        tell(series, walked);
    }
    print_series(series, walked, place);
    ChainError error{};
    error.key = series.key;
    errors.add(error);
    const status_counts counts = counts_of(series);
    for (std::size_t status = label_ordered; status <= label_corrected; status++) {
        if (walked.count[status] != counts[status]) {
            labels_total[status] += walked.count[status];
            series_total[status] += counts[status];
        }
    }
    listed++;
}

void series_check::look_at(SeriesRecord &series, ArticleGroupRecord &group, std::int32_t place) {
    art_read(chk_files.rvart, group, series.key.group);
    walked_labels walked = walk_labels(series, label_mend::nothing);
    mend_quietly(series, group, walked);
    if (!figures_agree(series, walked) || walked.bad_branch ||
        !stamp_valid(walked.first_date, series.stamp)) {
        list(series, walked, place);
    }
}

bool series_check::walk() {
    ICB *file = chk_files.rvser;
    const auto last = static_cast<std::uint32_t>(std::max<std::int32_t>(file->nrecs, 1) - 1);
    chk_phase(status(), last);
    SeriesRecord series{};
    ArticleGroupRecord group{};  // the last one read: series come group by group
    std::uint32_t step = 0;
    const key_switch key(file, 1);
    walk_bound bound(file);
    while (bound.step() && !op_interrupted() && IXNEXT(file, &series)) {
        if (is_void(series)) {
            delete_void(series.key);
        } else {
            look_at(series, group, file->recno);
        }
        chk_progress(++step, last, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !op_interrupted();
}
