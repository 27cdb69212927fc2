// The screen session: starts the terminal, switches between descriptions of it, and ends it all again.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "base/program_directory.h"
#include "screen/macros.h"
#include "screen/screen_internal.h"

screen_state *scr = nullptr;

namespace {

// How long to wait to tell the Esc key from an escape sequence.
constexpr int escape_milliseconds = 40;

/// Questions of the store have the colours of an ordinary dialogue.
int operator_flash(int wait, const char *title, const char *text) {
    return FFLASH(wait, 0, A_DIM, title, "%s", text);
}

void operator_connect() {
    isam_operator.fatal = [](const char *text) { scr_fatal("%s", text); };
    isam_operator.last_line = [](bool blink, const char *text, int seconds) {
        scr_last_line(blink ? A_BLINK : A_REVERSE, seconds, "%s", text);
    };
    isam_operator.flash = operator_flash;
    isam_operator.progress = progress_draw;
    isam_operator.interrupted = ing_interrupted;
    isam_operator.interrupt_reset = [] {
        if (ing_break_is_on()) {
            ing_break_reset();
        }
    };
    isam_operator.interrupt_arm = ing_break_reset;
    isam_operator.hold = scr_leave_hold;
    isam_operator.release = scr_leave_release;
    isam_operator.leave_if_due = scr_leave_if_due;
    isam_operator.patience = wait_box;
}

void operator_disconnect() {
    isam_operator = {};
}

/// The descriptions that belong to the program are found too, after those that the environment names: built
/// beside the program, or installed with it, wherever that is.
void terminfo_search_path() {
    const char *paths = getenv("TERMINFO_DIRS");
    std::string all = paths == nullptr ? "" : std::string(paths) + ":";
    if (const std::string own = program_directory(); !own.empty()) {
        all += own + "/terminfo:" + own + "/" RVCHK_DATA_FROM_PROGRAM "/terminfo:";
    }
    setenv("TERMINFO_DIRS", all.c_str(), 1);
}

std::string description_name(const char *mode) {
    const char *term = getenv("TERM");
    std::string name = term == nullptr || *term == '\0' ? "TERM" : term;
    name[0] = static_cast<char>(char_upper_of(static_cast<unsigned char>(name[0])));
    return name + mode;
}

/// The entry of `mode` in the terminal table, or a new one.
int table_entry(const char *mode) {
    for (int i = 0; i < scr->scr_nterm; i++) {
        if (std::strcmp(scr->terminals[static_cast<std::size_t>(i)].mode, mode) == 0) {
            return i;
        }
    }
    if (scr->scr_nterm == scr_max_terminals) {
        scr_fatal("scr_open_terminal : %d", scr->scr_nterm);
    }
    const int added = scr->scr_nterm++;
    auto &entry = scr->terminals[static_cast<std::size_t>(added)];
    std::snprintf(entry.mode, sizeof entry.mode, "%s", mode);
    return added;
}

SCREEN *screen_of(int terminal) {
    return scr->terminals[static_cast<std::size_t>(terminal)].screen;
}

/// Sets an environment variable and puts the old value back at the end.
class environment_guard {
public:
    environment_guard(const char *variable, int value) : name(variable) {
        const char *present = getenv(variable);
        had_value = present != nullptr;
        before = had_value ? present : "";
        setenv(variable, std::to_string(value).c_str(), 1);
    }
    environment_guard(const environment_guard &) = delete;
    environment_guard &operator=(const environment_guard &) = delete;
    ~environment_guard() {
        if (had_value) {
            setenv(name, before.c_str(), 1);
        } else {
            unsetenv(name);
        }
    }

private:
    const char *name;
    bool had_value;
    std::string before;
};

/// Calls newterm for a screen of that size, whatever the description and the window say. A screen keeps its
/// size for life: ncurses would resize the windows of all screens together and then draw them in the wrong
/// size.
SCREEN *new_screen(const char *mode, screen_size size) {
    const environment_guard lines("LINES", size.lines);
    const environment_guard columns("COLUMNS", size.columns);
    SCREEN *screen = newterm(description_name(mode).c_str(), stdout, stdin);
    if (screen == nullptr && *mode != '\0') {
        screen = newterm(description_name("").c_str(), stdout, stdin);
    }
    if (screen != nullptr) {
        if (!charset_is_utf8()) {
            use_legacy_coding(2);
        }
        key_define_forms();
    }
    return screen;
}

/// Screens that were made for a size that the window did not take.
std::vector<SCREEN *> retired;

/// Sends the current terminal the sequences that make its window the size of `mode`.
void initialise_terminal(const char *mode) {
    bool sent = terminal_put("is2");
    sent = terminal_put("is3") || sent;
    if (sent) {
        terminal_await_size(mode);
    }
}

bool on_stack(const WINDOW *window) {
    for (int i = 0; i < scr->scr_nwin; i++) {
        if (scr->windows[static_cast<std::size_t>(i)].window == window) {
            return true;
        }
    }
    return false;
}

}  // namespace

void SCRINIT() {
    scr = new (std::nothrow) screen_state{};
    if (scr == nullptr) {
        isam_fatal("SCRINIT : %s", "Onvoldoende geheugen");
    }
    tty_noecho();
    charset_init();
    terminfo_search_path();
    set_escdelay(escape_milliseconds);
    scr->scr_keys = key_state_new();
    if (scr->scr_keys == nullptr) {
        tty_restore();
        isam_fatal("SCRINIT : %s", term_text(1, 17, "Onvoldoende geheugen"));
    }
    scr_switch_terminal("");
    scr->ing_bprec = getenv("KPOS") != nullptr ? 0 : 2;
    key_init();
    if (macros.session_restore != nullptr) {
        macros.session_restore();
    }
    operator_connect();
    busy_hold();
}

int scr_open_terminal(const char *mode) {
    const int index = table_entry(mode);
    auto &entry = scr->terminals[static_cast<std::size_t>(index)];
    if (entry.screen != nullptr) {
        return index;
    }
    // Our handler must be installed before ncurses looks for one: it keeps the size that the mode asks for.
    terminal_signals();
    // The other modes ask the window to grow, so their size is known only after the switch.
    entry.size = *mode == '\0' ? terminal_size(mode) : terminal_mode_size(mode);
    entry.screen = new_screen(mode, entry.size);
    if (entry.screen == nullptr) {
        std::printf("\n%s (%s)\n", term_text(1, 92, "Onbekende terminfo"), description_name(mode).c_str());
        std::fflush(stdout);
        std::fprintf(stderr, "%s\n",
                     term_text(1, 93,
                               "Start opnieuw met TERM=xterm-256color, of maak met make-entries.sh een\n"
                               "beschrijving van deze terminal; zie 'man rvchk860'."));
        scr_exit(10);
    }
    if (scr->scr_term >= 0) {
        set_term(screen_of(scr->scr_term));
    }
    return index;
}

void scr_switch_terminal(const char *mode) {
    win_require_room();
    if (scr->scr_term >= 0) {
        error("%s", "");
        terminal_put("clear");
        terminal_put("rs2");
    }
    scr->scr_term = scr_open_terminal(mode);
    auto &entry = scr->terminals[static_cast<std::size_t>(scr->scr_term)];
    set_term(entry.screen);
    initialise_terminal(mode);
    // Only now can we see whether the window has become as large as the mode asks for.
    const screen_size size = terminal_size(mode);
    if (!on_stack(stdscr) && size != entry.size) {
        // Otherwise its start-up output would appear when it is deleted, after the end of the session.
        doupdate();
        // Deleting a screen during the session disturbs the others, so it is deleted at the end.
        retired.push_back(entry.screen);
        entry.size = size;
        entry.screen = new_screen(mode, size);
        if (entry.screen == nullptr) {
            isam_fatal("%s", term_text(1, 17, "Onvoldoende geheugen"));
        }
        set_term(entry.screen);
    }
    cbreak();
    noecho();
    typeahead(-1);
    intrflush(nullptr, FALSE);  // a key that sends a signal must not discard what is being painted
    terminal_use_size(entry.size);
    scr->scr_base = scr->scr_nwin;
    if (on_stack(stdscr)) {
        win_open(1, 1, LINES, COLS, 0);
        return;
    }
    if (has_colors()) {
        start_color();
    }
    scr->scr_kind = 0;
    win_set_up(stdscr);
}

void scr_end() {
    static bool ending = false;
    if (ending) {
        // An error while ending: only the terminal is restored.
        endwin();
        tty_restore();
        _exit(1);
    }
    ending = true;
    typeahead(-1);
    if (macros.session_save != nullptr && macros.keys_left()) {
        macros.session_save();
    }
    if (scr->scr_nwin > 0) {
        scr_reading(false);  // ncurses shows the cursor again only on the screen that hid it
        // Going back from a wide or long description gives the window its old size again.
        while (scr->scr_nwin > 1) {
            win_close();
        }
        scr_clear_eol(LINES, 1);
        win_refresh();
        terminal_free_lines();
        endwin();
    }
    for (int i = scr->scr_nterm - 1; i >= 0; i--) {
        if (SCREEN *screen = screen_of(i)) {
            retired.push_back(screen);
        }
    }
    for (SCREEN *screen : retired) {
        set_term(screen);
        delscreen(screen);
    }
    retired.clear();
    tty_restore();
    operator_disconnect();
    key_state_free(scr->scr_keys);
    delete scr;
    scr = nullptr;
    tty_close_others();
    ending = false;
}

void scr_suspend() {
    terminal_free_lines();
    endwin();
    tty_restore();
}

void scr_resume() {
    tty_noecho();
    terminal_mark_stale();
    win_stage(scr->scr_base, scr->scr_nwin - 1);
    terminal_update();
}

void scr_exit(int status) {
    if (scr != nullptr) {
        scr_end();
    }
    std::exit(status);
}
