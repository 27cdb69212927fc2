#include "base/text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>

namespace {

constexpr std::array<std::uint8_t, 256> build_classes() {
    std::array<std::uint8_t, 256> bits_of{};
    for (unsigned c = 0; c < 256; c++) {
        std::uint8_t bits = char_punct;
        if (c < 32 || c == 127) {
            bits = c >= 9 && c <= 13 ? char_control | char_space : char_control;
        } else if (c == ' ') {
            bits = char_space | char_blank;
        } else if (c >= '0' && c <= '9') {
            bits = char_digit | char_hex;
        } else if (c >= 'A' && c <= 'Z') {
            bits = c <= 'F' ? char_upper | char_hex : char_upper;
        } else if (c >= 'a' && c <= 'z') {
            bits = c <= 'f' ? char_lower | char_hex : char_lower;
        }
        bits_of[c] = bits;
    }
    constexpr std::uint8_t upper[] = {128, 142, 143, 144, 146, 153, 154, 157, 165, 181,
                                      182, 183, 199, 209, 210, 211, 212, 214, 215, 216,
                                      222, 224, 226, 227, 229, 232, 233, 234, 235, 237};
    constexpr std::uint8_t lower[] = {129, 130, 131, 132, 133, 134, 135, 136, 137, 138, 139,
                                      140, 141, 145, 147, 148, 149, 150, 151, 152, 155, 160,
                                      161, 162, 163, 164, 198, 208, 225, 228, 231, 236};
    for (const std::uint8_t c : upper) {
        bits_of[c] = char_upper;
    }
    for (const std::uint8_t c : lower) {
        bits_of[c] = char_lower;
    }
    bits_of[255] = char_blank | char_space;
    return bits_of;
}

constexpr std::array<std::uint8_t, 256> build_other_case() {
    std::array<std::uint8_t, 256> other{};
    for (unsigned c = 0; c < 256; c++) {
        other[c] = static_cast<std::uint8_t>(c);
    }
    for (unsigned c = 'A'; c <= 'Z'; c++) {
        other[c] = static_cast<std::uint8_t>(c + 32);
        other[c + 32] = static_cast<std::uint8_t>(c);
    }
    constexpr std::uint8_t pairs[][2] = {
        {128, 135}, {129, 154}, {130, 144}, {131, 182}, {132, 142}, {133, 183}, {134, 143}, {136, 210},
        {137, 211}, {138, 212}, {140, 215}, {141, 222}, {145, 146}, {147, 226}, {148, 153}, {149, 227},
        {150, 234}, {151, 235}, {155, 157}, {160, 181}, {161, 214}, {162, 224}, {163, 233}, {164, 165},
        {198, 199}, {208, 209}, {228, 229}, {231, 232}, {236, 237}};
    for (const auto &[lower, upper] : pairs) {
        other[lower] = upper;
        other[upper] = lower;
    }
    // These have another case that does not lead back to them.
    other[139] = 216;
    other[152] = 'Y';
    other[213] = 'I';
    return other;
}

constexpr std::array<std::uint8_t, 256> classes = build_classes();
constexpr std::array<std::uint8_t, 256> other_case = build_other_case();

unsigned hex_value(unsigned char c) {
    return c <= '9' ? c - unsigned{'0'} : (c | 32U) - 'a' + 10U;
}

bool is_hex(char c) {
    return (char_class_of(static_cast<unsigned char>(c)) & char_hex) != 0;
}

/// The shift of a scrambled text's characters: it grows along the text, and its sign changes at each
/// character.
struct scramble_shift {
    long step;
    long base;
    long modulus;
    explicit scramble_shift(std::uint8_t key)
        : step(key / 10 + 1), base(key % 10 + 5), modulus(key > 127 ? 222 : 94) {}
    long at(std::size_t i) const {
        const long distance = static_cast<long>(i + 1) * step;
        return base + (i % 2 == 0 ? -distance : distance);
    }
    char wrap(long value) const {
        const long rest = value % modulus;
        return static_cast<char>((rest < 0 ? rest + modulus : rest) + 32);
    }
};

}  // namespace

std::uint8_t char_class_of(unsigned char c) {
    return classes[c];
}

unsigned char char_other_case(unsigned char c) {
    return other_case[c];
}

unsigned char char_upper_of(unsigned char c) {
    return (classes[c] & char_lower) != 0 ? other_case[c] : c;
}

int str_chr(char c, const char *s) {
    const char *found = c == '\0' ? nullptr : std::strchr(s, c);
    return found == nullptr ? -1 : static_cast<int>(found - s);
}

int str_str(const char *needle, const char *s) {
    const char *found = std::strstr(s, needle);
    return found == nullptr ? -1 : static_cast<int>(found - s);
}

char *str_del(char *s, std::size_t at, std::size_t n) {
    const std::size_t length = std::strlen(s);
    if (at <= length && n <= length - at) {
        std::memmove(s + at, s + at + n, length - at - n + 1);
    }
    return s;
}

char *str_ins(char *s, char c, std::size_t at) {
    const char text[] = {c, '\0'};
    return str_ins_str(s, text, at);
}

char *str_ins_str(char *s, const char *t, std::size_t at) {
    const std::size_t length = std::strlen(s);
    const std::size_t n = std::strlen(t);
    if (at <= length) {
        std::memmove(s + at + n, s + at, length - at + 1);
        std::copy_n(t, n, s + at);
    }
    return s;
}

char *str_rtrim(char *s) {
    std::size_t length = std::strlen(s);
    while (length > 0 && s[length - 1] == ' ') {
        length--;
    }
    s[length] = '\0';
    return s;
}

char *str_ltrim(char *s) {
    const std::size_t blanks = std::strspn(s, " ");
    std::memmove(s, s + blanks, std::strlen(s + blanks) + 1);
    return s;
}

char *str_trim(char *s) {
    return str_ltrim(str_rtrim(s));
}

char *str_upper(char *s) {
    for (char *p = s; *p != '\0'; p++) {
        *p = static_cast<char>(char_upper_of(static_cast<unsigned char>(*p)));
    }
    return s;
}

char *str_unescape(char *s) {
    char *to = s;
    const char *from = s;
    while (*from != '\0') {
        if (from[0] == '\\' && from[1] == '\\') {
            *to++ = '\\';
            from += 2;
        } else if (from[0] == '\\' && is_hex(from[1]) && is_hex(from[2])) {
            *to++ = static_cast<char>(hex_value(static_cast<unsigned char>(from[1])) * 16 +
                                      hex_value(static_cast<unsigned char>(from[2])));
            from += 3;
        } else {
            *to++ = *from++;
        }
    }
    *to = '\0';
    return s;
}

int mem_cmp(const void *a, const void *b, std::size_t n) {
    const auto *left = static_cast<const unsigned char *>(a);
    const auto *right = static_cast<const unsigned char *>(b);
    for (std::size_t i = 0; i < n; i++) {
        if (left[i] != right[i]) {
            return left[i] - right[i];
        }
    }
    return 0;
}

int amount_net(int amount, int rate) {
    // A rate of minus 100 percent would mean a division by zero.
    if (rate == -1000) {
        return amount;
    }
    if (amount >= 0 && amount < 2140000) {
        const long numerator = amount * 1000L + 500 + rate / 2;
        return static_cast<int>(numerator / (rate + 1000L));
    }
    const double net = std::round(amount / (rate / 1000.0 + 1.0));
    return static_cast<int>(std::clamp(net, double{INT_MIN}, double{INT_MAX}));
}

void scramble_with(char *s, std::uint8_t key) {
    const scramble_shift shift(key);
    const std::size_t n = std::strlen(s);
    for (std::size_t i = 0; i < n; i++) {
        s[i] = shift.wrap(static_cast<unsigned char>(s[i]) - 32L + shift.at(i));
    }
    std::reverse(s, s + n);
    s[n] = static_cast<char>(key);
    s[n + 1] = '\0';
}

void SCRAMBLE(char *s) {
    scramble_with(s, static_cast<std::uint8_t>((std::time(nullptr) % 94 + 32) | 128));
}

void UNSCRAMBLE(char *s) {
    const std::size_t length = std::strlen(s);
    if (length == 0) {
        return;
    }
    const std::size_t n = length - 1;
    const scramble_shift shift(static_cast<std::uint8_t>(s[n]));
    s[n] = '\0';
    std::reverse(s, s + n);
    for (std::size_t i = 0; i < n; i++) {
        s[i] = shift.wrap(static_cast<unsigned char>(s[i]) - 32L - shift.at(i));
    }
}
