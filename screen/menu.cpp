// menuhdl: the number menu.
#include <array>
#include <cstring>
#include <string>

#include "screen/screen_internal.h"

menu_table menu_application{};

namespace {

constexpr int first_row = 3;
constexpr int text_width = 35;
// Numbers have 8 bits, so there are never more entries.
constexpr std::size_t most_entries = 255;
constexpr int col_number = 2;
constexpr int col_text = col_number + 3;

struct menu_entry {
    std::uint8_t number = 0;
    std::uint8_t section = 0;
    std::uint8_t row = 0;
    char text[text_width + 1] = "";
    bool available = false;
    void (*function)() = nullptr;
};

struct menu_header {
    std::uint8_t next_number = 1;
    std::uint8_t section = 0;
    std::uint8_t row = first_row;
    std::uint8_t level = 0;
    std::size_t count = 0;
    std::array<menu_entry, most_entries> entries;
};

menu_header menu;

/// The function chosen last, by menu level.
std::array<void (*)(), menu_levels> menu_last{};

void internal_error(int number) {
    if (menu_application.internal_error != nullptr) {
        menu_application.internal_error("menuhdl", number);
    }
    scr_fatal("MENUHDL: errno=%d", number);
}

/// The text without blanks around it, at the width of the menu.
void fit(char *to, const char *text) {
    std::strncpy(to, text, text_width);
    to[text_width] = '\0';
    str_trim(to);
}

menu_entry &entry_at(std::size_t index) {
    return menu.entries[index];
}

void show_plain(const menu_entry &entry) {
    scr_text(entry.available ? A_BOLD : A_DIM, entry.row, col_number, "%2d", entry.number);
    scr_text(A_DIM, entry.row, col_text - 1, " %-*s", text_width, entry.text);
}

void show_selected(const menu_entry &entry) {
    scr_text(A_REVERSE, entry.row, col_number, "%2d %-*s", entry.number, text_width, entry.text);
}

std::size_t last_choice() {
    for (std::size_t i = 0; i < menu.count; i++) {
        if (entry_at(i).function == menu_last[menu.level]) {
            return i;
        }
    }
    return 0;
}

std::size_t next_section(std::size_t selected) {
    for (std::size_t i = selected + 1; i < menu.count; i++) {
        if (entry_at(i).section > entry_at(selected).section) {
            return i;
        }
    }
    return 0;
}

void explain_keys() {
    constexpr int height = 8;
    constexpr int col_explanation = 10;
    win_open1(scr->scr_lines - 9, 1, height, 80);
    win_title(" %s ", detail_text(1, 281, "keuzemogelijkheden"));
    scr_text(A_BOLD, 1, 2, "%d-%d", entry_at(0).number, entry_at(menu.count - 1).number);
    scr_text(A_DIM, 1, col_explanation, "%s", detail_text(5, 721, "Nummer van menukeuze"));
    scr_text(A_BOLD, 2, 2, "%s", detail_text(7, 544, "Up"));
    scr_text(A_DIM, 2, col_explanation, "%s", detail_text(5, 499, "Naar vorige menukeuze"));
    scr_text(A_BOLD, 3, 2, "%s", detail_text(3, 325, "Dn"));
    scr_text(A_DIM, 3, col_explanation, "%s", detail_text(5, 500, "Naar volgende menukeuze"));
    scr_text(A_BOLD, 4, 2, "%s", detail_text(7, 258, "Tab"));
    scr_text(A_DIM, 4, col_explanation, "%s",
             detail_text(5, 483, "Naar eerste menukeuze van volgende rubriek"));
    ing_enter(height - 2, 2);
    win_close();
}

void show_information() {
    if (menu_application.information_page != nullptr) {
        menu_application.information_page();
    }
}

bool cancelled() {
    return scr->ing_exit == K_CANCEL || scr->ing_exit == K_ESC;
}

/// Lets the operator type a choice; the field shows the number of the selected entry. The key explanation and
/// the information page return to it.
std::int16_t read_choice(int row, int col, const menu_entry &selected) {
    for (;;) {
        auto choice = static_cast<std::int16_t>(selected.number);
        key_allow(K_CANCEL);
        key_allow(K_HELP);
        key_allow(K_F10);
        INGAVE(row, col, menu.next_number > 9 ? "2d,PA" : "1d,PA", {&K_UP, &K_DOWN, &K_TAB}, &choice);
        if (scr->ing_exit == K_HELP || scr->ing_exit == K_F1) {
            explain_keys();
        } else if (scr->ing_exit == K_F10) {
            show_information();
        } else {
            return choice;
        }
    }
}

/// Selects the entry with the typed number; true if it can be run.
bool take_choice(std::int16_t choice, std::size_t &selected) {
    if ((scr->ing_status & ING_EMPTY) == 0) {
        std::size_t found = 0;
        while (found < menu.count && entry_at(found).number != choice) {
            found++;
        }
        if (found == menu.count) {
            error("%s", detail_text(5, 936, "Ongeldige keuze"));
            return false;
        }
        selected = found;
    }
    if (!entry_at(selected).available) {
        error("%s", detail_text(4, 598, "Keuze niet beschikbaar"));
        return false;
    }
    return true;
}

/// The index of the entry that the operator chooses; the number of entries when the operator leaves.
std::size_t choose(int row, int col) {
    std::size_t selected = last_choice();
    for (;;) {
        show_selected(entry_at(selected));
        const std::int16_t choice = read_choice(row, col, entry_at(selected));
        if (cancelled()) {
            return menu.count;
        }
        show_plain(entry_at(selected));
        if (scr->ing_exit == K_UP) {
            selected = (selected + menu.count - 1) % menu.count;
        } else if (scr->ing_exit == K_DOWN) {
            selected = (selected + 1) % menu.count;
        } else if (scr->ing_exit == K_TAB) {
            selected = next_section(selected);
        } else if (take_choice(choice, selected)) {
            return selected;
        }
    }
}

}  // namespace

void menu_reset(int level) {
    if (level < 0 || level >= menu_levels) {
        internal_error(101);
    }
    menu = menu_header{};
    menu.level = static_cast<std::uint8_t>(level);
    scr_clear_eos(1, 1);
    if (menu_application.status_line != nullptr) {
        menu_application.status_line();
    }
}

void menu_title(bool show, const char *text) {
    if (!show) {
        return;
    }
    if (menu.row != first_row) {
        menu.row++;
    }
    char title[text_width + 1];
    fit(title, text);
    str_upper(title);
    scr_text(A_BOLD | A_UNDERLINE, menu.row, col_number, "%s", title);
    menu.section++;
    menu.row++;
    menu.next_number = static_cast<std::uint8_t>((menu.next_number + 9) / 10 * 10 + 1);
}

void menu_add(bool show, bool available, const char *text, void (*function)()) {
    if (function == nullptr) {
        internal_error(102);
    }
    if (!show || menu.count == most_entries) {
        return;
    }
    menu_entry &entry = entry_at(menu.count++);
    entry.number = menu.next_number++;
    entry.section = menu.section;
    entry.row = menu.row++;
    entry.available = available;
    entry.function = function;
    fit(entry.text, text);
    entry.text[0] = static_cast<char>(char_upper_of(static_cast<unsigned char>(entry.text[0])));
    scr_text(available ? A_BOLD : A_DIM, entry.row, col_number, "%2d", entry.number);
    scr_text(A_DIM, entry.row, col_text, "%s", entry.text);
}

int menu_run() {
    const int row = scr->scr_lines - 1;
    if (menu.count == 0) {
        scr_text(A_BOLD, row - 1, 1, "%s", "Geen menubevoegdheden");
        ing_enter(row, 1);
        return 0;
    }
    scr_clear_eol(row, 1);
    const int length = scr_text(A_DIM, row, 2, "%s", detail_text(7, 556, "Uw keuze"));
    const std::size_t chosen = choose(row, 2 + length + 1);
    void (*function)() = chosen < menu.count ? entry_at(chosen).function : nullptr;
    // The function may build a menu of its own here.
    menu.count = 0;
    if (function == nullptr) {
        return 0;
    }
    menu_last[menu.level] = function;
    function();
    return 1;
}
