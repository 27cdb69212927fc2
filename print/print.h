// Chief header of the printers: what the report writer needs to find a destination, to show a report and to
// hand it over.
#pragma once

#include <string>
#include <string_view>

#include "report/report.h"
#include "screen/screen.h"

/// Lets reports be shown on the screen and go to the printers of the shop. Once, before the first report.
void prt_install();

/// `text` as one word of a shell command: quoted unless it holds only letters, digits and . _ - / : @ %.
std::string shell_word(std::string_view text);
