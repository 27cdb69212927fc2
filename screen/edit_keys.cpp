// What the keys of an edit do to the text and the cursor.
#include <algorithm>
#include <cstdio>

#include "screen/field_internal.h"

namespace {

constexpr int key_erase_word = 23;
constexpr int key_control_h = 8;
constexpr int last_character = 255;

void scroll_right(field_edit &edit) {
    const field_description &field = scr->field;
    if (field.ing_scroll == 0 || edit.cursor < edit.first_visible + field.ing_vis) {
        return;
    }
    edit.first_visible += std::max(field.ing_vis / 3, 1);
    if (edit.first_visible + field.ing_vis >= field.ing_len) {
        edit.first_visible = field.ing_len - field.ing_vis + 1;
    }
}

void scroll_left(field_edit &edit) {
    const field_description &field = scr->field;
    if (field.ing_scroll != 0 && edit.cursor <= edit.first_visible) {
        edit.first_visible = std::max(edit.first_visible - std::max(field.ing_vis / 3, 1), 0);
    }
}

bool on_separator(const field_edit &edit) {
    return date_separated() && (edit.cursor == 2 || edit.cursor == 5);
}

void delete_at_cursor(field_edit &edit, char filler) {
    const bool date = date_separated();
    std::string text = ing_text;
    if (static_cast<std::size_t>(edit.cursor) < text.size()) {
        text.erase(static_cast<std::size_t>(edit.cursor), 1);
        text_set(text);
    }
    if (date) {
        date_repair(edit, filler);
    }
    edit.moved = true;
}

void backspace(field_edit &edit) {
    if (edit.cursor == 0) {
        text_set("");
        edit.moved = true;
        return;
    }
    const bool date = scr->field.ing_type == 'D';
    edit.cursor--;
    if (on_separator(edit)) {
        edit.cursor--;
    }
    delete_at_cursor(edit, ' ');
    if (!date) {
        scroll_left(edit);
    }
}

void cursor_left(field_edit &edit) {
    if (edit.cursor > 0) {
        edit.cursor--;
        if (on_separator(edit)) {
            edit.cursor--;
        }
    }
    scroll_left(edit);
}

void cursor_right(field_edit &edit) {
    if (edit.cursor >= std::min(text_length(), scr->field.ing_len)) {
        return;
    }
    edit.cursor++;
    if (on_separator(edit)) {
        edit.cursor++;
    }
    scroll_right(edit);
}

void cursor_end(field_edit &edit) {
    const field_description &field = scr->field;
    edit.cursor = std::min(text_length(), field.ing_len);
    if (field.ing_scroll != 0 && edit.cursor > edit.first_visible + field.ing_vis) {
        edit.first_visible = edit.cursor - field.ing_vis;
    }
}

void home(field_edit &edit) {
    if (edit.cursor != 0) {
        edit.cursor = 0;
        edit.first_visible = 0;
        return;
    }
    edit_restore(edit);
    edit.moved = true;
}

/// A backslash followed by any character enters the code of that character. Returns the first digit, 0 for
/// none.
int hexadecimal_of_next_key() {
    const int next = key_get(win_current());
    if (next < 0 || next > last_character) {
        error("%s", term_text(1, 127, "Ongeldige toets"));
        return 0;
    }
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(next) & 0xFFU);
    key_unget(digits[1]);
    return digits[0];
}

/// A day or month of one digit, closed with a hyphen: the digit moves after a zero, and the hyphen becomes
/// its separator.
void close_group(field_edit &edit) {
    if (edit.cursor == text_length()) {
        ing_text[edit.cursor] = ing_text[edit.cursor - 1];
        ing_text[edit.cursor - 1] = '0';
    }
    edit.cursor++;
}

void put_character(field_edit &edit, char c) {
    const auto at = static_cast<std::size_t>(edit.cursor);
    std::string text = ing_text;
    if (text.size() < at) {
        text.resize(at, ' ');
    }
    if (scr->ing_insert) {
        text.insert(at, 1, c);
        text.resize(std::min(text.size(), static_cast<std::size_t>(scr->field.ing_len)));
    } else if (at < text.size()) {
        text[at] = c;
    } else {
        text += c;
    }
    text_set(text);
    edit.cursor++;
    scroll_right(edit);
}

void type_character(field_edit &edit, int key) {
    const field_description &field = scr->field;
    if (ing_option('U')) {
        key = char_upper_of(static_cast<unsigned char>(key));
    }
    if (field.ing_type == 'x') {
        edit.cursor % 2 == 0 ? key_allow('\\') : key_deny('\\');
    }
    if (!key_allowed(key)) {
        error("<%c> %s", key, term_text(1, 129, "Ongeldige ingave!!  (HELP voor toelichting)"));
        return;
    }
    if (ing_type_in("DxX")) {
        if (edit.cursor == 0 && (key == '+' || key == '-')) {
            text_set("");
        }
    } else if ((scr->ing_status & ING_FRESH) != 0) {
        text_set("");
    }
    if (field.ing_type == 'b' && (key == '+' || key == '-')) {
        key = static_cast<unsigned char>(key == '+' ? ing_yes_letter() : ing_no_letter());
    }
    if (ing_type_in("xX") && key == '\\') {
        key = hexadecimal_of_next_key();
        if (key == 0) {
            return;
        }
    }
    if (date_separated() && key == '-' && (edit.cursor == 1 || edit.cursor == 4)) {
        close_group(edit);
    }
    put_character(edit, static_cast<char>(key));
}

}  // namespace

void edit_key(field_edit &edit, int key) {
    if (key >= ' ' && key <= last_character) {
        if (edit.cursor >= scr->field.ing_len) {
            error("%s", term_text(1, 128, "Tik <ENTER> toets"));
        } else {
            type_character(edit, key);
        }
        return;
    }
    switch (key) {
        case KEY_HOME:
            home(edit);
            break;
        case KEY_END:
            cursor_end(edit);
            break;
        case KEY_LEFT:
            cursor_left(edit);
            break;
        case KEY_RIGHT:
            cursor_right(edit);
            break;
        case KEY_IC:
            scr->ing_insert = !scr->ing_insert;
            break;
        case KEY_DC:
            if (edit.cursor < text_length()) {
                delete_at_cursor(edit, '_');
            }
            break;
        case KEY_BACKSPACE:
        case key_control_h:
            backspace(edit);
            break;
        case key_erase_word:
            break;
        default:
            error("%s", term_text(1, 127, "Ongeldige toets"));
            break;
    }
}
