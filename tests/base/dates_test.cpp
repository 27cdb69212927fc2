#include "base/dates.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

namespace {

// Counts through the calendar, one day at a time, beside the day numbers.
TEST(Dates, EveryDayHasItsTextAndComesBack) {
    int day = 1;
    int month = 1;
    int year = 1900;
    for (int number = 1; number <= 65535; number++) {
        const auto date = static_cast<day_number>(number);
        char expected[40];
        char text[9];
        std::snprintf(expected, sizeof expected, "%02d%02d%04d", day, month, year);
        ASSERT_STREQ(date_to_str(text, date, true), expected);
        ASSERT_EQ(date_from_str(text), date);
        const std::string plain = std::string(expected, 4) + (expected + 6);
        ASSERT_EQ(date_plain(date), plain);
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
    EXPECT_EQ(year * 100 + month, 207906);
}

TEST(Dates, Texts) {
    const struct {
        const char *text;
        bool valid;
        int number;
    } cases[] = {
        {"01011980", true, day_1980}, {"01012000", true, 36526},
        {"29021900", true, 60},       {"31121899", true, 0},
        {"01079999", true, 0},  // beyond what 16 bits hold
        {"290201", false, 0},         {"29022001", false, 0},
        {"000100", false, 0},         {"320100", false, 0},
        {"310400", false, 0},         {"010000", false, 0},
        {"011300", false, 0},         {"", false, 0},
        {"      ", false, 0},         {"01010", false, 0},
        {"0101000", false, 0},        {"010119000", false, 0},
        {"01-01-80", false, 0},       {"010180  ", false, 0},
        {"+1+1+1", false, 0},         {"01018\xb2", false, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(date_valid(c.text), c.valid) << c.text;
        EXPECT_EQ(date_from_str(c.text), c.number) << c.text;
    }
}

TEST(Dates, TodayFollowsTheLocalClock) {
    for (const char *zone : {"XST+12", "XST-14"}) {  // 26 hours apart, so never on the same date
        setenv("TZ", zone, 1);
        tzset();
        std::time_t before = 0;
        std::string told;
        do {  // again if a second passed meanwhile
            before = std::time(nullptr);
            told = std::string(date_show_long(date_today())) + " " + time_show(time_now());
        } while (std::time(nullptr) != before);
        char expected[32];
        std::strftime(expected, sizeof expected, "%d-%m-%Y %T", std::localtime(&before));
        EXPECT_EQ(told, expected);
    }
    unsetenv("TZ");
    tzset();
}

}  // namespace
