// What the files of the master data check share.
#pragma once

#include "check/frame/frame.h"
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

/// Forgets all findings and errors.
void master_clear();
/// Adds a finding of a class at a number; it counts as an error. A number above the highest of the class is
/// reported as that highest one.
void master_find(master_class finding, unsigned number);
/// An error outside the classes.
void master_count_error();
long master_errors();
/// A line for each finding: class by class, and within a class by number.
void master_print_classes();

/// Files that only this check needs, and its settings.
struct master_files {
    ICB *articles = nullptr;  ///< RVARTREG
    ICB *turnover = nullptr;  ///< RVOMZGRP
    ICB *staff = nullptr;     ///< RVVKP
    TillSettings tills{};
    std::uint16_t session_limit = 0;  ///< the highest session number given out
};

/// The walks. False when the operator cancelled.
bool master_walk_references(const master_files &files);
bool master_walk_series();

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
    const std::int32_t place = file->recno;
    Record fresh = seen;
    if (IXREADLOCK(file, &fresh) && std::memcmp(&fresh, &seen, key_bytes) == 0) {
        action(fresh);
    } else {
        IXFREE(file, &seen);
    }
    file->recno = place;
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
