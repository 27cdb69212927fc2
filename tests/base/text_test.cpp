#include "base/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

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
        if (i == 139 || i == 152 || i == 213) {
            EXPECT_NE(other, c);
            EXPECT_NE(char_other_case(other), c) << i;
        } else {
            EXPECT_EQ(char_other_case(other), c) << i;
        }
        if (other != c && i != 213) {
            EXPECT_EQ((bits & char_upper) != 0, (char_class_of(other) & char_lower) != 0) << i;
        }
        EXPECT_EQ(char_upper_of(c), (bits & char_lower) != 0 ? other : c);
        letters += (bits & (char_upper | char_lower)) != 0;
        EXPECT_NE(bits, 0U) << i;
    }
    // ASCII, and 30 upper and 32 lower letters above it
    EXPECT_EQ(letters, 52 + 62);
}

TEST(CharTables, Classes) {
    const struct {
        unsigned char c;
        unsigned bits;
    } cases[] = {
        {0, 32},    {8, 32},   {9, 40},    {13, 40},   {14, 32},  {31, 32},   {' ', 72},
        {'!', 16},  {'/', 16}, {'0', 132}, {'9', 132}, {':', 16}, {'@', 16},  {'A', 129},
        {'F', 129}, {'G', 1},  {'Z', 1},   {'[', 16},  {'`', 16}, {'a', 130}, {'f', 130},
        {'g', 2},   {'z', 2},  {'{', 16},  {127, 32},  {128, 1},  {129, 2},   {142, 1},
        {155, 2},   {156, 16}, {157, 1},   {158, 16},  {166, 16}, {198, 2},   {199, 1},
        {213, 16},  {217, 16}, {225, 2},   {230, 16},  {238, 16}, {254, 16},  {255, 72},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(char_class_of(c.c), c.bits) << int{c.c};
    }
}

TEST(Text, Capitals) {
    const struct {
        const char *from;
        const char *to;
    } cases[] = {{"", ""},
                 {"abcXYZ09[]{}", "ABCXYZ09[]{}"},
                 {"\x81\x82\x87\x94\xa4", "\x9a\x90\x80\x99\xa5"},
                 {"\x8b\x98", "\xd8Y"},              // no way back from these capitals
                 {"\xd5\xe1\xe6", "\xd5\xe1\xe6"}};  // no letter, or no capital
    for (const auto &c : cases) {
        EXPECT_STREQ(str_upper(room(c.from).s), c.to);
    }
}

TEST(Text, Find) {
    EXPECT_EQ(str_chr('c', "abcabc"), 2);
    EXPECT_EQ(str_chr('x', "abc"), -1);
    EXPECT_EQ(str_chr('\0', "abc"), -1);
    EXPECT_EQ(str_chr('\xe1', "a\xe1"), 1);
    EXPECT_EQ(str_str("bc", "abcabc"), 1);
    EXPECT_EQ(str_str("cb", "abcabc"), -1);
}

TEST(Text, DeleteAndInsert) {
    const struct {
        std::size_t at, n;
        const char *deleted;
        const char *inserted;
    } cases[] = {
        {0, 0, "abcdef", "XYabcdef"}, {0, 2, "cdef", "XYabcdef"},
        {4, 2, "abcd", "abcdXYef"},   {6, 0, "abcdef", "abcdefXY"},
        {0, 6, "", "XYabcdef"},       {4, 3, "abcdef", "abcdXYef"},
        {7, 0, "abcdef", "abcdef"},   {3, SIZE_MAX, "abcdef", "abcXYdef"},
    };
    for (const auto &c : cases) {
        EXPECT_STREQ(str_del(room("abcdef").s, c.at, c.n), c.deleted) << c.at << ',' << c.n;
        EXPECT_STREQ(str_ins_str(room("abcdef").s, "XY", c.at), c.inserted) << c.at;
    }
    room date("010180");
    EXPECT_STREQ(str_ins(str_ins(date.s, '-', 4), '-', 2), "01-01-80");
}

TEST(Text, Trim) {
    const struct {
        const char *from, *right, *left, *both;
    } cases[] = {{"", "", "", ""},
                 {"   ", "", "", ""},
                 {"a", "a", "a", "a"},
                 {"  a b  ", "  a b", "a b  ", "a b"},
                 {"\ta\xff ", "\ta\xff", "\ta\xff ", "\ta\xff"}};
    for (const auto &c : cases) {
        EXPECT_STREQ(str_rtrim(room(c.from).s), c.right);
        EXPECT_STREQ(str_ltrim(room(c.from).s), c.left);
        EXPECT_STREQ(str_trim(room(c.from).s), c.both);
    }
}

TEST(Text, Unescape) {
    const struct {
        const char *from, *to;
    } cases[] = {{"a\\1bE\\0a",
                  "a\x1b"
                  "E\n"},
                 {"\\fF\\Ff", "\xff\xff"},
                 {"\\\\1b", "\\1b"},
                 {"\\\\\\41", "\\A"},
                 {"\\4", "\\4"},
                 {"\\4g", "\\4g"},
                 {"a\\", "a\\"},
                 {"\\g1\\", "\\g1\\"},
                 {"a\\00b", "a"}};
    for (const auto &c : cases) {
        EXPECT_STREQ(str_unescape(room(c.from).s), c.to) << c.from;
    }
}

TEST(Text, MemoryComparesUnsigned) {
    EXPECT_EQ(mem_cmp("a\xff", "a\x01", 2), 254);
    EXPECT_EQ(mem_cmp("a\x01", "a\xff", 2), -254);
    EXPECT_EQ(mem_cmp("a\0b", "a\0c", 3), -1);
    EXPECT_EQ(mem_cmp("ab", "ac", 1), 0);
    EXPECT_EQ(mem_cmp("a", "b", 0), 0);
}

TEST(AmountNet, IsTheNearestAmount) {
    for (const int rate : {0, 1, 55, 90, 175, 190, 210, 1000, 65535}) {
        for (const long amount : {0L, 1L, 2L, 605L, 12100L, 12345L, 1999999L, 2139998L, 2139999L, 2140000L,
                                  2140001L, 99999999L, 2147483647L, -1L, -605L, -12345L, -2147483647L}) {
            const long net = amount_net(static_cast<int>(amount), rate);
            const long error = std::abs(net * (1000 + rate) - amount * 1000);
            EXPECT_LE(error * 2, 1000 + rate + 1) << amount << " at " << rate;
        }
    }
    EXPECT_EQ(amount_net(121, 210), 100);
    EXPECT_EQ(amount_net(-121, 210), -100);
    EXPECT_EQ(amount_net(3, 1000), 2) << "a half goes up";
    EXPECT_EQ(amount_net(2147483647, -999), 2147483647) << "held to what an amount can be";
    EXPECT_EQ(amount_net(500, -1000), 500);
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
    const std::string old_range = all.substr(0, 94);
    for (int key = 1; key < 256; key++) {
        const std::string &text = key > 127 ? all : old_range;
        char buffer[256];
        std::strcpy(buffer, text.c_str());
        scramble_with(buffer, static_cast<std::uint8_t>(key));
        ASSERT_EQ(std::strlen(buffer), text.size() + 1) << key;
        UNSCRAMBLE(buffer);
        ASSERT_EQ(buffer, text) << key;
    }
}

TEST(Scramble, ClockKeyAndShortTexts) {
    room name("Schoenhuis \x9a\xe1");
    SCRAMBLE(name.s);
    const auto key = static_cast<unsigned char>(name.s[13]);
    EXPECT_GE(key, 160);
    EXPECT_LE(key, 253);
    UNSCRAMBLE(name.s);
    EXPECT_STREQ(name.s, "Schoenhuis \x9a\xe1");

    room empty("");
    SCRAMBLE(empty.s);
    EXPECT_EQ(std::strlen(empty.s), 1U);
    UNSCRAMBLE(empty.s);
    EXPECT_STREQ(empty.s, "");
    UNSCRAMBLE(empty.s);
    EXPECT_STREQ(empty.s, "");
}

}  // namespace
