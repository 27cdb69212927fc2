// The series check: what a series says about its labels is what the labels say. The chains have been checked
// before, so they can be followed.
//
// All differences are found in one pass and printed as they are found. The repair takes the labels' side. A
// series is held while it or its labels are written, and what is written is worked out from what it holds
// then: a till may have sold from it since the walk read it.
#include <algorithm>
#include <array>

#include "check/frame/block_error.h"
#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "check/frame/series_hold.h"
#include "data/leesstam.h"
#include "report/report.h"

namespace {

constexpr day_number day_before_all = day_1980;  // no label and no series is that old
constexpr day_number earliest_day = day_1980 + 1;
constexpr day_number no_first_date = 65535;
constexpr std::int32_t seconds_a_day = 86400;

chain_error_list wrong_series;

// ---- What the labels say

/// Per status 1 to 4; place 0 is not used.
using status_counts = std::array<std::uint32_t, label_corrected + 1>;

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

/// A shop that says it has no branches counts as one.
int branch_count() {
    return std::max<int>(sys_settings.branches, 1);
}

/// Walks the labels of a series. A label without a date gets one. With `all`, labels with an impossible
/// status are deleted, and the others are put back in a branch that exists.
walked_labels chk_walk_labels(const SeriesRecord &series, label_mend mend) {
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

/// The latest day on which a series can have been made, by its first label.
day_number latest_start(day_number first_date) {
    return std::min(first_date, date_today());
}

bool chk_stamp_valid(day_number first_date, std::int32_t stamp) {
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

// ---- The report

constexpr int line_margin = 3;
constexpr int lines_a_group = 5;

/// What the last line of the report adds up, over the series that differ in a status.
struct {
    std::array<std::uint64_t, label_corrected + 1> labels{};
    std::array<std::uint64_t, label_corrected + 1> series{};
    int number = 0;  ///< of series in error
    int group = 0;   ///< line within the group, from 1
} report;

void print_heads(bool) {
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

void start_series() {
    if (chk_room(line_margin)) {
        report.group = 1;
    }
    if (report.group > lines_a_group) {
        chk_dashes();
        report.group = 1;
    }
}

void end_line() {
    prt_newline();
    report.group++;
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

void print_figures(const SeriesRecord &series, const walked_labels &walked, std::int32_t place) {
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

void print_series(const SeriesRecord &series, const walked_labels &walked, std::int32_t place) {
    start_series();
    if (!figures_agree(series, walked)) {
        print_figures(series, walked, place);
    }
    if (walked.bad_branch) {
        prt_printf("%s   %s", ser_text(series.key).c_str(),
                   detail_text(8, 748, "etiketten met ongeldig filiaal"));
        end_line();
    }
    if (!chk_stamp_valid(walked.first_date, series.stamp)) {
        char day[9];
        prt_printf("%s   %s %s", ser_text(series.key).c_str(), detail_text(2, 175, "ongeldige tijdstempel"),
                   date_to_str(day, day_of_stamp(series.stamp), true));
        end_line();
    }
}

void print_totals() {
    chk_dashes();
    prt_printf("%14s", "");
    for (std::size_t status = label_ordered; status <= label_corrected; status++) {
        print_pair(report.labels[status], report.series[status]);
    }
    prt_newline();
    prt_newline();
    prt_printf("%-s: %d", detail_text(2, 39, "Aantal series"), report.number);
    prt_newline();
}

// ---- The walk

const char *caption() {
    return detail_text(2, 936, "controleren series");
}

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
    walked = chk_walk_labels(hold.record, label_mend::dates);
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

void list_series(const SeriesRecord &series, const walked_labels &walked, std::int32_t place) {
    print_series(series, walked, place);
    ChainError error{};
    error.key = series.key;
    wrong_series.add(error);
    const status_counts counts = counts_of(series);
    for (std::size_t status = label_ordered; status <= label_corrected; status++) {
        if (walked.count[status] != counts[status]) {
            report.labels[status] += walked.count[status];
            report.series[status] += counts[status];
        }
    }
    report.number++;
}

bool walk() {
    ICB *file = chk_files.rvser;
    const auto last = static_cast<std::uint32_t>(std::max<std::int32_t>(file->nrecs, 1) - 1);
    chk_phase(caption(), last);
    report = {};
    ArticleGroupRecord group{};
    SeriesRecord series{};
    std::uint32_t step = 0;
    const key_switch key(file, 1);
    std::int32_t left = file->nrecs;  // a damaged index can lead in a circle
    while (left-- > 0 && !op_interrupted() && IXNEXT(file, &series)) {
        const std::int32_t place = file->recno;
        if (is_void(series)) {
            delete_void(series.key);
        } else {
            art_read(chk_files.rvart, group, series.key.group);
            walked_labels walked = chk_walk_labels(series, label_mend::nothing);
            mend_quietly(series, group, walked);
            if (!figures_agree(series, walked) || walked.bad_branch ||
                !chk_stamp_valid(walked.first_date, series.stamp)) {
                list_series(series, walked, place);
            }
        }
        chk_progress(++step, last, chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !op_interrupted();
}

// ---- The repair

void repair_series(series_hold &hold) {
    SeriesRecord &series = hold.record;
    const walked_labels walked = chk_walk_labels(series, label_mend::all);
    series.ordered = walked.count[label_ordered];
    series.stock = walked.count[label_stock];
    series.sold = walked.count[label_sold];
    series.corrected = walked.count[label_corrected];
    series.last_delivery = walked.last_delivery;
    series.last_sale = walked.last_sale;
    if (!chk_stamp_valid(walked.first_date, series.stamp)) {
        series.stamp = stamp_of_day(std::max(latest_start(walked.first_date), earliest_day));
    }
    hold.rewrite();
}

void repair() {
    op_caption(op_field::series_repaired, caption());
    const key_switch key(chk_files.rvser, 1);
    wrong_series.for_each([&](const ChainError &error) {
        series_hold hold(error.key);
        if (hold.exists()) {
            op_value(op_field::series_repaired, ser_text(error.key).c_str());
            repair_series(hold);
        }
    });
    op_clear(op_field::series_repaired);
}

void open_files() {
    wrong_series.open();
    eti_file(eti_action::open);
}

void close_files() {
    eti_file(eti_action::close);
    wrong_series.close();
}

}  // namespace

void chk_series() {
    chk_course course{.status = caption,
                      .title = [] { return detail_text(2, 671, "CONTROLEREN SERIES"); },
                      .flag = &ok_series,
                      .date = &SysRow19::series};
    course.report_time = chk_report_time::before_walk;
    course.open = open_files;
    course.walk = walk;
    course.has_errors = [] { return !wrong_series.empty(); };
    course.heads = print_heads;
    course.report = print_totals;
    course.repair = repair;
    course.close = close_files;
    chk_perform(course);
}
