// Prompts: waiting for a key, for Enter, yes/no questions, and the busy text.
#include <cstdarg>
#include <cstring>
#include <string>

#include "screen/screen_internal.h"

namespace {

int busy_len = 15;
bool busy_held = false;

void busy_place(const char *text) {
    scr_base_text(A_BOLD, LINES, scr->scr_cols - busy_len, "%-*.*s", busy_len, busy_len, text);
    scr_flush(0);
}

char first_letter(const char *text, char fallback) {
    return *text == '\0' ? fallback : *text;
}

constexpr char no_preset = '/';

/// Takes a preset answer, such as "[+],", off the text.
char take_preset(std::string &text) {
    if (text.size() < 3 || text[0] != '[') {
        return no_preset;
    }
    const char preset = text[1];
    text.erase(0, text.size() > 3 && text[3] == ',' ? 4 : 3);
    return preset;
}

}  // namespace

char ing_yes_letter() {
    return first_letter(term_text(1, 74, "J"), 'J');
}

char ing_no_letter() {
    return first_letter(term_text(1, 75, "N"), 'N');
}

void busy_on() {
    if (busy_held) {
        return;
    }
    const char *text = term_text(1, 125, "Even geduld aub");
    busy_len = static_cast<int>(std::strlen(text));
    busy_place(text);
}

void busy_off() {
    if (!busy_held) {
        busy_place("");
    }
}

void busy_hold() {
    busy_off();
    busy_held = true;
}

void busy_release() {
    busy_held = false;
    busy_off();
}

int ing_key(std::initializer_list<const int *> slots, const char *text) {
    for (const int *slot : slots) {
        key_allow(*slot);
    }
    for (; *text != '\0'; text++) {
        key_allow(static_cast<unsigned char>(*text));
    }
    scr->ing_status = 0;
    busy_off();
    curs_set(0);
    do {
        scr->ing_exit = key_get(win_current());
    } while (!key_allowed(scr->ing_exit));
    curs_set(1);
    busy_on();
    if (key_is_exit(scr->ing_exit)) {
        scr->ing_status |= ING_EMPTY;
    }
    scr->scr_keys->mask.fill(0);
    scr->scr_keys->soft = 0;
    return scr->ing_exit;
}

void ing_enter(int row, int col) {
    scr_clear_eol(row, col);
    scr_text(A_DIM, row, col, "%s", term_text(1, 96, "<ENTER> voor vervolg"));
    key_allow(key_enter);
    ing_key({}, "");
}

int ing_akkoord(int row, int col, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    std::string text = str_vformat(format, args);
    va_end(args);
    const char preset = take_preset(text);
    if (text.empty()) {
        text = term_text(1, 144, "Akkoord");
    }
    const char yes = ing_yes_letter();
    scr_clear_eol(row, col);
    const int length = scr_text(A_DIM, row, col, "%s? (%c/%c)", text.c_str(), yes, ing_no_letter());
    std::uint8_t answer = preset == '+' || preset == yes ? 1 : 0;
    INGAVE(row, col + length + 1, preset == no_preset ? "b,/EI" : "b,/E", {&K_CANCEL}, &answer);
    if (scr->ing_exit == K_CANCEL || scr->ing_exit == K_ESC) {
        return 0;
    }
    return answer;
}
