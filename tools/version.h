// The output of --version.
#pragma once

/// Prints the program's name, the version of the package and, if known, the commit it was built from.
void print_version(const char *program);
