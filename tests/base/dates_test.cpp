#include "base/dates.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

namespace {

std::string to_str(day_number date, bool with_century) {
    char buffer[9];
    return date_to_str(buffer, date, with_century);
}

// Counts through the calendar, one day at a time, beside the day numbers.
TEST(Dates, EveryDayHasItsTextAndComesBack) {
    int day = 1;
    int month = 1;
    int year = 1900;
    for (int number = 1; number <= 65535; number++) {
        const auto date = static_cast<day_number>(number);
        char expected[40];
        std::snprintf(expected, sizeof expected, "%02d%02d%04d", day, month, year);
        ASSERT_EQ(to_str(date, true), expected) << number;
        ASSERT_TRUE(date_valid(expected));
        ASSERT_EQ(date_from_str(expected), date);

        const std::string plain = to_str(date, false);
        ASSERT_EQ(plain, std::string(expected, 4) + (expected + 6));
        // Two digits mean 1951 to 2050.
        ASSERT_EQ(date_from_str(plain.c_str()) == date, year >= 1951 && year <= 2050) << expected;

        const bool long_month =
            month == 1 || month == 3 || month == 5 || month == 7 || month == 8 || month == 10 || month == 12;
        const int length = month == 2 ? (year % 4 == 0 ? 29 : 28) : long_month ? 31 : 30;
        if (++day > length) {
            day = 1;
            if (++month > 12) {
                month = 1;
                year++;
            }
        }
    }
    EXPECT_EQ(year, 2079);
    EXPECT_EQ(month, 6);
}

struct text_case {
    const char *text;
    bool valid;
    int number;
};

TEST(Dates, Texts) {
    const text_case cases[] = {
        {"01011900", true, 1},     {"01011980", true, day_1980}, {"31121999", true, 36525},
        {"01012000", true, 36526}, {"290200", true, 36526 + 59}, {"29021900", true, 60},
        {"311251", true, 18993},   {"311250", true, 55153},      {"31121899", true, 0},
        {"29021896", true, 0},     {"01079999", true, 0},  // beyond what 16 bits hold
        {"290201", false, 0},      {"290299", false, 0},         {"29022001", false, 0},
        {"000100", false, 0},      {"320100", false, 0},         {"310400", false, 0},
        {"010000", false, 0},      {"011300", false, 0},         {"", false, 0},
        {"      ", false, 0},      {"        ", false, 0},       {"01010", false, 0},
        {"0101000", false, 0},     {"010119000", false, 0},      {"01-01-80", false, 0},
        {"010180  ", false, 0},    {"0101-1980", false, 0},      {"+1+1+1", false, 0},
        {"01018\xb2", false, 0},
    };
    for (const text_case &c : cases) {
        EXPECT_EQ(date_valid(c.text), c.valid) << c.text;
        EXPECT_EQ(date_from_str(c.text), c.number) << c.text;
    }
}

TEST(Dates, Shown) {
    EXPECT_STREQ(date_plain(36526), "010100");
    EXPECT_STREQ(date_show(36525), "31-12-99");
    EXPECT_STREQ(date_show_long(36526), "01-01-2000");
    EXPECT_STREQ(date_plain(0), "      ");
    EXPECT_STREQ(date_show(0), "  -  -  ");
    EXPECT_STREQ(date_show_long(0), "  -  -    ");
    EXPECT_EQ(to_str(0, true), "        ");
    EXPECT_EQ(date_plain(1), date_show_long(2)) << "one buffer is shared";
    const struct {
        int seconds;
        const char *text;
    } times[] = {
        {0, "00:00:00"}, {3599, "00:59:59"}, {3600, "01:00:00"}, {86399, "23:59:59"}, {-1, "00:00:00"}};
    for (const auto &t : times) {
        EXPECT_STREQ(time_show(t.seconds), t.text);
    }
}

TEST(Dates, TodayFollowsTheLocalClock) {
    // The two zones are 26 hours apart, so they never share a date.
    day_number dates[2];
    const char *zones[] = {"XST+12", "XST-14"};
    for (int i = 0; i < 2; i++) {
        setenv("TZ", zones[i], 1);
        tzset();
        std::time_t before = 0;
        int seconds = 0;
        do {  // again if a second passed meanwhile
            before = std::time(nullptr);
            dates[i] = date_today();
            seconds = time_now();
        } while (std::time(nullptr) != before);
        char expected[32];
        std::strftime(expected, sizeof expected, "%d%m%Y %T", std::localtime(&before));
        EXPECT_EQ(to_str(dates[i], true) + " " + time_show(seconds), expected);
    }
    unsetenv("TZ");
    tzset();
    EXPECT_GE(dates[1] - dates[0], 1);
}

}  // namespace
