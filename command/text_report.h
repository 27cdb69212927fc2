// Reports as text files, for a run that nobody watches: no printer, no screen, no preview.
#pragma once

#include <string>

/// From here on each report that is printed becomes a file of UTF-8 text in `dir`, which is made: pages 132
/// columns wide, a form feed between two of them, no control codes of a printer. With an empty `dir` the
/// reports are made and thrown away. A report that can't be written is fatal, as it is on a printer.
void text_report_install(const std::string &dir);
/// The check whose reports follow, in small letters: its first report becomes NAME.txt, the next NAME-2.txt
/// and so on. Files of those names that an earlier run left are deleted. Without a name they are called
/// "report".
void text_report_name(const std::string &name);
