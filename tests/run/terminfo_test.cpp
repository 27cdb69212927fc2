// The terminal descriptions: every terminal has its three, with all keys and attributes of the dialogue.
#include "support/terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
// Short words that term.h takes.
#undef lines
#undef columns

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace {

/// How a terminal is made wide, long, and as it was; null where it can't be.
struct Sizes {
    const char *wide, *tall, *reset;
};
constexpr Sizes fixed{}, window{"\033[8;25;132t", "\033[8;43;80t", "\033[8;25;80t"},
    vt{"\033[?40h\033[?3h", nullptr, "\033[?3l\033[?40l"};

/// Terminals with the same abilities.
struct Delivered {
    const char *terms;
    std::string_view abilities;
    const Sizes &sizes;
};
const Delivered delivered[] = {
    {"xterm xterm-256color", "blink dim mc5 mc4 colours", window},
    {"screen screen-256color tmux tmux-256color linux foot alacritty xterm-ghostty", "blink dim colours",
     fixed},
    {"vt100 vt220", "blink mc5 mc4", vt},
    {"ansi", "blink mc5 mc4 colours", fixed},
    {"rxvt-unicode-256color", "blink mc5 mc4 colours", window},
    {"xterm-kitty", "dim colours", fixed},
    {"vte-256color konsole-256color", "blink dim colours", window},
};

std::string text_of(const char *capability) {
    const char *value = tigetstr(capability);
    return value && value != reinterpret_cast<char *>(-1) ? value : "";
}

void expect_abilities(std::string name, const Delivered &terminal, int rows, int cols) {
    SCOPED_TRACE(name);
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    int result = 0;
    ASSERT_EQ(setupterm(name.c_str(), STDOUT_FILENO, &result), OK);
    EXPECT_EQ(tigetnum("lines"), rows);
    EXPECT_EQ(tigetnum("cols"), cols);
    for (const char *needed : {"clear", "cup", "bold", "rev", "smul", "sgr0", "acsc", "bel"}) {
        EXPECT_NE(text_of(needed), "") << needed;
    }
    for (const char *ability : {"blink", "dim", "mc5", "mc4"}) {
        EXPECT_EQ(text_of(ability) != "", terminal.abilities.find(ability) != terminal.abilities.npos)
            << ability;
    }
    EXPECT_EQ(tigetnum("colors") >= 8, terminal.abilities.ends_with("colours"));
    // Nothing that would switch the keyboard's modes off, and a size only where it can be changed.
    const char *init = cols == 132 ? terminal.sizes.wide : rows == 43 ? terminal.sizes.tall : nullptr;
    EXPECT_EQ(text_of("is3"), "");
    EXPECT_EQ(text_of("is2"), init ? init : "");
    EXPECT_EQ(text_of("rs2"), init ? terminal.sizes.reset : "");
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

TEST(Terminfo, EveryVariantHasWhatTheDialogueNeeds) {
    ASSERT_EQ(setenv("TERMINFO", RVCHK_TERMINFO, 1), 0);
    for (const Delivered &terminal : delivered) {
        std::istringstream terms(terminal.terms);
        for (std::string term; terms >> term;) {
            expect_abilities(term, terminal, 25, 80);
            expect_abilities(term + "-w", terminal, 25, 132);
            expect_abilities(term + "-l", terminal, 43, 80);
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
