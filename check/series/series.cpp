// The course of the series check.
#include "check/series/series.h"

series_check::series_check()
    : chk_check(
          {.flag = &ok_series, .date = &SysRow19::series, .report_time = chk_report_time::before_walk}) {}

const char *series_check::status() const {
    return detail_text(2, 936, "controleren series");
}

const char *series_check::title() const {
    return detail_text(2, 671, "CONTROLEREN SERIES");
}

void series_check::open() {
    errors.open();
    eti_file(eti_action::open);
    listed = 0;
    line_in_group = 0;
    labels_total = {};
    series_total = {};
}

void series_check::close() {
    eti_file(eti_action::close);
    errors.close();
}

void chk_series() {
    series_check check;
    chk_perform(check);
}
