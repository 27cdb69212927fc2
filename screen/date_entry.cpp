// Dates as the operator types them: with separators that appear by themselves, or relative to the date that
// was in the field.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "screen/field_internal.h"

namespace {

constexpr int first_separator = 2;
constexpr int second_separator = 5;
constexpr int first_year = 1900;
constexpr int last_year = 2078;

bool wide_form() {
    return scr->field.ing_len == 8 || scr->field.ing_len == 10;
}

bool starts_with_sign(const char *text) {
    return *text == '+' || *text == '-';
}

/// Digits with the separators put in, for a message; a secret field shows none.
std::string with_separators(std::string text) {
    if (scr->field.ing_hidden) {
        return {};
    }
    for (const std::size_t at : {std::size_t{4}, std::size_t{2}}) {
        if (at <= text.size()) {
            text.insert(at, 1, '-');
        }
    }
    return text;
}

/// In a group with only one digit typed, the digit moves to the second place, after a zero.
void fill_group(std::size_t at) {
    char *digits = ing_text + at;
    if (digits[0] == ' ' && digits[1] != ' ') {
        digits[0] = '0';
    } else if (digits[0] != ' ' && digits[1] == ' ') {
        digits[1] = digits[0];
        digits[0] = '0';
    }
}

bool in_limits(double day) {
    const double lower = scr->scr_keys->ing_min;
    const double upper = scr->scr_keys->ing_max;
    if ((lower == 0.0 && upper == 0.0) || lower > upper) {
        return true;
    }
    return day >= lower && day <= upper;
}

day_number day_of(double value) {
    return static_cast<day_number>(
        std::clamp(value, 0.0, static_cast<double>(std::numeric_limits<day_number>::max())));
}

void refuse_outside(const std::string &shown) {
    const std::string lower = date_show_long(day_of(scr->scr_keys->ing_min));
    const std::string upper = date_show_long(day_of(scr->scr_keys->ing_max));
    error(term_text(1, 131, "<%s> Alleen datum tussen %s en %s"), shown.c_str(), lower.c_str(),
          upper.c_str());
    scr->ing_status |= ING_REDO;
}

void refuse_invalid(const std::string &shown) {
    const char *text = shown.c_str();
    switch (scr->field.ing_len) {
        case 8:
            error(term_text(1, 132, "<%s> Datum voldoet niet aan DD-MM-JJ"), text);
            break;
        case 10:
            error(term_text(1, 133, "<%s> Datum voldoet niet aan DD-MM-JJJJ"), text);
            break;
        default:
            error(term_text(1, 134, "<%s> Datum voldoet niet aan DDMMJJ"), text);
            break;
    }
    scr->ing_status |= ING_REDO;
}

/// Handles a number of days counted from the date that was in the field when the edit began.
void validate_relative(const field_edit &edit) {
    std::string from = edit.saved_text;
    if (wide_form()) {
        date_strip(from.data());
        from.resize(std::strlen(from.c_str()));
    }
    double days = 0.0;
    if (!from.empty()) {
        days = static_cast<double>(std::strtol(ing_text + 1, nullptr, 10));
    }
    const double start = date_from_str(from.c_str());
    const double day = std::round(*ing_text == '-' ? start - days : start + days);
    if (day == 0.0 && ing_option('E')) {
        ing_fail("Foutieve ingave");
        return;
    }
    if (scr->scr_keys->ing_min == 0.0) {
        scr->scr_keys->ing_min = day_1980;
    }
    if (in_limits(day)) {
        ing_value = day;
    } else {
        refuse_outside(with_separators(date_plain(day_of(day))));
    }
    // A refused date stays in the field for correction, but without a date there is nothing to correct.
    text_set(day_of(day) == 0 ? std::string() : date_text(day));
}

void validate_absolute(const field_edit &edit) {
    const std::string typed = ing_text;
    if (!date_valid(ing_text)) {
        edit_restore_text(edit);
        refuse_invalid(with_separators(typed));
        return;
    }
    bool accepted = true;
    if (scr->field.ing_len == 10 && typed.size() == 8) {
        const int year = std::atoi(typed.c_str() + 4);
        accepted = year >= first_year && year <= last_year;
    }
    const double day = date_from_str(ing_text);
    if (!accepted || !in_limits(day)) {
        edit_restore_text(edit);
        refuse_outside(with_separators(typed));
        return;
    }
    ing_value = day;
}

}  // namespace

bool date_separated() {
    return scr->field.ing_type == 'D' && wide_form() && !starts_with_sign(ing_text);
}

std::string date_text(double value) {
    const day_number day = day_of(value);
    switch (scr->field.ing_len) {
        case 8:
            return date_show(day);
        case 10:
            return date_show_long(day);
        default:
            return date_plain(day);
    }
}

void date_place_separators(field_edit &edit) {
    if (text_length() >= first_separator) {
        ing_text[first_separator] = '-';
    }
    if (text_length() >= second_separator) {
        ing_text[second_separator] = '-';
    }
    if (edit.cursor == first_separator || edit.cursor == second_separator) {
        edit.cursor++;
    }
}

void date_repair(field_edit &edit, char filler) {
    std::string text = ing_text;
    const auto cursor = static_cast<std::size_t>(edit.cursor);
    if (edit.cursor < second_separator) {
        const std::size_t at = cursor + (edit.cursor == 0 || edit.cursor == first_separator + 1 ? 1 : 0);
        if (at <= text.size()) {
            text.insert(at, 1, filler);
        }
    }
    for (const int separator : {second_separator, first_separator}) {
        const auto at = static_cast<std::size_t>(separator);
        if (text.size() == at + 1) {
            text.erase(at);
        }
        text.erase(text.find_last_not_of(' ') + 1);
    }
    text_set(text);
    edit.cursor = std::min(edit.cursor, text_length());
}

void date_strip(char *text) {
    str_del(text, second_separator, 1);
    str_del(text, first_separator, 1);
}

void date_validate(const field_edit &edit) {
    ing_value = 0.0;
    if (starts_with_sign(ing_text)) {
        validate_relative(edit);
        return;
    }
    if (wide_form()) {
        if (text_length() > first_separator) {
            fill_group(0);
        }
        if (text_length() > second_separator) {
            fill_group(first_separator + 1);
        }
        std::string text = ing_text;
        date_strip(text.data());
        text_set(text.c_str());
    }
    if (ing_text[0] != '\0') {
        validate_absolute(edit);
    }
}
