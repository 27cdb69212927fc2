// INGAVE: edits one field, from the caller's variable and back.
#include <algorithm>
#include <cstring>

#include "screen/field_internal.h"

namespace {

bool compulsory() {
    return ing_option('E') || ing_option('F');
}

void open_value() {
    const field_description &field = scr->field;
    if (ing_option('I')) {
        ing_value = 0.0;
        text_set("");
    }
    if (field.ing_numeric && ing_value == 0.0 && !(ing_option('Z') && ing_option('E'))) {
        text_set("");
    }
}

/// The final form, as it stays on the screen.
void show_result() {
    const field_description &field = scr->field;
    std::string text = ing_text;
    const auto width = static_cast<std::size_t>(field.ing_len);
    if (!text.empty() && ing_option('J') && text.size() < width) {
        text.insert(0, width - text.size(), ' ');
    }
    if (field.ing_type == 'D') {
        text = date_text(ing_value);
    }
    if (field.ing_hidden) {
        text.clear();
    }
    const int shown = field.ing_scroll != 0 ? field.ing_vis : field.ing_len;
    scr_text(A_BOLD, field.ing_row, field.ing_col, "%-*.*s", shown, shown, text.c_str());
}

void reset() {
    key_state &keys = *scr->scr_keys;
    keys = key_state{};
    scr->field.ing_scroll = 0;
    scr->field.ing_vis = 0;
}

}  // namespace

int ing_field(int row, int col, const char *format, std::span<const int *const> slots, field_target target) {
    field_description &field = scr->field;
    field.ing_row = row;
    field.ing_col = col;
    for (const int *slot : slots) {
        key_allow(*slot);
    }
    ing_format(format, target);
    if (field.ing_scroll != 0) {
        // Without a visible width, or with one wider than the field, the whole field is visible.
        if (field.ing_vis <= 0 || field.ing_vis > field.ing_len) {
            field.ing_vis = field.ing_len;
        }
        field.ing_vis = std::clamp(field.ing_vis, 1, std::max(win_columns() - col + 1, 1));
    }
    if (compulsory()) {
        key_soft_set(KEY_UP);
        key_soft_set(KEY_DOWN);
    }
    open_value();
    ing_edit();
    convert_store();
    if (ing_text[0] == '\0') {
        scr->ing_status |= ING_EMPTY;
    }
    show_result();
    scr->scr_last_refresh = std::time(nullptr);
    reset();
    return scr->ing_status & ING_CHANGED;
}
