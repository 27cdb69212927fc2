// How everything below the programs speaks to the operator.
//
// The layers base, store, data and check know no screen: no row, no column, no window. They say what they
// want of a person in the verbs of this header, and `isam_operator` is whoever answers: the terminal program,
// a tool on the command line, a test. Any entry of it may be null. Then a question is answered with no,
// nobody wants to break off, and the store prints plain text and waits by itself.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// ---- What is said

/// What the operator is told and has to confirm. Most consist of lines that say it all.
enum class op_notice : std::uint8_t {
    size_fault,      ///< an operation on size kinds went wrong: what, and whom to ask
    price_blocks,    ///< a price set whose blocks can't be read: the title of the warning, and the warning
    price_sizes,     ///< a price set whose sizes are not those of its blocks
    size_findings,   ///< a phase of the size check has found what a human must mend
    titles_unknown,  ///< customers with a title that has no description, and what the shop can do
    space_freed,     ///< old temporary files were deleted: that, and how much room there is now
    bad_marks,       ///< customers with an invalid mark, which was mended
};

/// Yes or no.
enum class op_question : std::uint8_t {
    series_index,      ///< make the index of the series file anew?
    release_labels,    ///< empty the label blocks that are on no chain? Advice is to be asked first
    repair,            ///< mend what was found?
    repair_prices,     ///< the same for prices; advice is to be asked first
    repair_customers,  ///< the same for customers
    assign_codes,      ///< give EAN codes to the sizes without one?
};
enum class op_default : std::uint8_t { none, no, yes };
/// The answer that stands when nothing else is chosen.
op_default default_of(op_question question);

/// A place for what changes all the time: the number, the code or the file that is being looked at.
enum class op_field : std::uint8_t {
    temporary_files,  ///< the deletion of old temporary files
    index_release,    ///< the release of keys that dead programs left reserved
    series_repaired,
    series_referring,  ///< the series whose references are checked
    label_in_transit,
    criteria_lost,  ///< the search for lost blocks of order criteria
    criteria_lost_count,
    criteria_free,  ///< the making of their free chain
    criteria_free_count,
    size_kinds,  ///< the phases of the size check
    label_sizes,
    series_sizes,
    number_supplier,  ///< the supplier whose order numbers are checked
    number_code,
    barcode,
    ean_code,
    journal,
    journal_series,
};

// ---- Who answers

struct operator_table {
    /// Shows the fatal screen with `text` and ends the process with status 1. Must not return.
    void (*fatal)(const char *text);
    /// Message box FFLASH: `wait` is seconds, -1 waits for Enter, -2 asks yes or no. Returns the answer
    /// (1 or 0) for -2, else 1. `title` may be null.
    int (*flash)(int wait, const char *title, const char *text);
    /// Shows `text` on the last screen line for `seconds`, reversed or blinking, then clears the line.
    void (*last_line)(bool blink, const char *text, int seconds);
    /// Draws one step of the progress bar; actions 0 to 5 as described at `ix_progress`.
    void (*progress)(int action, std::uint32_t value, std::uint32_t total, const char *title);
    /// True once the operator has confirmed a break-off.
    bool (*interrupted)();
    /// Forgets an earlier break-off, if the test is armed.
    void (*interrupt_reset)();

    /// Forgets an earlier break-off, and lets the operator break off from here.
    void (*interrupt_arm)();
    /// Hold off leaving, and allow it again; holds nest.
    void (*hold)();
    void (*release)();
    /// Leaves now, if a signal has asked for it and no hold is in force.
    void (*leave_if_due)();
    /// Asks for patience, until the next thing is shown.
    void (*patience)();
    /// The check that runs now, for the head of the screen; empty for none.
    void (*status)(const char *text);
    /// A phase begins: what the one before has left to be seen can go.
    void (*phase)();
    void (*tell)(op_notice notice, const std::vector<std::string> &lines);
    /// Asks the question `text`; `lines` come before it. True for yes.
    bool (*ask)(op_question question, const char *text, const std::vector<std::string> &lines);
    /// Shows the caption of a field, or its value. Null for both clears it.
    void (*show)(op_field field, const char *caption, const char *value);
    /// Another program is at work: waits until `granted` gives true, a second between two tries. With
    /// `may_ask` a key brings the question whether to go on waiting; false when the operator gives up.
    bool (*await_turn)(bool may_ask, const std::function<bool()> &granted);
    /// The orderly end of the program. Must not return.
    void (*end)();
    /// Makes the index of a pair anew, with the pair closed. False, after telling the operator, when it was
    /// left as it is.
    bool (*rebuild_index)(const char *pair);
};

extern operator_table isam_operator;

/// Ends the program over a fault it cannot go on from: the fatal screen when there is one, else the same
/// lines on standard output and a wait for a line feed. Exit status 1.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void isam_fatal(const char *format, ...);

/// Writes the four lines of a fatal stop on standard output, waits for a line feed (or the end of the
/// input) and returns.
void fatal_plain(const char *text);

// ---- The verbs, for any operator or none

void op_status(const char *text);
void op_phase();
void op_tell(op_notice notice, const std::vector<std::string> &lines);
bool op_ask(op_question question, const char *text, const std::vector<std::string> &lines = {});
void op_caption(op_field field, const char *caption);
void op_value(op_field field, const char *value);
void op_clear(op_field field);
void op_patience();
bool op_interrupted();
void op_interrupt_arm();
void op_leave_if_due();
bool op_await_turn(bool may_ask, const std::function<bool()> &granted);
[[noreturn]] void op_end();
/// Tells for two seconds that something is in use; waits that long without an operator too.
void op_in_use(const char *text);

/// Holds off leaving for the time of a block: files are between two states.
struct leave_guard {
    leave_guard();
    ~leave_guard();
    leave_guard(const leave_guard &) = delete;
    leave_guard &operator=(const leave_guard &) = delete;
};
