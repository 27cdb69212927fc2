// Formats for a given column width.
#include <cstdlib>
#include <string>

#include "report/report.h"

namespace {

const char *keep(std::string &place, std::string text) {
    place = std::move(text);
    return place.c_str();
}

std::string plain(int width, const char *letters) {
    return "%" + (width == 0 ? std::string() : std::to_string(width)) + letters;
}

std::string cut(int width) {
    return std::to_string(width) + "." + std::to_string(std::abs(width)) + "s";
}

std::string blanks(int count) {
    return std::string(count > 0 ? static_cast<std::size_t>(count) : 0, ' ');
}

}  // namespace

column_format<int> fmt_c(int width) {
    static std::string text;
    return {keep(text, plain(width, "c"))};
}

column_format<const char *> fmt_s(int width) {
    static std::string text;
    return {keep(text, plain(width, "s"))};
}

column_format<int> fmt_d(int width) {
    static std::string text;
    return {keep(text, plain(width, "d"))};
}

column_format<short> fmt_hd(int width) {
    static std::string text;
    return {keep(text, plain(width, "hd"))};
}

column_format<long> fmt_ld(int width) {
    static std::string text;
    return {keep(text, plain(width, "ld"))};
}

column_format<unsigned> fmt_u(int width) {
    static std::string text;
    return {keep(text, plain(width, "u"))};
}

column_format<unsigned short> fmt_hu(int width) {
    static std::string text;
    return {keep(text, plain(width, "hu"))};
}

column_format<unsigned long> fmt_lu(int width) {
    static std::string text;
    return {keep(text, plain(width, "lu"))};
}

column_format<const char *> fmt_left_s(int width) {
    static std::string text;
    return {keep(text, "%-" + cut(width))};
}

column_format<const char *> fmt_right_s(int width) {
    static std::string text;
    return {keep(text, "%" + cut(width))};
}

column_format<const char *> fmt_left_label(int width) {
    static std::string text;
    return {keep(text, "%-" + cut(width) + ": ")};
}

column_format<const char *> fmt_columns(int before, int width, int after) {
    static std::string text;
    return {keep(text, blanks(before) + "%" + cut(width) + blanks(after))};
}
