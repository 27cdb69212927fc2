// The check of the master data. It asks nothing: what can be corrected is corrected during the walk.
//
//   1  settings of the tills, and the highest session number that was given out
//   2  the reference files, each from front to back: descriptions, references, session numbers
//   3  their findings, class by class
//   4  the series, with a line for each finding
//
// It writes while it walks: records with an impossible number are deleted, and fields are corrected, each
// under the lock of its record. A field that was corrected and reported is an error of this run, so the check
// passes in the next one.
#pragma once

#include <cstring>
#include <vector>

#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/record_place.h"
#include "data/masterfile.h"

/// The classes of findings in the reference files, in the order in which they are printed. The package knows
/// them by these numbers; 14 and 18 are no longer used.
enum master_class : int {
    group_no_name = 1,
    group_no_turnover = 2,
    group_turnover_unknown = 3,
    group_vat_differs = 4,
    group_session = 5,
    supplier_no_name = 6,
    supplier_session = 7,
    brand_no_name = 8,
    brand_session = 9,
    size_kind_session = 10,
    size_kind_no_code = 11,
    branch_no_name = 12,
    turnover_no_name = 13,
    staff_no_name = 15,
    article_no_name = 16,
    article_turnover = 17,
    action_no_period = 19,
    action_no_name = 20,
};

/// Findings of one series, in the order of their lines.
enum master_series_finding : int {
    key_invalid,
    no_group,
    colour_added,
    no_brand,
    no_supplier,
    no_size_kind,
    no_season_letter,
    no_season_number,
    no_label_kind,
    master_series_findings,
};

/// The table of what this check can find.
std::span<const finding_kind> master_findings();
const finding_kind &master_kind(master_series_finding of);

/// What was found in the reference files: the numbers of each class, a bit each.
class reference_findings {
public:
    reference_findings();
    /// Adds a finding of a class at a number; it counts as an error. A number above the highest of the class
    /// is reported as that highest one.
    void add(master_class of, unsigned number);
    /// An error outside the classes.
    void count_error() {
        errors++;
    }
    [[nodiscard]] long error_count() const {
        return errors;
    }
    /// A line for each finding: class by class, and within a class by number.
    void print() const;

private:
    std::vector<std::vector<bool>> numbers;  ///< empty for a class without a finding
    long errors = 0;
};

/// Files that only this check needs, and its settings.
struct master_files {
    ICB *articles = nullptr;  ///< RVARTREG
    ICB *turnover = nullptr;  ///< RVOMZGRP
    ICB *staff = nullptr;     ///< RVVKP
    TillSettings tills{};
    std::uint16_t session_limit = 0;  ///< the highest session number given out
};

class master_check final : public chk_check {
public:
    master_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return found.error_count() != 0;
    }
    void close() override;

private:
    master_files files;
    reference_findings found;
};

/// The walks. False when the operator cancelled.
bool master_walk_references(const master_files &files, reference_findings &found);
bool master_walk_series(reference_findings &found);

/// True for a text field without text.
template <std::size_t N>
bool empty_text(const char (&field)[N]) {
    return field[0] == '\0';
}

/// The record that a walk of a file is at, read again under its lock, to be changed or deleted. The first
/// `key_bytes` bytes of a record are its key. Nothing is done when another program has changed the key
/// meanwhile, or the index leads elsewhere. The walk stays where it is.
template <class Record, class Action>
void at_walk_record(ICB *file, const Record &seen, std::size_t key_bytes, Action action) {
    const record_place place(file);
    Record fresh = seen;
    if (IXREADLOCK(file, &fresh) && std::memcmp(&fresh, &seen, key_bytes) == 0) {
        action(fresh);
    } else {
        IXFREE(file, &seen);
    }
}

template <class Record, class Change>
void mend_walk_record(ICB *file, const Record &seen, std::size_t key_bytes, Change change) {
    at_walk_record(file, seen, key_bytes, [&](Record &fresh) {
        change(fresh);
        IXWRITE(file, &fresh);
    });
}

template <class Record>
void delete_walk_record(ICB *file, const Record &seen, std::size_t key_bytes) {
    at_walk_record(file, seen, key_bytes, [&](Record &fresh) { IXDELETE(file, &fresh); });
}
