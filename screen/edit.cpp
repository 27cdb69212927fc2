// The edit loop: shows the field, reads a key, leaves, validates or edits.
#include <algorithm>
#include <cstring>

#include "screen/field_internal.h"

char ing_text[ing_text_size];
double ing_value = 0.0;

namespace {

/// Room for the scroll marks next to a scrolling field.
struct mark_room {
    bool left = false;
    bool right = false;
};

mark_room marks_of_field() {
    const field_description &field = scr->field;
    if (field.ing_scroll == 0) {
        return {};
    }
    return {field.ing_col > 1, field.ing_col + field.ing_vis <= win_columns()};
}

void show_mark(bool arrow, int col, char drawing) {
    const field_description &field = scr->field;
    if (arrow) {
        scr_text(A_DIM | A_ALTCHARSET, field.ing_row, col, "%c", charset_drawing(drawing));
    } else {
        scr_text(A_DIM, field.ing_row, col, " ");
    }
}

void show_field(field_edit &edit, const mark_room &marks) {
    const field_description &field = scr->field;
    std::string shown = field.ing_hidden ? "" : ing_text;
    shown.resize(static_cast<std::size_t>(field.ing_len), '_');
    if (date_separated()) {
        shown[2] = '-';
        shown[5] = '-';
        date_place_separators(edit);
    }
    const char *text = shown.c_str();
    if (field.ing_scroll == 0) {
        scr_text(A_BOLD, field.ing_row, field.ing_col, "%s", text);
        scr_move(field.ing_row, std::min(field.ing_col + edit.cursor, win_columns()));
        return;
    }
    const int end = edit.first_visible + field.ing_vis;
    if (marks.left) {
        show_mark(edit.first_visible > 0, field.ing_col - 1, ',');
    }
    scr_text(A_BOLD, field.ing_row, field.ing_col, "%-*.*s", field.ing_vis, field.ing_vis,
             text + std::min(edit.first_visible, field.ing_len));
    if (marks.right) {
        // Not even the length of a secret is shown.
        show_mark(!field.ing_hidden && text_length() > end, field.ing_col + field.ing_vis, '+');
    }
    scr_move(field.ing_row, std::min(field.ing_col + edit.cursor - edit.first_visible, win_columns()));
}

void erase_marks(const mark_room &marks) {
    const field_description &field = scr->field;
    if (marks.left) {
        scr_text(A_BOLD, field.ing_row, field.ing_col - 1, " ");
    }
    if (marks.right) {
        scr_text(A_BOLD, field.ing_row, field.ing_col + field.ing_vis, " ");
    }
}

bool is_help(const field_edit &edit, int key) {
    return (key == K_F1 || (key == K_HELP && edit.cursor == 0)) && !key_allowed(K_HELP);
}

/// True when the key leaves the field at once; text and value are then those from the start.
bool hard_exit(const field_edit &edit, int key) {
    if (!key_allowed(key) || (edit.cursor != 0 && key != K_ESC)) {
        return false;
    }
    if (key == KEY_EXIT) {
        scr_fatal("%s", term_text(1, 126, "EXIT-toets gebruikt"));
    }
    if (!key_is_exit(key) || key_is_soft(key)) {
        return false;
    }
    edit_restore(edit);
    if (scr->field.ing_type == 'D' && scr->field.ing_len > 6) {
        std::string text = ing_text;
        date_strip(text.data());
        text_set(text.c_str());
    }
    return true;
}

/// Where a key with a name does not end the field, it types the character that it consists of.
int translated(int key) {
    switch (key) {
        case KEY_CANCEL:
            return terminal_first_byte("kcan");
        case KEY_EXIT:
            return terminal_first_byte("kext");
        case KEY_HELP:
            return terminal_first_byte("khlp");
        default:
            break;
    }
    return key == K_F11 && ing_type_in("cCsS") ? compose_key() : key;
}

int next_key(bool &accept_pending) {
    if (accept_pending) {
        accept_pending = false;
        scr_flush(0);
        return key_enter;
    }
    return key_get(win_current());
}

/// Sets status and cursor after a key.
void settle(field_edit &edit, int cursor_before) {
    if ((scr->ing_status & ING_REDO) != 0) {
        edit.cursor = 0;
        edit.first_visible = 0;
        scr->ing_status = ING_FRESH | ING_REDO;
    } else if (edit.cursor != cursor_before || edit.moved) {
        scr->ing_status = 0;
    }
}

}  // namespace

int text_length() {
    return static_cast<int>(std::strlen(ing_text));
}

void text_set(std::string_view text) {
    const std::size_t length = std::min(text.size(), ing_text_size - 2);
    std::memmove(ing_text, text.data(), length);
    std::memset(ing_text + length, 0, ing_text_size - length);
}

void text_trim() {
    for (int i = text_length(); i > 0 && ing_text[i - 1] == ' '; i--) {
        ing_text[i - 1] = '\0';
    }
}

void edit_restore_text(const field_edit &edit) {
    text_set(edit.saved_text);
}

void edit_restore(const field_edit &edit) {
    edit_restore_text(edit);
    ing_value = edit.saved_value;
    if (scr->field.ing_type == 'b' && ing_text[0] == '\0') {
        const char no = ing_no_letter();
        text_set({&no, 1});
    }
    scr->ing_status = 0;
}

void ing_fail(const char *message) {
    error("<%s> %s", scr->field.ing_hidden ? "" : ing_text, message);
    scr->ing_status |= ING_REDO;
}

void ing_edit() {
    field_description &field = scr->field;
    if (!ing_type_in("cC") || field.ing_len >= 2) {
        text_trim();
    }
    busy_off();
    field_edit edit;
    edit.saved_text = std::string(ing_text).substr(0, static_cast<std::size_t>(field.ing_len));
    edit.saved_value = ing_value;
    scr->ing_insert = false;
    field.ing_hidden = ing_option('S');
    scr->ing_status = ING_FRESH;
    const mark_room marks = marks_of_field();
    const kept_last_line last_line;
    bool accept_pending = false;
    for (bool done = false; !done;) {
        show_field(edit, marks);
        int key = next_key(accept_pending);
        scr->ing_exit = key;
        last_line.clear_message();
        scr->ing_status &= ~ING_REDO;
        if (is_help(edit, key)) {
            show_field(edit, marks);  // the message may have hidden it
            ing_help();
            continue;
        }
        if (hard_exit(edit, key)) {
            break;
        }
        key = translated(key);
        scr->ing_exit = key;
        const int cursor_before = edit.cursor;
        edit.moved = false;
        const bool accepting = key == key_enter || key_is_exit(key);
        if (accepting) {
            validate(edit, key);
        } else {
            edit_key(edit, key);
            accept_pending = edit.cursor == field.ing_len && ing_option('A');
        }
        settle(edit, cursor_before);
        done = accepting && (scr->ing_status & ING_REDO) == 0;
    }
    erase_marks(marks);
    busy_on();
}
