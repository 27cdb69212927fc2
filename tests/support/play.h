// The checks without a terminal: an operator whose answers are known beforehand, in a process of its own.
//
//     const CheckRun run = play({.answers = "NJ"}, chk_labels);
//
// The process has the shop of the current directory open, as the program has when it shows its menu.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

/// What the operator does, and what happens to him.
struct Script {
    /// Answers to the questions and notices, in order: J, N, "." for the default, X to cancel. When they have
    /// run out the last one is given again.
    std::string answers = "J";
    std::string break_at = {};   ///< breaks off in the pass whose caption holds this text
    bool break_at_once = false;  ///< at the first look for the wish to
    bool refuses = false;        ///< no destination is found for reports
    int page_lines = 60;
};

/// What a run left behind.
struct CheckRun {
    int status = -1;                     ///< exit status; 128 plus the signal that ended it; -1 after no end
    std::vector<std::string> report;     ///< lines of all reports, pages without their form feeds
    int jobs = 0;                        ///< reports with output
    std::vector<std::string> questions;  ///< texts of the questions and notices, in order
    std::vector<std::string> codes;      ///< of the findings, as they were made
    std::vector<std::string> findings;   ///< with file and fields: "labels.2 RVETI series=1.2.3 block=7"
    long writes = 0;                     ///< to files of data; none of a run that was killed
    std::string flags;                   ///< names of the checks that have passed, in the order of the menu
    std::string fatal;                   ///< the text of a fatal stop

    /// The codes, those alike in a row once: "labels.1 labels.6".
    [[nodiscard]] std::string found() const;
    /// True when a line of the reports holds `text`.
    [[nodiscard]] bool reports(const std::string &text) const;
    /// How many lines hold `text`.
    [[nodiscard]] int count(const std::string &text) const;
    /// True when those lines stand in the reports one below the other.
    [[nodiscard]] bool shows(const std::vector<std::string> &lines) const;
    /// Those that hold one of the texts, without the blanks at their end.
    [[nodiscard]] std::vector<std::string> rows(const std::vector<std::string> &texts) const;
    [[nodiscard]] bool asked(const std::string &text) const;
};
std::ostream &operator<<(std::ostream &out, const CheckRun &run);

/// A line without the blanks at its end.
std::string trimmed(const std::string &line);

/// Runs `course` with the operator of `script`. A run that does not end within a minute is killed.
CheckRun play(const Script &script, const std::function<void()> &course);
/// For a course: the operator from here on, and a signal before the write to a file of data that comes so
/// many writes from here. There is no state between two writes.
Script &script_now();
void signal_after(long writes, int signal);
