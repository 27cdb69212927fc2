// What the files of the order journal check share: names of journals, the copy of one, and the list of order
// numbers.
#pragma once

#include <string>

#include "check/journals/walk.h"

/// A journal by its season and number.
struct journal_name {
    int year;
    char letter;
    int number;
};

/// Path from the directory of the data, with the extension "JRN" or that of the copy, "TMP".
std::string journal_path(const journal_name &name, const char *extension = "JRN");
/// True for the name of a season directory: four digits, 0 or 1980 to 2079, and the letter Z, W or K.
bool journal_season(const std::string &directory, journal_name &name);
/// True for the name of a journal in it, ORD, four digits and ".JRN".
bool journal_number(const std::string &file, journal_name &name);
/// Prints a report line about a journal: its name, what is wrong and where.
void journal_report(const journal_name &name, const std::string &text);

/// Walks through a journal to the end and writes its copy. True when the journal passes; the copy is then
/// complete on disk.
bool journal_write_copy(const journal_name &name, journal_walk &walk, std::int64_t &size);
/// Replaces a journal that has passed by its copy.
void journal_take_copy(const journal_name &name, const journal_walk &walk, std::int64_t size);
/// The state of a journal. It changes when another program writes the journal.
struct journal_state {
    std::int64_t size = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    bool operator==(const journal_state &) const = default;
};
journal_state journal_state_of(int fd);

/// The list of order numbers, open between these two; the label file must be open too.
void journal_numbers_open();
void journal_numbers_close();
/// Walks once more through the old journal, whose copy is in place: updates the list for its orders, and
/// gives the labels of a renumbered order the new number.
void journal_follow(journal_walk &walk, const journal_name &name);
/// When all journals have passed: deletes numbers without an order, and makes the texts of the others equal.
/// Opens and closes the list itself.
void journal_settle_numbers();
/// Closes what is open, and forgets where the orders stand.
void journal_numbers_end();
