// Names of journals and of season directories.
#include "base/base.h"
#include "check/journals/journals.h"

namespace {

/// Four digits, -1 for anything else.
int four_digits(const char *text) {
    int value = 0;
    for (int i = 0; i < 4; i++) {
        if (text[i] < '0' || text[i] > '9') {
            return -1;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

}  // namespace

std::string journal_path(const journal_name &name, const char *extension) {
    return str_format("%04d%c/ORD%04d.%s", name.year, name.letter, name.number, extension);
}

bool journal_season(const std::string &directory, journal_name &name) {
    constexpr int first_year = 1980;
    constexpr int last_year = 2079;
    if (directory.size() != 5 || std::string_view("ZWK").find(directory[4]) == std::string_view::npos) {
        return false;
    }
    name.letter = directory[4];
    name.year = four_digits(directory.c_str());
    return name.year == 0 || (name.year >= first_year && name.year <= last_year);
}

bool journal_number(const std::string &file, journal_name &name) {
    if (file.size() != 11 || !file.starts_with("ORD") || !file.ends_with(".JRN")) {
        return false;
    }
    name.number = four_digits(file.c_str() + 3);
    return name.number >= 0;
}
