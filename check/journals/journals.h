// The check of the order journals and of the list of their order numbers.
//
// For each journal of each season:
//   1  A walk checks the order of its records. When all of them may stay as they are, the journal stays.
//   2  For any other a second walk writes the clean copy beside it. A journal that fails is left as it
//      is, with its copy beside it, and nothing in it has any effect.
//   3  The copy of a journal that passes replaces it, once the copy is complete on disk.
//   4  A last walk, through the old journal, updates the list of order numbers and gives the labels of
//      renumbered orders their new number. A run that dies before this leaves orders with their new numbers
//      in the journal, and the next run does the same for these.
// When all have passed, each order number is looked up in its journal; one that isn't there is deleted.
// It asks nothing, and all of this is written during the walk.
#pragma once

#include <cstring>
#include <deque>
#include <string>

#include "base/owned_file.h"
#include "check/frame/error_list.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/journals/walk.h"
#include "data/journalfile.h"

/// A journal by its season and number.
struct journal_name {
    int year;
    char letter;
    int number;
    bool operator==(const journal_name &) const = default;
};

/// Path from the directory of the data, with the extension "JRN" or that of the copy, "TMP".
std::string journal_path(const journal_name &name, const char *extension = "JRN");
/// True for the name of a season directory: four digits, 0 or 1980 to 2079, and the letter Z, W or K.
bool journal_season(const std::string &directory, journal_name &name);
/// True for the name of a journal in it, ORD, four digits and ".JRN".
bool journal_number(const std::string &file, journal_name &name);
/// Copies are forced to disk, unless all that is written goes anyway.
inline bool journal_copies_on_disk = true;
/// Walks through a journal to the end. True when it passes and its copy would be equal to it.
bool journal_is_clean(journal_walk &walk);
/// Removes the copy that an earlier run has left beside a journal, if there is one.
void journal_remove_copy(const journal_name &name);
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

// ---- Findings

enum class journal_fault : std::uint8_t {
    unknown_code,
    misplaced,
    cut_off,
    changed,
    disk,
    closed,
    last_dropped
};
std::span<const finding_kind> journal_findings();
/// Tells of a fault of a journal, and prints its line: `text`, and that it is a fault.
void journal_report(const journal_name &name, journal_fault fault, const std::string &text,
                    std::int64_t at = 0);
/// Tells of a journal, or of all those of a season, that can't be entered. It has no line.
void journal_report_closed(const std::string &season, const std::string &journal);
/// Tells and prints the fault at which a walk ended, if it ended at one.
void journal_report_end(const journal_name &name, const journal_walk &walk);

// ---- The list of order numbers

inline constexpr char order_number_file[] = "RVORDNR";

/// Texts of orders, padded with zeros.
template <std::size_t N>
bool text_empty(const char (&text)[N]) {
    return text[0] == '\0';
}

template <std::size_t N>
bool text_equal(const char (&a)[N], const char (&b)[N]) {
    return std::strncmp(a, b, N) == 0;
}

/// The serial number handed out last; when the first number comes next, the one before it.
std::uint32_t journal_last_serial();

/// Where an order stands in its journal.
struct order_position {
    little_uint32_t number;
    little_int32_t position;  ///< of the payload
};
static_assert(sizeof(order_position) == 8);

/// The list of order numbers, RVORDNR, and where the orders of the journals stand. The label file must be
/// open.
class order_number_list {
public:
    void open();
    void close();
    /// Walks once more through the old journal, whose copy is in place: updates the list for its orders, and
    /// gives the labels of a renumbered order the new number.
    void follow(journal_walk &walk, const journal_name &name);
    /// When all journals have passed: deletes numbers without an order, and makes the texts of the others
    /// equal. Opens and closes the list itself.
    void settle();
    /// Closes what is open, and forgets where the orders stand.
    void end();

private:
    // Labels.
    [[nodiscard]] bool labels_numbered(std::int32_t series) const;
    void number_labels(const journal_walk &walk);

    // Records of the list.
    bool lock(OrderNumberRecord &record, std::uint32_t number);
    void remove(std::uint32_t number);
    void note_position(std::uint32_t number, std::int64_t at);
    void list_order(const journal_walk &walk, const journal_name &name);

    // When all journals have passed.
    int open_journal_of(const OrderNumberRecord &record);
    bool handed_out_since(const OrderNumberRecord &record);
    bool settle_number(const OrderNumberRecord &record);

    op_ticker<SeriesKey> shown{op_field::journal_series, ser_text};
    ICB *numbers = nullptr;
    error_list<order_position> positions{"tmp_ordnr", {{"key-1", false, {{'I', 0, 4}}}}};
    /// Series before this place have a bit: their labels all have an order number of their own. A series
    /// occurs in many orders, and need not be walked for each of them.
    std::int32_t series_at_start = 0;
    std::uint32_t serial_at_start = 0;  ///< the last serial number before the check
    /// The journals last opened for the order numbers; a journal that can't be opened has a place too. The
    /// numbers of seasons that are worked on side by side alternate.
    struct opened_journal {
        journal_name name;
        open_file file;
        opened_journal(const journal_name &journal, int fd) : name(journal), file(fd) {}
    };
    std::deque<opened_journal> opened;
};

class journal_check final : public chk_check {
public:
    journal_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return any_failed;
    }
    void close() override;

private:
    bool check_journal(const journal_name &name);
    void check_season(const std::string &directory, journal_name name);

    order_number_list numbers;
    bool any_failed = false;
};
