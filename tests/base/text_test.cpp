#include "base/text.h"

#include <gtest/gtest.h>

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

}  // namespace
