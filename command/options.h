// The command line of rvcheck.
#pragma once

#include <string>
#include <vector>

#include "check/session/session.h"

/// How the questions of the checks are answered.
enum class answer_mode { ask, yes, no };

struct run_options {
    std::vector<std::string> directories;
    answer_mode answers = answer_mode::ask;
    bool rehearse = false;
    bool marker = false;
    bool quiet = false;
    bool list = false;
    int jobs = 1;
    int wait = 60;  ///< seconds in which a shop waits for other users, all waits together
    std::vector<const chk_row *> checks;  ///< in the order of the table
    // Absolute paths, empty for none.
    std::string keep;
    std::string backup;
    std::string report;
    std::string json;  ///< "-" for standard output
};

/// Statuses with which rvcheck ends, but for wrong use added up over the shops.
inline constexpr int status_clean = 0;
inline constexpr int status_mended = 1;
inline constexpr int status_left = 4;
inline constexpr int status_unchecked = 8;
inline constexpr int status_wrong_use = 16;
inline constexpr int status_cancelled = 32;

/// Reads the command line. Ends the process after --help and --version, and with `status_wrong_use` when it
/// makes no sense. A run that should ask has the answer no when standard input is no terminal.
run_options options_of(int argc, char **argv);
/// A text of the catalogue, or any other of code page 850, as it goes out: in UTF-8.
std::string shown_text(const char *text);
