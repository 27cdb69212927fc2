// The bytes that a terminal sends for its keys.
#include "support/terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <stdlib.h>
#include <term.h>
#include <unistd.h>

#include <cctype>

std::map<std::string, std::string> key_bytes(const std::string &term, const std::string &directory) {
    std::map<std::string, std::string> keys = {{"ENTER", "\r"}, {"TAB", "\t"},    {"ESC", "\033"},
                                               {"SPACE", " "},  {"INTR", "\003"}, {"QUIT", "\034"}};
    std::map<std::string, std::string> capabilities = {
        {"UP", "kcuu1"},   {"DOWN", "kcud1"}, {"LEFT", "kcub1"},    {"RIGHT", "kcuf1"}, {"HOME", "khome"},
        {"END", "kend"},   {"PGUP", "kpp"},   {"PGDN", "knp"},      {"INS", "kich1"},   {"DEL", "kdch1"},
        {"SHTAB", "kcbt"}, {"HELP", "khlp"},  {"BACKSPACE", "kbs"}, {"CANCEL", "kcan"}, {"EXIT", "kext"}};
    for (int number = 1; number <= 12; number++) {
        capabilities["F" + std::to_string(number)] = "kf" + std::to_string(number);
    }
    setenv("TERMINFO", directory.c_str(), 1);
    TERMINAL *const current = cur_term;  // a test may have a terminal of its own
    std::string name = term;
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    int result = 0;
    if (setupterm(name.c_str(), STDOUT_FILENO, &result) == OK ||
        setupterm(term.c_str(), STDOUT_FILENO, &result) == OK) {
        for (const auto &[key, capability] : capabilities) {
            const char *bytes = tigetstr(capability.c_str());
            if (bytes && bytes != reinterpret_cast<char *>(-1)) {
                keys[key] = bytes;
            }
        }
        del_curterm(set_curterm(current));
    }
    return keys;
}
