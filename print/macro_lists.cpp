#include "print/macro_lists.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

#include "print/macros.h"
#include "print/menu_windows.h"
#include "print/pick_list.h"

namespace {

constexpr int key_escape = 27;

/// The macro file shown in the list, and the record that the list is at.
struct macro_cursor {
    ICB *icb = nullptr;
    MacroRecord record{};
    std::int32_t position = -1;
};
macro_cursor at;
const char *foot = "";
/// Deleting: <Del> leaves the list with the record that it is at.
bool takes_delete = false;

/// Moves `n` records in the order of the keys, as far as there are any.
bool move(int n) {
    MacroRecord record = at.record;
    std::int32_t position = at.position;
    const bool found = IXSKIP(at.icb, &record, 0, n, &position);
    if (found) {
        at.record = record;
        at.position = at.icb->recno;
    }
    return found;
}

bool known_key(int key) {
    const int keys[] = {key_enter, key_escape, KEY_CANCEL, KEY_UP, KEY_DOWN, KEY_PPAGE, KEY_NPAGE};
    return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

void input() {
    scr_text(A_DIM, getmaxy(win_current()) - 2, 2, "%s", foot);
    int key = 0;
    do {
        key = key_get(win_current());
        if (key == KEY_F(3)) {
            key = key_enter;
        }
        if (takes_delete && key == key_enter) {
            key = 0;
        }
    } while (!known_key(key) && !(takes_delete && key == KEY_DC));
    scr->ing_exit = key == KEY_DC ? key_enter : key;
}

void heads() {
    scr_text(A_BOLD, 1, 2, "%-6s %-5s %-30s", "User", "Key", term_text(1, 384, "Omschrijving"));
}

std::string row_text() {
    char name[8];
    key_name(at.record.key, name);
    const std::string description(at.record.description, std::size(at.record.description));
    return str_format("%-6u %-5s %-30s", static_cast<unsigned>(at.record.user), name, description.c_str());
}

/// The list; true when a record was picked, which is then in `at`.
bool run_list() {
    const std::unique_ptr<pick_list, void (*)(pick_list *)> list{pick_new(move, input, heads, row_text),
                                                                 pick_free};
    if (list == nullptr) {
        return false;
    }
    list->title = term_text(1, 385, " Macro Lijst ");
    return pick_run(list.get());
}

/// Opens the macro file for a list, before its first record.
bool open_list(const char *foot_text, bool deleting) {
    foot = foot_text;
    takes_delete = deleting;
    at = {};
    at.icb = mac_open();
    return at.icb != nullptr;
}

void close_list() {
    IXCLOSE(at.icb);
    at = {};
}

/// Deletes the macro that the list is at, and goes to the one after it, or else to the one before.
void delete_macro() {
    MacroRecord record = at.record;
    if (IXREADLOCK(at.icb, &record)) {
        IXDELETE(at.icb, &record);
    } else {
        IXFREE(at.icb, &record);
    }
    if (!move(0)) {
        move(-1);
    }
}

}  // namespace

int mac_pick() {
    if (!open_list("Cursor Up, Cursor Down, Page Up, Page Down", false)) {
        return 0;
    }
    const int key = run_list() ? at.record.key.value() : 0;
    close_list();
    return key;
}

void mac_delete() {
    mac_disable();
    {
        const mac_dialogue aside;
        if (open_list(term_text(1, 391, "Druk op <Del> om een macro te verwijderen"), true)) {
            while (run_list()) {
                delete_macro();
            }
            close_list();
        }
    }
    mac_enable();
}

int mac_menu() {
    constexpr int pick = 1;
    mac_disable();
    int result = 0;
    {
        const mac_dialogue aside;
        tr_menu *menu = tr_menu_new(tr_fit_width | tr_centre_col | tr_centre_row, 0, 0, 0,
                                    term_text(1, 386, "Macro menu"));
        tr_menu_add(menu, term_text(1, 387, "macro &Invoeren"), KEY_IC, tr_item::enabled, 0);
        tr_menu_add(menu, term_text(1, 388, "macro &Verwijderen"), KEY_DC, tr_item::enabled, 0);
        tr_menu_add(menu, term_text(1, 389, "macro &Uitvoeren"), pick, tr_item::enabled, 0);
        tr_menu_add(menu, nullptr, 0, tr_item::heading, 0);
        tr_menu_add(menu, term_text(1, 390, "&Terug"), 0, tr_item::enabled, 0);
        result = tr_menu_run(menu, KEY_IC);
        tr_menu_free(menu);
        if (result == pick) {
            result = mac_pick();
        }
    }
    mac_enable();
    return result;
}

void mac_install() {
    mac_connect();
    macros.choose = mac_menu;
    macros.remove = mac_delete;
}
