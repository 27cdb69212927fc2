// The dialogues of keyboard macros that ask for keys: recording, and the question whether to record.
#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "print/macros.h"
#include "screen/screen.h"

namespace {

constexpr int key_escape = 27;
constexpr int first_no_key = 512;
constexpr int width_on_screen = 5;

constexpr int row_key = 3;
constexpr int col_key = 23;
constexpr int row_description = 5;
constexpr int col_description = 17;
constexpr int description_room = 30;

void show_form() {
    win_open1(7, 10, 12, 60);
    win_title("%s", term_text(1, 377, " Macro Opnemen "));
    scr_text(A_BOLD, row_key, 2, "%s", term_text(1, 378, "Activerende toets :"));
    scr_text(A_BOLD, row_description, 2, "%s", term_text(1, 379, "Omschrijving :"));
    scr_text(A_BOLD, 7, 2, "%s", term_text(1, 380, "Druk op <F2> om de macro in te toetsen."));
    scr_text(A_BOLD, 9, 2, "%s", term_text(1, 381, "Druk op <ESC> om te stoppen en de macro's te bewaren."));
}

/// Waits for a letter or digit; 27 when the operator gives up.
int read_activating_key() {
    int key = 0;
    do {
        scr_move(row_key, col_key);
        key = key_get(win_current());
    } while (!mac_is_activating(key) && key != key_escape);
    return key;
}

/// The last keys of a recording, each in five positions.
void show_keys(const MacroRecord &record) {
    constexpr int shown = 10;
    std::string line;
    for (int i = std::max(record.count - shown, 0); i < record.count; i++) {
        char name[8];
        key_name(record.keys[i], name);
        line += str_format("%-*.*s", width_on_screen, width_on_screen, name);
    }
    scr_text(A_BOLD, row_key, 2, "%-*s", shown * width_on_screen, line.c_str());
}

/// Records what the operator types, up to <F2> or until the record is full.
void record_keys(MacroRecord &record) {
    win_open1(12, 10, 5, 60);
    win_title("%s", term_text(1, 382, "Opname"));
    scr_text(A_BOLD, 1, 2, "%s",
             term_text(1, 383, "Druk de gewenste toetsen nu in en <F2> om af te sluiten."));
    while (record.count < macro_keys) {
        const int key = key_get(win_current());
        if (key == KEY_F(2)) {
            break;
        }
        if (key <= 0 || key >= first_no_key) {
            beep();
            continue;
        }
        record.keys[record.count] = static_cast<std::uint16_t>(key == KEY_CANCEL ? '/' : key);
        record.count += 1;
        show_keys(record);
    }
    win_close();
}

void store(const MacroRecord &record) {
    if (ICB *icb = mac_open(); icb != nullptr) {
        IXWRITE(icb, &record);
        IXCLOSE(icb);
    }
}

/// The lines of a question, cut to fit the box.
std::vector<std::string> lines_of(std::string text) {
    constexpr std::size_t most_lines = 10;
    constexpr std::size_t longest_line = 76;
    std::replace(text.begin(), text.end(), '\t', ' ');
    std::vector<std::string> lines;
    for (std::size_t at = 0; at <= text.size() && lines.size() < most_lines;) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, std::min(end - at, longest_line)));
        at = end + 1;
    }
    return lines;
}

}  // namespace

void mac_record(int key) {
    if (!macros.enabled()) {
        return;
    }
    mac_disable();
    {
        const mac_dialogue aside;
        show_form();
        for (;; key = 0) {
            curs_set(1);
            char description[description_room] = "";
            scr_text(A_BOLD, row_description, col_description, "%*s", description_room, "");
            if (key == 0) {
                key = read_activating_key();
            }
            if (key == key_escape) {
                break;
            }
            key = mac_stored_key(key);
            char name[8];
            key_name(key, name);
            scr_text(A_BOLD, row_key, col_key, "%-5s ", name);
            if (ing_line(row_description, col_description, description, description_room - 1) == key_escape) {
                break;
            }
            MacroRecord record{};
            record.key = static_cast<std::uint16_t>(key);
            record.user = mac_user;
            std::memcpy(record.description, description, sizeof record.description);
            record_keys(record);
            store(record);
        }
    }
    mac_enable();
    win_close();
    scr_flush(0);
}

bool mac_ask(const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    std::string text = str_vformat(format, args);
    va_end(args);
    constexpr std::size_t room = 1023;
    text.resize(std::min(text.size(), room));
    text += term_text(1, 375, "\nMacro toevoegen (J/N) ?");
    const std::vector<std::string> lines = lines_of(text);
    std::size_t width = 28;
    for (const std::string &line : lines) {
        width = std::max(width, line.size());
    }
    width += 4;

    const mac_dialogue aside;
    const auto columns = static_cast<int>(width);
    win_open2(10, (scr->scr_cols - columns) / 2 + 1, static_cast<int>(lines.size()) + 2, columns);
    win_title("%s", "");
    int row = 1;
    for (const std::string &line : lines) {
        scr_text(A_BOLD, row++, 2, "%s", line.c_str());
    }
    int key = 0;
    do {
        key = key_get(win_current());
        key = key > 0 && key < 256 ? char_upper_of(static_cast<unsigned char>(key)) : key;
    } while (key != ing_yes_letter() && key != ing_no_letter() && key != key_escape && key != KEY_CANCEL);
    win_close();
    scr_flush(0);
    return key == ing_yes_letter();
}
