// The command line of rvcheck.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
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
/// makes no sense. A run that should ask has the answer no without a terminal to read from and ask on.
run_options options_of(int argc, char **argv);
/// A text of the catalogue, or any other of code page 850, as it goes out: in UTF-8. A path in it, which is
/// in UTF-8 already, stays as it is.
std::string shown_text(std::string_view text);
/// The name of a directory, also of one that is named as "." or through a link.
std::string name_of_shop(const std::string &directory);
/// Below which directory the private copies of rehearsals are made: that of TMPDIR, or without it /var/tmp.
std::string rehearsal_place();
/// Writes a text at once. What can't be written is lost: a full disk, or a terminal or reader that has gone,
/// must not end the checks. False with errno then.
bool write_out(std::FILE *to, const std::string &text);
/// A name, or a text with one, for a line of its own: control characters, which would break the line, as
/// question marks.
std::string name_in_line(std::string name);
