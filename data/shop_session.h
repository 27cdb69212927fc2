// The shop whose data is worked on: its tills and settings, and the user slot of this program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "data/sysfile.h"

inline constexpr char program_name[] = "rvchk860";
inline constexpr char program_release[] = "8.60 ";
inline constexpr int program_release_number = 860;
inline constexpr char program_release_date[] = "19-11-2013";

/// A till of a branch, from the name of its file.
struct till {
    std::uint8_t branch;
    std::uint8_t number;
};
/// The tills, if the system keeps a list of them.
extern std::vector<till> sys_tills;

/// Opens the system file and the branch file. A missing file is fatal.
void shop_open();
/// True when the data belongs to the release of this program. `release` is the one that the data names.
bool shop_release_fits(std::string &release);
/// Binds user slot 1, and reads the settings, the country and the tills.
void shop_begin();
/// True when the home currency has no cents: all amounts are whole.
bool shop_whole_amounts();
/// Writes the user slot back and closes the files.
void shop_close();

/// The program's title for the status line and the reports.
void set_program_title(const char *title);
const char *program_title();
