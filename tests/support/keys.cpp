#include "support/keys.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <stdlib.h>
#include <term.h>
#include <unistd.h>

#include <cctype>

namespace {

struct KeyName {
    const char *name;
    const char *capability;  // looked up in the terminal description; null: `bytes`
    const char *bytes;
};

constexpr KeyName key_names[] = {
    {"ENTER", nullptr, "\r"},    {"TAB", nullptr, "\t"},        {"ESC", nullptr, "\033"},
    {"SPACE", nullptr, " "},     {"INTR", nullptr, "\003"},     {"QUIT", nullptr, "\034"},
    {"F1", "kf1", nullptr},      {"F2", "kf2", nullptr},        {"F3", "kf3", nullptr},
    {"F4", "kf4", nullptr},      {"F5", "kf5", nullptr},        {"F6", "kf6", nullptr},
    {"F7", "kf7", nullptr},      {"F8", "kf8", nullptr},        {"F9", "kf9", nullptr},
    {"F10", "kf10", nullptr},    {"F11", "kf11", nullptr},      {"F12", "kf12", nullptr},
    {"UP", "kcuu1", nullptr},    {"DOWN", "kcud1", nullptr},    {"LEFT", "kcub1", nullptr},
    {"RIGHT", "kcuf1", nullptr}, {"HOME", "khome", nullptr},    {"END", "kend", nullptr},
    {"PGUP", "kpp", nullptr},    {"PGDN", "knp", nullptr},      {"INS", "kich1", nullptr},
    {"DEL", "kdch1", nullptr},   {"BACKSPACE", "kbs", nullptr}, {"SHTAB", "kcbt", nullptr},
    {"CANCEL", "kcan", nullptr}, {"HELP", "khlp", nullptr},     {"EXIT", "kext", nullptr},
};

}  // namespace

std::map<std::string, std::string> key_bytes(const std::string &term, const std::string &directory) {
    std::map<std::string, std::string> keys;
    for (const KeyName &key : key_names) {
        if (key.bytes) {
            keys[key.name] = key.bytes;
        }
    }
    setenv("TERMINFO", directory.c_str(), 1);
    TERMINAL *const current = cur_term;  // a test may have a terminal of its own
    std::string name = term;
    if (!name.empty()) {
        name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    }
    int result = 0;
    if (setupterm(name.c_str(), STDOUT_FILENO, &result) == OK ||
        setupterm(term.c_str(), STDOUT_FILENO, &result) == OK) {
        for (const KeyName &key : key_names) {
            const char *bytes = key.capability ? tigetstr(key.capability) : nullptr;
            if (bytes && bytes != reinterpret_cast<char *>(-1)) {
                keys[key.name] = bytes;
            }
        }
        TERMINAL *const mine = set_curterm(current);
        del_curterm(mine);
    }
    return keys;
}
