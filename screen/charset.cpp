#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/codepage.h"
#include "screen/screen_internal.h"

namespace {

bool utf8 = false;

bool is_control(unsigned char c) {
    return c < 32 || c == 127;
}

// The characters that A_ALTCHARSET makes of these letters.
wchar_t line_drawing(unsigned char c) {
    switch (c) {
        case 'a':
            return L'\u2592';
        case 'j':
            return L'\u2518';
        case 'k':
            return L'\u2510';
        case 'l':
            return L'\u250c';
        case 'm':
            return L'\u2514';
        case 'n':
            return L'\u253c';
        case 'q':
            return L'\u2500';
        case 't':
            return L'\u251c';
        case 'u':
            return L'\u2524';
        case 'v':
            return L'\u2534';
        case 'w':
            return L'\u252c';
        case 'x':
            return L'\u2502';
        case '`':
            return L'\u25c6';
        case 'f':
            return L'\u00b0';
        case 'g':
            return L'\u00b1';
        case '~':
            return L'\u00b7';
        case '+':
            return L'\u2192';
        case ',':
            return L'\u2190';
        case '-':
            return L'\u2191';
        case '.':
            return L'\u2193';
        case '0':
            return L'\u2588';
        default:
            return charset_to_wide(c);
    }
}

/// True when the first of these variables that is set names UTF-8.
bool environment_says_utf8() {
    for (const char *variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *name = std::getenv(variable);
        if (name != nullptr && *name != '\0') {
            return strcasestr(name, "UTF-8") != nullptr || strcasestr(name, "UTF8") != nullptr;
        }
    }
    return false;
}

}  // namespace

void charset_init() {
    // Only the character set follows the environment; numbers, sorting and case do not. A locale that is
    // named but not installed, as after a login from another machine, still says which set it is.
    if (std::setlocale(LC_CTYPE, "") == nullptr && environment_says_utf8()) {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    if (!utf8) {
        std::setlocale(LC_CTYPE, "C");
    }
}

bool charset_is_utf8() {
    return utf8;
}

wchar_t charset_to_wide(unsigned char c) {
    if (is_control(c)) {
        return L'?';
    }
    return c < 128 ? static_cast<wchar_t>(c) : codepage_upper_half[c - 128];
}

int charset_from_wide(wchar_t c) {
    if (c >= 0 && c < 128) {
        return static_cast<int>(c);
    }
    const wchar_t *found = std::wcschr(codepage_upper_half, c);
    return found == nullptr ? -1 : static_cast<int>(found - codepage_upper_half) + 128;
}

char charset_drawing(char name) {
    return utf8 ? name : static_cast<char>(NCURSES_ACS(name) & A_CHARTEXT);
}

void charset_add(WINDOW *window, const char *text, int length) {
    attr_t attr = 0;
    short pair = 0;
    wattr_get(window, &attr, &pair, nullptr);
    // Without UTF-8 a character is its byte, and ncurses itself draws the lines.
    const bool drawing = utf8 && (attr & A_ALTCHARSET) != 0;
    std::wstring wide(static_cast<std::size_t>(length), L' ');
    for (int i = 0; i < length; i++) {
        const auto c = static_cast<unsigned char>(text[i]);
        wide[static_cast<std::size_t>(i)] = drawing                 ? line_drawing(c)
                                            : utf8 || is_control(c) ? charset_to_wide(c)
                                                                    : static_cast<wchar_t>(c);
    }
    if (drawing) {
        wattr_off(window, A_ALTCHARSET, nullptr);
    }
    waddnwstr(window, wide.c_str(), length);
    if (drawing) {
        wattr_on(window, A_ALTCHARSET, nullptr);
    }
}
