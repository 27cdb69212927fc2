#include "base/dates.h"

#include <array>
#include <cstring>
#include <ctime>
#include <limits>

namespace {

constexpr day_number day_2000 = 36526;
constexpr std::array<int, 12> month_lengths = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

/// `year` is the count since 1900 or the last two digits of the year. Either tells a leap year: it is
/// divisible by 4.
int month_length(int year, int month) {
    return month == 2 && year % 4 == 0 ? 29 : month_lengths[static_cast<std::size_t>(month - 1)];
}

/// Days before 1 January of `year`, counted since 1900. Year 0 has 366 days.
int days_before_year(int year) {
    return (year * 36525 + 99) / 100;
}

int number_of(int year, int month, int day) {
    int number = days_before_year(year) + day;
    for (int m = 1; m < month; m++) {
        number += month_length(year, m);
    }
    return number;
}

int digits(const char *text, int n) {
    int value = 0;
    for (int i = 0; i < n; i++) {
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

void put_two(char *to, int value) {
    to[0] = static_cast<char>('0' + value / 10 % 10);
    to[1] = static_cast<char>('0' + value % 10);
}

std::tm local_now() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    return parts;
}

std::array<char, 11> date_buffer;

/// Writes dd-mm- and the year into the shared buffer.
const char *show(day_number date, bool with_century) {
    std::array<char, 9> plain;
    date_to_str(plain.data(), date, with_century);
    char *to = date_buffer.data();
    for (int i = 0; plain[static_cast<std::size_t>(i)] != '\0'; i++) {
        if (i == 2 || i == 4) {
            *to++ = '-';
        }
        *to++ = plain[static_cast<std::size_t>(i)];
    }
    *to = '\0';
    return date_buffer.data();
}

}  // namespace

day_number date_today() {
    const std::tm now = local_now();
    return static_cast<day_number>(number_of(now.tm_year, now.tm_mon + 1, now.tm_mday));
}

int time_now() {
    const std::tm now = local_now();
    return (now.tm_hour * 60 + now.tm_min) * 60 + now.tm_sec;
}

bool date_valid(const char *text) {
    const std::size_t length = std::strspn(text, "0123456789");
    if (text[length] != '\0' || (length != 6 && length != 8)) {
        return false;
    }
    const int day = digits(text, 2);
    const int month = digits(text + 2, 2);
    const int year = digits(text + length - 2, 2);
    return month >= 1 && month <= 12 && day >= 1 && day <= month_length(year, month);
}

day_number date_from_str(const char *text) {
    if (!date_valid(text)) {
        return 0;
    }
    int year = 0;
    if (text[6] == '\0') {
        year = digits(text + 4, 2);
        if (year < 51) {
            year += 100;
        }
    } else {
        year = digits(text + 4, 4) - 1900;
        if (year < 0) {
            return 0;
        }
    }
    const int number = number_of(year, digits(text + 2, 2), digits(text, 2));
    return number > std::numeric_limits<day_number>::max() ? day_number{0} : static_cast<day_number>(number);
}

char *date_to_str(char *buffer, day_number date, bool with_century) {
    const std::size_t length = with_century ? 8 : 6;
    buffer[length] = '\0';
    if (date == 0) {
        std::memset(buffer, ' ', length);
        return buffer;
    }
    const int year = (date * 100 - 99) / 36525;
    int day = date - days_before_year(year);
    int month = 1;
    while (day > month_length(year, month)) {
        day -= month_length(year, month);
        month++;
    }
    put_two(buffer, day);
    put_two(buffer + 2, month);
    if (with_century) {
        put_two(buffer + 4, date < day_2000 ? 19 : 20);
    }
    put_two(buffer + length - 2, year);
    return buffer;
}

const char *date_plain(day_number date) {
    return date_to_str(date_buffer.data(), date, false);
}

const char *date_show(day_number date) {
    return show(date, false);
}

const char *date_show_long(day_number date) {
    return show(date, true);
}

const char *time_show(int seconds) {
    static std::array<char, 9> buffer;
    if (seconds < 0) {
        seconds = 0;
    }
    put_two(buffer.data(), seconds / 3600);
    put_two(buffer.data() + 3, seconds / 60 % 60);
    put_two(buffer.data() + 6, seconds % 60);
    buffer[2] = buffer[5] = ':';
    return buffer.data();
}
