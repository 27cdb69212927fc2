// Numbers as the operator types them.
#include <algorithm>
#include <charconv>
#include <string>

#include "screen/field_internal.h"

namespace {

std::string limit_text(double limit) {
    return number_text(limit, 0, scr->field.ing_prec);
}

}  // namespace

double number_from(std::string_view text) {
    // A field with its own character set may let the operator type blanks or a plus sign in front.
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return 0.0;
        }
    }
    double value = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

void ing_number() {
    const field_description &field = scr->field;
    std::string text = ing_text;
    // The sign may be on either side.
    const bool negative = text.find('-') != std::string::npos;
    if (text.starts_with('-')) {
        text.erase(0, 1);
    } else if (text.ends_with('-')) {
        text.pop_back();
    }
    if (const auto comma = text.find(','); comma != std::string::npos) {
        text[comma] = '.';
    }
    const auto point = text.find('.');
    ing_value = number_from(text);
    if (point != std::string::npos && text.size() - point - 1 > static_cast<std::size_t>(field.ing_prec)) {
        ing_fail(term_text(1, 121, "Teveel cijfers na de komma"));
        return;
    }
    if (negative && ing_value != 0.0) {
        ing_value = -ing_value;
    }
    if (ing_value == 0.0 && !ing_option('Z')) {
        ing_fail(term_text(1, 122, "Moet ongelijk zijn aan 0"));
        return;
    }
    const double lower = scr->scr_keys->ing_min;
    const double upper = scr->scr_keys->ing_max;
    if (ing_value < lower || ing_value > upper) {
        const std::string message =
            str_format("%s %s %s %s %s", term_text(1, 123, "Alleen"), limit_text(lower).c_str(),
                       term_text(1, 119, "t/m"), limit_text(upper).c_str(), term_text(1, 124, "mogelijk"));
        ing_fail(message.c_str());
    }
}
