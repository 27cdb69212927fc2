// Reports at the end of the program which files it left open.
#pragma once

/// The first call notes how many files can be opened. A later one reports when that has changed, and which
/// files are still open.
void open_file_check();
