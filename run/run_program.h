// Running another program of the package from inside a check.
#pragma once

#include <string>

/// The directory, ending in "/", from which to start another program of the package. When BIN is set it is
/// that, whether the program is there or not. Otherwise it is the directory of the running program or, as in
/// a build, the directory tools in it; empty when the program is in neither.
std::string program_place(const char *program);

/// Runs `command` on the terminal. `directory` is empty, a path that ends in "/", or the name of an
/// environment variable that holds the path. With `wait` the operator presses Enter before the screen comes
/// back. Returns what system() returned, or -1 when the variable is not set.
int run_program(const char *directory, const char *command, bool wait);
