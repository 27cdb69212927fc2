// How every program of the package begins and ends, and its status line.
#pragma once

#include <cstdint>
#include <vector>

#include "sub/sysfile.h"

inline constexpr char program_name[] = "rvchk860";
inline constexpr char program_release[] = "8.60 ";
inline constexpr int program_release_number = 860;
inline constexpr char program_release_date[] = "19-11-2013";

/// When the program was built, for the information page.
struct build_stamp {
    const char *date;
    const char *time;
};

/// A till of a branch, from the name of its file.
struct till {
    std::uint8_t branch;
    std::uint8_t number;
};

/// The build stamp handed in by `main`.
extern build_stamp sys_version_date;
/// The tills, if the system keeps a list of them.
extern std::vector<till> sys_tills;

/// Brings up screen, catalogues, system file and branch file, tests the release and binds user slot 1.
/// `required_caller` is empty for a program that is started from the shell; it then takes no arguments.
/// Errors are shown on the fatal screen.
void start_program(const char *required_caller, build_stamp version_date, int argc, char **argv);

/// Writes the user slot back, closes everything and ends with status 0. `target` is empty.
[[noreturn]] void chain_program(const char *target);

/// Stops a program that was started in the wrong way.
[[noreturn]] void wrong_start(int code);
/// Stops a program that does not belong to the release of the data.
[[noreturn]] void wrong_release(const char *text);

/// Writes the program's name and release on screen line 1.
void show_program_line();

/// Stores the program's title for the status line and the reports.
void set_program_title(const char *title);
const char *program_title();

/// Writes the status line on screen line 1: the title in capitals, " * " and the text. Mode 'C' clears the
/// whole screen first, any other the line.
[[gnu::format(printf, 2, 3)]] void chk_status(char mode, const char *format, ...);
