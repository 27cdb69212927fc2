// What the tools answer to --version.
#pragma once

/// Prints the program's name, the version of the package and the commit it was built from, where that is
/// known.
void print_version(const char *program);
