// Strings, and the character tables of code page 850.
//
// The system's text is single bytes of code page 850. Classes and case come from the tables here, never from
// the locale.
#pragma once

#include <cstddef>
#include <cstdint>

/// Bits of a character class.
enum char_class : std::uint8_t {
    char_upper = 1,
    char_lower = 2,
    char_digit = 4,
    char_space = 8,
    char_punct = 16,
    char_control = 32,
    char_blank = 64,
    char_hex = 128,
};

/// Class bits of a byte.
std::uint8_t char_class_of(unsigned char c);
/// The other case of a letter; any other byte maps to itself.
unsigned char char_other_case(unsigned char c);
/// Capital of a lower-case letter; any other byte maps to itself.
unsigned char char_upper_of(unsigned char c);

/// Index of `c` in `s`, or -1.
int str_chr(char c, const char *s);
/// Index of `needle` in `s`, or -1.
int str_str(const char *needle, const char *s);
/// Removes `n` characters at `at`, when the string is long enough.
char *str_del(char *s, std::size_t at, std::size_t n);
/// Inserts a character, or a string, at `at`; the caller's buffer must have room.
char *str_ins(char *s, char c, std::size_t at);
char *str_ins_str(char *s, const char *t, std::size_t at);
/// Strip blanks at the end, the start, or both, in place.
char *str_rtrim(char *s);
char *str_ltrim(char *s);
char *str_trim(char *s);
/// Capitals, in place.
char *str_upper(char *s);
/// A backslash and two hexadecimal digits become that byte, two backslashes become one, in place.
char *str_unescape(char *s);
/// Difference of the first two bytes that differ, taken as unsigned; 0 when all are equal.
int mem_cmp(const void *a, const void *b, std::size_t n);

/// `amount` without the tax included in it, rounded; the rate is in tenths of a percent.
int amount_net(int amount, int rate);

/// Short texts in data files are stored scrambled: n characters become n + 1 bytes, zero-terminated. This is
/// done in place; the buffer must have room for one more byte.
void SCRAMBLE(char *s);
/// SCRAMBLE with a given key byte instead of one from the clock. The clock gives 160 to 253; keys up to 127
/// make the older form, which has room for characters 32 to 125 only.
void scramble_with(char *s, std::uint8_t key);
/// Undoes SCRAMBLE in place; a text of one byte becomes empty.
void UNSCRAMBLE(char *s);
