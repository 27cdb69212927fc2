// The check of goods in transit: a label that carries the mark has an entry in RVGO.
//
//   1  each label of each block: one that is in transit without an entry is printed, and noted in a work list
//   2  question; on yes each gets an entry, with one new document number for each pair of branches, and a
//   second
//      report gives these numbers
//
// It writes in the repair only. If the program stops half-way, the next run no longer finds the labels that
// already got an entry.
#pragma once

#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/work_file.h"
#include "data/ioeti.h"

/// The table of what this check can find.
std::span<const finding_kind> transit_findings();

class transit_check final : public chk_check {
public:
    transit_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !work.empty();
    }
    void heads(bool first_page) override;
    void repair() override;
    void close() override;

private:
    void check_block(std::int32_t block, const LabelBlock &buffer);
    void print_label(std::int32_t number);

    work_file work;       ///< numbers of labels, one a line
    int group_count = 0;  ///< lines since the last line of dashes
};

/// True for a label with an entry in RVGO.
bool transit_has_entry(std::int32_t number);
/// The series of a label.
SeriesKey transit_series(const eti_rec &label);
/// Shows the label that is looked at.
void transit_show_number(std::int32_t number);
