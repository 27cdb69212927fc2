#include "base/file_pattern.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include "base/files.h"
#include "base/text.h"

namespace {

void replace_all(std::string &text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/// Length of the set in brackets that starts at `at`, just after the '[', closing bracket included; 0 if it
/// isn't closed. A closing bracket that comes first belongs to the set.
std::size_t set_length(std::string_view format, std::size_t at) {
    const std::size_t begin = at;
    at += at < format.size() && format[at] == '^';
    at += at < format.size() && format[at] == ']';
    const std::size_t end = format.find(']', at);
    return end == std::string_view::npos ? 0 : end + 1 - begin;
}

/// Length of the directive whose '%' is at `at`; 0 when it is malformed or would store something. A pattern
/// may come from outside, and sscanf is given no place to store anything but the final character.
std::size_t directive_length(std::string_view format, std::size_t at) {
    const std::size_t begin = at++;
    const auto peek = [&] { return at < format.size() ? format[at] : '\0'; };
    if (peek() == '%') {
        return 2;
    }
    if (peek() != '*') {
        return 0;
    }
    at++;
    const std::size_t width = at;
    while (peek() >= '0' && peek() <= '9') {
        at++;
    }
    if (at - width > 6) {
        return 0;
    }
    const std::size_t modifier = at;
    while (std::string_view("hlLqjzt").find(peek()) != std::string_view::npos) {
        at++;
    }
    const std::size_t modifier_length = at - modifier;
    const char conversion = peek();
    at++;
    if (std::string_view("diouxXaAeEfFgG").find(conversion) != std::string_view::npos) {
        return modifier_length <= 2 ? at - begin : 0;
    }
    if (modifier_length > 0) {
        return 0;
    }
    if (conversion == '[') {
        const std::size_t set = set_length(format, at);
        return set == 0 ? 0 : at + set - begin;
    }
    return conversion == 's' || conversion == 'c' ? at - begin : 0;
}

bool stores_nothing(std::string_view format) {
    for (std::size_t at = format.find('%'); at != std::string_view::npos; at = format.find('%', at)) {
        const std::size_t length = directive_length(format, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

unsigned char fold(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (char_class_of(byte) & char_upper) != 0 ? char_other_case(byte) : byte;
}

}  // namespace

std::string pattern_format(const std::string &pattern) {
    std::string format = pattern.empty() ? "*" : pattern;
    if (format.back() == '*') {
        format.replace(format.size() - 1, 1, "%*s");
    }
    replace_all(format, "*.", "%*[^.].");
    replace_all(format, ".*", ".%*s");
    replace_all(format, "?", "%*c");
    if (!stores_nothing(format)) {
        return {};
    }
    return format + " %c%n";
}

bool format_match(const std::string &format, const std::string &name) {
    constexpr char end_mark = '\1';
    if (format.empty()) {
        return false;
    }
    const std::string text = name + ' ' + end_mark;
    char found = ' ';
    int length = 0;
    // The format is built at run time; `stores_nothing` has made sure that these two are all it stores.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int items = std::sscanf(text.c_str(), format.c_str(), &found, &length);
#pragma GCC diagnostic pop
    // A name may hold the end mark itself; only the one after the name counts.
    return items == 1 && found == end_mark && static_cast<std::size_t>(length) == text.size();
}

bool wildcard_match(const char *pattern, const char *name) {
    std::string_view wanted(pattern);
    const bool open_ended = wanted.ends_with(".*");
    if (open_ended) {
        wanted.remove_suffix(2);
    }
    const std::string_view text(name);
    const std::size_t none = std::string_view::npos;
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t run_pattern = none;  // just after the last '*': where to go on when its run must grow
    std::size_t run_name = 0;
    for (;;) {
        if (p < wanted.size() && wanted[p] == '*') {
            p = std::min(wanted.find_first_not_of("*?", p), wanted.size());
            run_pattern = p;
            run_name = n;
        } else if (p == wanted.size() && (open_ended || n == text.size())) {
            return true;
        } else if (p < wanted.size() && wanted[p] == '?') {
            p++;
            n += n < text.size();
        } else if (p < wanted.size() && n < text.size() && fold(wanted[p]) == fold(text[n])) {
            p++;
            n++;
        } else if (run_pattern != none && run_name < text.size()) {
            p = run_pattern;
            n = ++run_name;
        } else {
            return false;
        }
    }
}
