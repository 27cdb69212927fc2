// The operator's request to break off a check.
#include <algorithm>
#include <cstring>

#include "screen/macros.h"
#include "screen/screen_internal.h"

namespace {

bool ing_break_armed = true;
bool ing_stopped = false;
std::time_t ing_break_time = 0;

bool breaks_off(int key) {
    return key == KEY_CANCEL || key == 27;
}

/// Reads what was typed ahead, up to a key that breaks off, and returns the last key read, 0 if there was
/// none. Repeats of that key are read too: they must not answer the question that follows.
int drain_keys() {
    int key = 0;
    while (!breaks_off(key) && key_pending()) {
        key = key_get(win_current());
    }
    while (breaks_off(key) && key_pending()) {
        const int next = key_get(win_current());
        if (!breaks_off(next)) {
            key_unget(next);
            break;
        }
    }
    return key;
}

bool ask_to_stop() {
    constexpr int narrowest = 24;
    const auto question = static_cast<int>(std::strlen(term_text(1, 144, "Akkoord")));
    error("%s", "");
    const kept_key_state kept;
    win_open(scr->scr_lines - 7, 11, 5, std::max(question + 17, narrowest), 3);
    win_title(" %s ", term_text(1, 146, "Onderbreken"));
    const bool stop = ing_akkoord(2, 4, "[+]") != 0;
    win_close();
    return stop;
}

}  // namespace

bool ing_interrupted() {
    scr_leave_if_due();
    const std::time_t now = std::time(nullptr);
    if (scr->scr_off || !ing_break_armed || ing_stopped || now == ing_break_time) {
        return ing_stopped;
    }
    ing_break_time = now;
    const bool suspend = macros.replaying != nullptr && macros.replaying();
    if (suspend) {
        macros.disable();
    }
    const int key = drain_keys();
    if (breaks_off(key)) {
        ing_stopped = ask_to_stop();
    } else if (key != 0) {
        error("%s", term_text(1, 145, "Alleen <CANCEL> voor onderbreken"));
        scr_flush(0);
    }
    if (suspend) {
        macros.enable();
    }
    return ing_stopped;
}

void ing_break_reset() {
    ing_stopped = false;
    ing_break_armed = true;
}

void ing_break_off() {
    ing_break_armed = false;
}

bool ing_break_is_on() {
    return ing_break_armed;
}
