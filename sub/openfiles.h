// Files that the program has left open, told at its end.
#pragma once

/// The first call notes how many files can be opened; a later one tells when that has changed, and which
/// files are open still.
void open_file_check();
