// Menu windows: a framed vertical menu whose items have a result number, a hot letter and a key. They know
// nothing of printing.
//
//     tr_menu *menu = tr_menu_new(tr_fit_width | tr_centre_col | tr_centre_row, 0, 0, 0, "Keuze");
//     tr_menu_add(menu, "&Opnemen", 1, tr_item::enabled, KEY_IC);
//     tr_menu_add(menu, nullptr, 0, tr_item::heading, 0);
//     tr_menu_add(menu, "&Verwijderen", 2, tr_item::enabled, KEY_DC);
//     const int chosen = tr_menu_run(menu, 1);
//     tr_menu_free(menu);
#pragma once

/// Flags of a menu.
inline constexpr unsigned tr_fit_width = 1;   ///< the width follows the widest item
inline constexpr unsigned tr_centre_col = 4;  ///< centred on the screen
inline constexpr unsigned tr_centre_row = 8;
inline constexpr unsigned tr_no_leave = 16;  ///< Escape and the exit key do not leave the menu

enum class tr_item : int { disabled = 0, enabled = 1, heading = 2 };

struct tr_menu;

/// A menu without items. `width` is the width inside the frame. Lack of memory is fatal.
tr_menu *tr_menu_new(unsigned flags, int row, int col, int width, const char *title);
void tr_menu_free(tr_menu *menu);
/// Adds an item at the end. The letter after "&" in the text is its hot letter; `key` (0 for none) chooses
/// the item too. A heading without a text is a line.
void tr_menu_add(tr_menu *menu, const char *text, int result, tr_item kind, int key);
/// Enables or disables the item with that result, or changes its text.
void tr_menu_enable(tr_menu *menu, int result, bool on);
void tr_menu_text(tr_menu *menu, int result, const char *text);
/// State of the item with that result; tr_item_on is set when it is enabled.
inline constexpr unsigned tr_item_on = 256;
unsigned tr_menu_state(const tr_menu *menu, int result);
void tr_menu_place(tr_menu *menu, int row, int col);
/// Length of the widest text, and number of items that can be chosen.
int tr_menu_widest(const tr_menu *menu);
int tr_menu_choices(const tr_menu *menu);
/// Result of the item with that hot letter or key, enabled or not; 0 for none.
int tr_menu_find(const tr_menu *menu, int key);
/// Lets the operator choose, beginning at the item with the result `first`. Returns the result of an enabled
/// item, 0 when there was no choice. A waiting key that names an enabled item chooses it before the menu is
/// shown.
int tr_menu_run(tr_menu *menu, int first);
