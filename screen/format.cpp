// The parser of field formats: [width][.precision]type[set][,][options].
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "screen/field_internal.h"

charset_given ing_charset = charset_given::none;

namespace {

constexpr int first_text_key = 32;
constexpr int last_text_key = 254;

struct format_input {
    const char *as_given;
    std::string_view rest;
};

[[noreturn]] void ing_abort(const format_input &input, const char *message) {
    const field_description &field = scr->field;
    scr_fatal("INGAVE(): r=%d, c=%d, cs=%s --> %s ", field.ing_row, field.ing_col, input.as_given, message);
}

std::string_view without_blanks(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// Reads a number; one too large for any field is limited to the ceiling.
int read_number(std::string_view &rest) {
    constexpr int ceiling = 10000;
    int number = 0;
    while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
        number = std::min(number * 10 + (rest.front() - '0'), ceiling);
        rest.remove_prefix(1);
    }
    return number;
}

void read_width_and_type(format_input &input) {
    field_description &field = scr->field;
    field.ing_len = std::max(read_number(input.rest), 1);
    if (field.ing_len > ing_max_width) {
        ing_abort(input, term_text(1, 136, "Lengte > 255 tekens"));
    }
    field.ing_prec = 0;
    if (!input.rest.empty() && input.rest.front() == '.') {
        input.rest.remove_prefix(1);
        field.ing_prec = read_number(input.rest);
    }
    field.ing_type = '\0';
    if (!input.rest.empty()) {
        field.ing_type = input.rest.front();
        input.rest.remove_prefix(1);
    }
    if (field.ing_prec > 0 && !ing_type_in("fCSX")) {
        ing_abort(input, term_text(1, 137, "precision alleen bij f, C, S en X"));
    }
    if (!convert_type_known(field.ing_type)) {
        ing_abort(input, term_text(1, 138, "ongeldige vartype"));
    }
}

void settle_type() {
    field_description &field = scr->field;
    field.ing_numeric = !ing_type_in("DcCbsSxX");
    field.ing_scroll = 0;
    field.ing_vis = 0;
    if (ing_type_in("CSX")) {
        field.ing_scroll = 1;
        field.ing_vis = field.ing_prec;
        field.ing_prec = 0;
    } else if (field.ing_type == 'B') {
        field.ing_prec = scr->ing_bprec;
    } else if (field.ing_type == 'b') {
        field.ing_len = 1;
    } else if (field.ing_type == 'D' && field.ing_len != 8 && field.ing_len != 10) {
        field.ing_len = 6;
    }
}

/// The variable must be large enough for what the type reads and writes.
void check_target(const format_input &input, const field_target &target) {
    const field_description &field = scr->field;
    std::size_t needed = convert_storage(field.ing_type);
    const bool number = needed > 0;
    if (!number) {
        needed = static_cast<std::size_t>(field.ing_len) + (ing_type_in("sS") ? 1 : 0);
    }
    const bool exact = number && target.scalar;
    if (target.room != 0 && (needed > target.room || (exact && needed != target.room))) {
        ing_abort(input, term_text(1, 138, "ongeldige vartype"));
    }
}

void allow_range(int from, int to) {
    for (int key = from; key <= to; key++) {
        key_allow(key);
    }
}

void deny_text_keys() {
    for (int key = first_text_key; key <= last_text_key; key++) {
        key_deny(key);
    }
}

void allow_keys() {
    const field_description &field = scr->field;
    if (field.ing_numeric) {
        allow_range('0', '9');
        if (field.ing_prec > 0) {
            key_allow('.');
            key_allow(',');
        }
    } else if (ing_type_in("cCsS")) {
        allow_range(first_text_key, last_text_key);
    } else if (field.ing_type == 'D') {
        key_allow('-');
        key_allow('+');
        allow_range('0', '9');
    } else if (ing_type_in("xX")) {
        allow_range('0', '9');
        allow_range('A', 'F');
    } else {
        key_allow(static_cast<unsigned char>(ing_yes_letter()));
        key_allow('+');
        key_allow(static_cast<unsigned char>(ing_no_letter()));
        key_allow('-');
    }
    key_allow(KEY_EXIT);
    key_allow(KEY_HOME);
    if (field.ing_len > 1) {
        for (const int key : {KEY_RIGHT, KEY_LEFT, KEY_IC, KEY_DC, KEY_BACKSPACE}) {
            key_allow(key);
        }
    }
}

/// A listed set is the complete list of what may be typed; a set after ^ only forbids characters.
void read_character_set(format_input &input) {
    ing_charset = charset_given::none;
    std::string_view &rest = input.rest;
    if (rest.empty() || rest.front() != '[') {
        return;
    }
    const auto end = rest.find(']');
    if (end == std::string_view::npos) {
        ing_abort(input, term_text(1, 139, "[ zonder ]"));
    }
    std::string_view set = rest.substr(1, end - 1);
    rest.remove_prefix(end + 1);
    if (!set.empty() && set.front() == '^') {
        ing_charset = charset_given::excluded;
        for (const char c : set.substr(1)) {
            key_deny(static_cast<unsigned char>(c));
        }
        return;
    }
    ing_charset = charset_given::listed;
    deny_text_keys();
    for (const char c : set) {
        key_allow(static_cast<unsigned char>(c));
    }
}

struct limits {
    double lower;
    double upper;
};

limits type_limits() {
    constexpr double most_32 = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t most_amount = std::numeric_limits<std::int32_t>::max() / 100;
    constexpr double most_double = std::numeric_limits<double>::max();
    switch (scr->field.ing_type) {
        case 'B':
            return scr->ing_bprec == 2 ? limits{-most_amount, most_amount} : limits{-most_32, most_32};
        case 'U':
            return {0, 255};
        case 'n':
            return {-128, 127};
        case 'd':
            return {-32768, 32767};
        case 'u':
            return {0, 65535};
        case 'f':
            return {-most_double, most_double};
        case 'D':
            if (scr->field.ing_len == 10) {
                return {static_cast<double>(date_from_str("01011900")),
                        static_cast<double>(date_from_str("31122078"))};
            }
            return {static_cast<double>(date_from_str("010180")),
                    static_cast<double>(date_from_str("311250"))};
        default:
            return {-most_32, most_32};
    }
}

/// `width` times a digit, with a point before the decimals.
std::string digits_of_field(char digit) {
    const field_description &field = scr->field;
    std::string text(static_cast<std::size_t>(field.ing_len), digit);
    if (field.ing_prec > 0) {
        text[static_cast<std::size_t>(std::max(field.ing_len - field.ing_prec - 1, 0))] = '.';
    }
    return text;
}

/// Limits the range to the numbers that fit into the field.
void narrow_to_capacity(limits &range) {
    std::string text = digits_of_field('9');
    range.upper = std::min(range.upper, number_from(text));
    double least = 0.0;
    if (text.size() >= 2) {
        text[0] = '-';
        least = number_from(text);
    }
    range.lower = std::max(range.lower, least);
}

void append_option(const char *options) {
    char *held = scr->field.ing_opts;
    const std::size_t length = std::strlen(held);
    std::snprintf(held + length, sizeof scr->field.ing_opts - length, "%s", options);
}

void narrow_to_signs(limits &range) {
    const bool negative = ing_option('N');
    const bool positive = ing_option('P');
    const bool zero = ing_option('Z');
    if (!negative && !positive && !zero) {
        append_option("NZP");
        return;
    }
    if (!negative) {
        range.lower = 0.0;
    }
    if (!positive) {
        range.upper = 0.0;
    }
    if (zero) {
        return;
    }
    std::string text = digits_of_field('0');
    text.back() = '1';
    const double step = number_from(text);
    if (!negative) {
        range.lower = step;
    }
    if (!positive) {
        range.upper = -step;
    }
}

/// Narrows the limits of the field to those that the caller set: a closed range, or a lower limit alone.
void merge_with_caller(const format_input &input, const limits &range) {
    double &lower = scr->scr_keys->ing_min;
    double &upper = scr->scr_keys->ing_max;
    if (lower > upper) {
        if (lower == 0.0) {
            lower = range.lower;
        }
        upper = range.upper;
        return;
    }
    lower = std::max(lower, range.lower);
    upper = std::min(upper, range.upper);
    if (lower > upper) {
        ing_abort(input, term_text(1, 140, "ongeldig bereik"));
    }
}

void settle_limits(const format_input &input) {
    const field_description &field = scr->field;
    limits range = type_limits();
    if (field.ing_numeric) {
        text_set(number_text(ing_value, field.ing_len, field.ing_prec));
        narrow_to_capacity(range);
        narrow_to_signs(range);
    }
    merge_with_caller(input, range);
    if (field.ing_numeric) {
        if (scr->scr_keys->ing_min < 0.0) {
            key_allow('-');
        }
    } else if (ing_value != 0.0) {
        text_set(date_text(ing_value));
    }
}

void load_text(const format_input &input, const field_target &target) {
    const field_description &field = scr->field;
    if (ing_type_in("sS")) {
        if (!ing_option('I')) {
            const auto *from = static_cast<const char *>(target.address);
            const auto width = static_cast<std::size_t>(field.ing_len);
            if (strnlen(from, width + 1) > width) {
                ing_abort(input, term_text(1, 141, "STRING fout"));
            }
            convert_load_text();
        }
    } else if (ing_type_in("cCxX")) {
        convert_load_text();
    } else if (field.ing_type == 'b' && !ing_option('I')) {
        const char answer = ing_value == 0.0 ? ing_no_letter() : ing_yes_letter();
        text_set({&answer, 1});
    }
}

}  // namespace

bool ing_option(char option) {
    return std::strchr(scr->field.ing_opts, option) != nullptr;
}

bool ing_type_in(const char *types) {
    return scr->field.ing_type != '\0' && std::strchr(types, scr->field.ing_type) != nullptr;
}

std::string number_text(double value, int width, int prec) {
    return str_format("%-*.*f", width, prec, value);
}

void ing_format(const char *format, field_target target) {
    field_description &field = scr->field;
    format_input input{format, without_blanks(format)};
    field.ing_target = target.address;
    field.ing_opts[0] = '\0';
    read_width_and_type(input);
    ing_value = 0.0;
    text_set("");
    settle_type();
    check_target(input, target);
    convert_load();
    allow_keys();
    read_character_set(input);
    if (!input.rest.empty() && input.rest.front() == ',') {
        input.rest.remove_prefix(1);
    }
    // Leaves room for the options that follow from the type.
    constexpr std::size_t most_appended = 3;
    const std::string options(input.rest.substr(0, ing_max_options - most_appended));
    append_option(options.c_str());
    if (field.ing_numeric || field.ing_type == 'D') {
        settle_limits(input);
    }
    load_text(input, target);
    if (ing_type_in("xX")) {
        append_option("U");
    } else if (field.ing_type == 'b') {
        append_option("UE");
    }
}
