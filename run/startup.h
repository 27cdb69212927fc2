// How every program of the package begins and ends, and its status line.
#pragma once

#include "data/shop_session.h"

/// When the program was built, for the information page.
struct build_stamp {
    const char *date;
    const char *time;
};

/// The build stamp handed in by `main`.
extern build_stamp sys_version_date;

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

/// Writes the status line on screen line 1: the title in capitals, " * " and the text. Mode 'C' clears the
/// whole screen first, any other the line.
[[gnu::format(printf, 2, 3)]] void chk_status(char mode, const char *format, ...);
