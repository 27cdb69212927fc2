// The information page: what is known about the program, the user and the machine.
#pragma once

/// Shows the page in a window and waits for Enter.
void info_page();
/// Writes the page from line `row` of the current window on.
void info_page_show(int row);
