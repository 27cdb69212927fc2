#include "base/text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "base/dates.h"

namespace {

/// Room for what the functions add in place.
struct room {
    char s[64];
    explicit room(const std::string &text) {
        std::memset(s, '#', sizeof s);
        std::memcpy(s, text.c_str(), text.size() + 1);
    }
};

TEST(CharTables, LettersPairUp) {
    int letters = 0;
    for (unsigned i = 0; i < 256; i++) {
        const auto c = static_cast<unsigned char>(i);
        const unsigned char other = char_other_case(c);
        const unsigned bits = char_class_of(c);
        const bool one_way = i == 139 || i == 152 || i == 213;
        EXPECT_EQ(char_other_case(other) == c, !one_way) << i;
        if (other != c && i != 213) {
            EXPECT_EQ((bits & char_upper) != 0, (char_class_of(other) & char_lower) != 0) << i;
        }
        EXPECT_EQ(char_upper_of(c), (bits & char_lower) != 0 ? other : c);
        letters += (bits & (char_upper | char_lower)) != 0;
    }
    // ASCII, and 30 upper and 32 lower letters above it
    EXPECT_EQ(letters, 52 + 62);
    EXPECT_STREQ(str_upper(room("abcXYZ09[]{}\x81\x82\x87\x94\xa4").s), "ABCXYZ09[]{}\x9a\x90\x80\x99\xa5");
    EXPECT_STREQ(str_upper(room("\x8b\x98\xd5\xe1\xe6").s), "\xd8Y\xd5\xe1\xe6");
}

TEST(Scramble, KnownBytes) {
    // key 160: steps of 17, base 5. 'A' is 33 - 17 + 5, 'B' 34 + 34 + 5, 'C' 35 - 51 + 5 + 222.
    room three("ABC");
    scramble_with(three.s, 160);
    EXPECT_STREQ(three.s, "\xf3\x69\x35\xa0");
    // the older form: key 32, steps of 4, base 7, modulus 94. '~' is 94 - 4 + 7 - 94.
    room old("~");
    scramble_with(old.s, 32);
    EXPECT_STREQ(old.s, "# ");
}

TEST(Scramble, EveryKeyComesBack) {
    std::string all;
    for (int c = 32; c <= 253; c++) {
        all += static_cast<char>(c);
    }
    for (int key = 1; key < 256; key++) {
        const std::string text = all.substr(0, key > 127 ? all.npos : 94);
        char buffer[256];
        std::strcpy(buffer, text.c_str());
        scramble_with(buffer, static_cast<std::uint8_t>(key));
        ASSERT_EQ(std::strlen(buffer), text.size() + 1) << key;
        UNSCRAMBLE(buffer);
        ASSERT_EQ(buffer, text) << key;
    }
    room empty("");
    SCRAMBLE(empty.s);  // with a key from the clock
    EXPECT_GE(static_cast<unsigned char>(empty.s[0]), 160);
    EXPECT_LE(static_cast<unsigned char>(empty.s[0]), 253);
    for (int round = 0; round < 2; round++) {
        UNSCRAMBLE(empty.s);
        EXPECT_STREQ(empty.s, "");
    }
}

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

        const int length = month == 2 ? (year % 4 == 0 ? 29 : 28) : 30 + (month + month / 8) % 2;
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
    const std::tuple<const char *, bool, int> cases[] = {
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
    for (const auto &[text, valid, number] : cases) {
        EXPECT_EQ(date_valid(text), valid) << text;
        EXPECT_EQ(date_from_str(text), number) << text;
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
