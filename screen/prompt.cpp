// Prompts: waiting for a key, for Enter, and the busy text.
#include <cstring>

#include "screen/screen_internal.h"

namespace {

int busy_len = 15;
bool busy_held = false;

void busy_place(const char *text) {
    scr_base_text(A_BOLD, LINES, scr->scr_cols - busy_len, "%-*.*s", busy_len, busy_len, text);
    scr_flush(0);
}

}  // namespace

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
