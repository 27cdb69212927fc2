// The series check: what a series says about its labels is what the labels say. The chains have been checked
// before, so they can be followed.
//
//   1  each series in the order of its number: its labels are walked, and the differences are printed at once
//   2  without a question: a series without a brand or a size kind is deleted, small letters of a model
//      become capitals, a value that the article group does not have is cleared, and a label without a date
//      gets one
//   3  totals below the report; question
//   4  repair, which takes the side of the labels: a series gets their counts and dates, labels of an
//      impossible status are deleted, others come back to a branch that exists. Then all is done once more
//
// Step 2 writes during the walk. A series is held while it or its labels are written, and what is written is
// worked out from what it holds then: a till may have sold from it since the walk read it.
#pragma once

#include <array>

#include "check/frame/block_error.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/series_hold.h"
#include "data/leesstam.h"

/// What can be wrong with a series; each has its place in the table.
enum series_error : std::uint8_t {
    series_count = 1,       ///< it counts another number of labels of a status
    series_bad_status = 2,  ///< it has labels of an impossible status
    series_date = 3,        ///< a label was delivered or sold later than it says
    series_bad_branch = 4,  ///< it has labels in a branch that does not exist
    series_bad_stamp = 5,   ///< it can't have been made when it says
};

/// The table of what this check can find.
std::span<const finding_kind> series_findings();

// ---- What the labels say

/// Labels, or series, of status 1 to 4; place 0 is not used.
template <class Count>
using by_status = std::array<Count, label_corrected + 1>;
using status_counts = by_status<std::uint32_t>;

inline constexpr day_number no_first_date = 65535;

struct walked_labels {
    status_counts count{};
    std::uint32_t bad = 0;         ///< labels of an impossible status
    day_number last_delivery = 0;  ///< not before that of the series
    day_number last_sale = 0;      ///< the same
    day_number first_date = no_first_date;
    bool bad_branch = false;
    bool undated = false;  ///< a label without a date
};

/// What a walk of the labels may write. The series is held for all but `nothing`.
enum class label_mend { nothing, dates, all };

/// Walks the labels of a series. A label without a date gets one. With `all`, labels with an impossible
/// status are deleted, and the others are put back in a branch that exists.
walked_labels walk_labels(const SeriesRecord &series, label_mend mend);
/// What the series says.
status_counts counts_of(const SeriesRecord &series);
bool figures_agree(const SeriesRecord &series, const walked_labels &walked);
/// The latest day on which a series can have been made, by its first label.
day_number latest_start(day_number first_date);
bool stamp_valid(day_number first_date, std::int32_t stamp);

inline constexpr day_number earliest_day = day_1980 + 1;  ///< no label and no series is older

// ---- The check

class series_check final : public chk_check {
public:
    series_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !errors.empty();
    }
    void heads(bool first_page) override;
    void report() override;
    void repair() override;
    void close() override;

private:
    void look_at(SeriesRecord &series, ArticleGroupRecord &group, std::int32_t place);
    void list(const SeriesRecord &series, const walked_labels &walked, std::int32_t place);

    // The lines of the report.
    void start_series();
    void end_line();
    void print_series(const SeriesRecord &series, const walked_labels &walked, std::int32_t place);
    void print_figures(const SeriesRecord &series, const walked_labels &walked, std::int32_t place);

    chain_error_list errors;  ///< the series to be repaired
    int listed = 0;           ///< series in error
    int line_in_group = 0;    ///< line of the report within its group, from 1

    // What the last line of the report adds up, over the series that differ in a status.
    by_status<std::uint64_t> labels_total{};
    by_status<std::uint64_t> series_total{};
};
