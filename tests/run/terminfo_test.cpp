// The terminal descriptions: every terminal has its three, with all keys and attributes of the dialogue.
#include "support/terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
// Short words that term.h takes.
#undef lines
#undef columns

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "support/keys.h"

namespace {

struct Delivered {
    const char *term;
    bool blink, dim, printer, colours;
    const char *wide_init, *long_init, *reset;  // how it changes its size; null: it does not
};

constexpr const char *wide_window = "\033[8;25;132t", *long_window = "\033[8;43;80t",
                     *normal_window = "\033[8;25;80t", *wide_vt = "\033[?40h\033[?3h",
                     *normal_vt = "\033[?3l\033[?40l";

constexpr Delivered delivered[] = {
    {"xterm", true, true, true, true, wide_window, long_window, normal_window},
    {"xterm-256color", true, true, true, true, wide_window, long_window, normal_window},
    {"screen", true, true, false, true, nullptr, nullptr, nullptr},
    {"screen-256color", true, true, false, true, nullptr, nullptr, nullptr},
    {"tmux", true, true, false, true, nullptr, nullptr, nullptr},
    {"tmux-256color", true, true, false, true, nullptr, nullptr, nullptr},
    {"linux", true, true, false, true, nullptr, nullptr, nullptr},
    {"vt100", true, false, true, false, wide_vt, nullptr, normal_vt},
    {"vt220", true, false, true, false, wide_vt, nullptr, normal_vt},
    {"ansi", true, false, true, true, nullptr, nullptr, nullptr},
    {"rxvt-unicode-256color", true, false, true, true, wide_window, long_window, normal_window},
    {"foot", true, true, false, true, nullptr, nullptr, nullptr},
    {"alacritty", true, true, false, true, nullptr, nullptr, nullptr},
    {"xterm-kitty", false, true, false, true, nullptr, nullptr, nullptr},
    {"xterm-ghostty", true, true, false, true, nullptr, nullptr, nullptr},
    {"vte-256color", true, true, false, true, wide_window, long_window, normal_window},
    {"konsole-256color", true, true, false, true, wide_window, long_window, normal_window},
};

struct Variant {
    const char *mode;
    int rows, cols;
};
constexpr Variant variants[] = {{"", 25, 80}, {"-w", 25, 132}, {"-l", 43, 80}};

std::string text_of(const char *capability) {
    const char *value = tigetstr(capability);
    return value && value != reinterpret_cast<char *>(-1) ? value : "";
}

TEST(Terminfo, EveryVariantHasWhatTheDialogueNeeds) {
    ASSERT_EQ(setenv("TERMINFO", RVCHK_TERMINFO, 1), 0);
    for (const Delivered &terminal : delivered) {
        for (const Variant &variant : variants) {
            std::string name = terminal.term + std::string(variant.mode);
            SCOPED_TRACE(name);
            name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
            int result = 0;
            ASSERT_EQ(setupterm(name.c_str(), STDOUT_FILENO, &result), OK);
            EXPECT_EQ(tigetnum("lines"), variant.rows);
            EXPECT_EQ(tigetnum("cols"), variant.cols);
            for (const char *needed : {"clear", "cup", "bold", "rev", "smul", "sgr0", "acsc", "bel"}) {
                EXPECT_NE(text_of(needed), "") << needed;
            }
            EXPECT_EQ(text_of("blink") != "", terminal.blink);
            EXPECT_EQ(text_of("dim") != "", terminal.dim);
            EXPECT_EQ(tigetnum("colors") >= 8, terminal.colours);
            EXPECT_EQ(text_of("mc5") != "" && text_of("mc4") != "", terminal.printer);

            // Nothing that would switch the keyboard's modes off, and a size only where it can be changed.
            const bool wide = variant.cols == 132, is_long = variant.rows == 43;
            const char *init = wide ? terminal.wide_init : is_long ? terminal.long_init : nullptr;
            EXPECT_EQ(text_of("is3"), "");
            EXPECT_EQ(text_of("is2"), init ? init : "");
            EXPECT_EQ(text_of("rs2"), init ? terminal.reset : "");
            EXPECT_EQ(text_of("smkx").find("\033="), std::string::npos) << "the numeric pad types digits";

            // A key that starts with another key would never come, or only after a delay.
            std::map<std::string, std::string> keys = key_bytes(name, RVCHK_TERMINFO);
            EXPECT_EQ(keys.size(), 33U);
            EXPECT_EQ(keys["CANCEL"] + keys["HELP"] + keys["EXIT"], "/?\030");
            keys.erase("ESC");  // most begin with it
            for (const auto &[key, bytes] : keys) {
                for (const auto &[other, longer] : keys) {
                    EXPECT_TRUE(key == other || !longer.starts_with(bytes)) << key << " starts " << other;
                }
            }
            del_curterm(set_curterm(nullptr));
        }
    }
    unsetenv("TERMINFO");
}

// The build compiles those in the list; this is one that is not, and a name that nothing describes. The
// terminals of today need no more than the descriptions that every Debian has.
TEST(Terminfo, ScriptCompilesAnyOther) {
    const std::string directory = testing::TempDir() + "entries-" + std::to_string(getpid());
    const std::string script = std::string(MAKE_ENTRIES) + " -o " + directory;
    EXPECT_EQ(std::system((script + " pcansi").c_str()), 0);
    EXPECT_EQ(std::system(("TERMINFO_DIRS=/lib/terminfo " + script +
                           " foot-extra xterm-kitty xterm-ghostty alacritty wezterm vt420 tmux-direct")
                              .c_str()),
              0);
    EXPECT_TRUE(std::filesystem::exists(directory + "/X/Xterm-kitty-l"));
    EXPECT_TRUE(std::filesystem::exists(directory + "/P/Pcansi-w"));
    EXPECT_EQ(std::system((script + " -q no-such-terminal").c_str()), 0);
    EXPECT_NE(std::system((script + " no-such-terminal 2>/dev/null").c_str()), 0);
    std::filesystem::remove_all(directory);
}

}  // namespace
