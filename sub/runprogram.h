// Running another program of the package from inside a check.
#pragma once

#include <string>

/// The directory, with a "/" at its end, to start `program` of the package from. When BIN is set that is it,
/// whether the program is there or not. Else it is where the running program stands, or the directory tools
/// in it, as in a build; empty when neither has the program.
std::string program_place(const char *program);

/// Runs `command` on the terminal. `directory` is empty, a path that ends in "/", or the name of an
/// environment variable that holds the path. With `wait` the operator presses Enter before the screen comes
/// back. Returns what system() gives, -1 when the variable is not set.
int run_program(const char *directory, const char *command, bool wait);
