// The small line editor.
#include <algorithm>
#include <cstring>
#include <string>

#include "screen/screen_internal.h"

namespace {

constexpr int key_escape = 27;
constexpr int key_control_h = 8;

struct line_edit {
    std::string text;
    std::size_t cursor = 0;
    std::size_t room;
    bool insert = false;
};

void type_into(line_edit &line, int key) {
    if (key < ' ' || key > 255) {
        return;
    }
    const auto c = static_cast<char>(key);
    if (line.insert || line.cursor == line.text.size()) {
        line.text.insert(line.cursor, 1, c);
    } else {
        line.text[line.cursor] = c;
    }
    line.cursor++;
}

void erase_at_cursor(line_edit &line) {
    if (line.cursor < line.text.size()) {
        line.text.erase(line.cursor, 1);
    }
}

void line_key(line_edit &line, int key) {
    switch (key) {
        case KEY_CANCEL:
            type_into(line, '/');
            break;
        case KEY_HOME:
            line.cursor = 0;
            break;
        case KEY_END:
            line.cursor = line.text.size();
            break;
        case KEY_LEFT:
            line.cursor -= line.cursor > 0 ? 1 : 0;
            break;
        case KEY_RIGHT:
            line.cursor = std::min(line.cursor + 1, line.text.size());
            break;
        case KEY_IC:
            line.insert = !line.insert;
            break;
        case key_control_h:
        case KEY_BACKSPACE:
            if (line.cursor > 0) {
                line.cursor--;
                erase_at_cursor(line);
            }
            break;
        case KEY_DC:
            erase_at_cursor(line);
            break;
        default:
            type_into(line, key);
            break;
    }
}

}  // namespace

int ing_line(int row, int col, char *text, int maxlen) {
    WINDOW *window = win_current();
    int old_row = 0;
    int old_col = 0;
    getyx(window, old_row, old_col);
    line_edit line{text, 0, static_cast<std::size_t>(maxlen)};
    int result = 0;
    while (result == 0) {
        std::string shown = line.text;
        shown.resize(line.room, '_');
        scr_text(A_BOLD, row, col, "%s", shown.c_str());
        if (line.text.size() >= line.room) {
            result = KEY_F(2);
            break;
        }
        scr_move(row, col + static_cast<int>(line.cursor));
        const int key = key_get(window);
        if (key == KEY_F(2) || key == key_enter) {
            result = KEY_F(2);
        } else if (key == key_escape || (key == KEY_CANCEL && line.cursor == 0)) {
            result = key_escape;
        } else {
            line_key(line, key);
        }
    }
    line.text.copy(text, line.room);
    text[line.text.size()] = '\0';
    wmove(window, old_row, old_col);
    return result;
}
