// The tests when an accepting key is pressed, by type.
#include <cmath>
#include <cstring>

#include "screen/field_internal.h"

namespace {

bool refused() {
    return (scr->ing_status & ING_REDO) != 0;
}

void validate_number(const field_edit &edit, int key) {
    const field_description &field = scr->field;
    ing_value = 0.0;
    if (ing_text[0] != '\0') {
        if (key != K_CANCEL && key != K_ESC) {
            ing_number();
        }
        if (!refused()) {
            text_set(number_text(ing_value, field.ing_len, field.ing_prec));
            text_trim();
        }
    }
    if (!refused() && std::fabs(ing_value - edit.saved_value) > 0.1 / std::pow(10.0, field.ing_prec)) {
        scr->ing_status |= ING_CHANGED;
    }
}

void validate_filling() {
    const field_description &field = scr->field;
    const int full = field.ing_type == 'D' ? 6 : field.ing_len;
    if (ing_option('F') && text_length() < full) {
        ing_fail(term_text(1, 135, "Volledig vullen"));
    } else if (ing_option('E') && ing_text[0] == '\0') {
        ing_fail(term_text(1, 130, "Ingave verplicht"));
    }
}

}  // namespace

void validate(const field_edit &edit, int key) {
    const field_description &field = scr->field;
    if (field.ing_type != 'c' || field.ing_len > 1) {
        text_trim();
    }
    if (field.ing_numeric) {
        validate_number(edit, key);
    } else {
        if (field.ing_type == 'b') {
            ing_value = ing_text[0] == ing_yes_letter() ? 1.0 : 0.0;
        } else if (field.ing_type == 'D') {
            date_validate(edit);
        }
        const auto width = static_cast<std::size_t>(field.ing_len);
        if (std::strncmp(ing_text, edit.saved_text.c_str(), width) != 0) {
            scr->ing_status |= ING_CHANGED;
        }
    }
    if (!refused()) {
        validate_filling();
    }
}
