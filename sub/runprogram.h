// Running another program of the package from inside a check.
#pragma once

/// Runs `command` on the terminal. `directory` is empty, a path that ends in "/", or the name of an
/// environment variable that holds the path. With `wait` the operator presses Enter before the screen comes
/// back. Returns what system() gives, -1 when the variable is not set.
int run_program(const char *directory, const char *command, bool wait);
