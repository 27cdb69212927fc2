// The number menu: sections of numbered entries, chosen by number or with the arrow keys.
//
//     do {
//         menu_reset(0);
//         menu_title(true, "volledige controle");
//         menu_add(true, true, "series/etiketten", check_series);
//     } while (menu_run() != 0);
#pragma once

/// What the menu needs of the application; any entry may be null.
struct menu_table {
    void (*status_line)();       ///< redraws the status line after the window was cleared
    void (*information_page)();  ///< shows the information page
    /// Ends the program because of an error in the calling program.
    void (*internal_error)(const char *module, int number);
};
extern menu_table menu_application;

inline constexpr int menu_levels = 10;

/// Starts a menu. Each level, 0 to 9, remembers its last choice; a menu within another must use another
/// level.
void menu_reset(int level);
/// Begins a section with a heading.
void menu_title(bool show, const char *text);
/// Adds an entry. Without `show` it gets no number and no row; one that is not available is shown but can't
/// be chosen.
void menu_add(bool show, bool available, const char *text, void (*function)());
/// Reads the choice and runs it. Returns 1 if a function ran, 0 if the operator left or there was no entry.
int menu_run();
