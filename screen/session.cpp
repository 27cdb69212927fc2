// The screen session: starts the terminal, drives several descriptions of it, takes everything down.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "screen/macros.h"
#include "screen/screen_internal.h"

screen_state *scr = nullptr;

namespace {

// The wait that tells the Esc key from an escape sequence.
constexpr int escape_milliseconds = 40;

/// The store asks with the colours of an ordinary dialogue, and shows its texts plainly.
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
}

void operator_disconnect() {
    isam_operator = {};
}

/// Entries installed with the program are found even where the system looks in other places only.
void terminfo_search_path() {
    if (getenv("TERMINFO_DIRS") == nullptr) {
        setenv("TERMINFO_DIRS", RVCHK_TERMINFO_DIR ":", 0);
    }
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
    const int added = scr->scr_nterm++;
    auto &entry = scr->terminals.at(static_cast<std::size_t>(added));
    std::snprintf(entry.mode, sizeof entry.mode, "%s", mode);
    return added;
}

SCREEN *screen_of(int terminal) {
    return scr->terminals[static_cast<std::size_t>(terminal)].screen;
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
    // Our handler must stand before ncurses looks for one: ours keeps the size that the mode asks for.
    terminal_signals();
    const std::string name = description_name(mode);
    entry.screen = newterm(name.c_str(), stdout, stdin);
    if (entry.screen != nullptr) {
        if (!charset_is_utf8()) {
            use_legacy_coding(2);
        }
        key_define_forms();
        if (scr->scr_term >= 0) {
            set_term(screen_of(scr->scr_term));
        }
        return index;
    }
    if (screen_of(0) == nullptr) {
        if (index > 0) {
            endwin();
        }
        std::printf("\n%s (%s)\n", term_text(1, 92, "Onbekende terminfo"), name.c_str());
        scr_exit(10);
    }
    return scr_open_terminal("");
}

void scr_switch_terminal(const char *mode) {
    if (scr->scr_term >= 0) {
        terminal_put("clear");
        terminal_put("rs2");
    }
    scr->scr_term = scr_open_terminal(mode);
    set_term(screen_of(scr->scr_term));
    cbreak();
    noecho();
    terminal_signals();
    typeahead(-1);
    bool initialised = terminal_put("is2");
    initialised = terminal_put("is3") || initialised;
    if (initialised) {
        terminal_await_size(mode);
    }
    terminal_set_size(terminal_size(mode));
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
    typeahead(-1);
    if (macros.session_save != nullptr && macros.keys_left()) {
        macros.session_save();
    }
    if (scr->scr_nwin > 0) {
        // The way back from a wide or long description gives the window its size again.
        while (scr->scr_nwin > 1) {
            win_close();
        }
        scr_clear_eol(LINES, 1);
        win_refresh();
        endwin();
    }
    for (int i = scr->scr_nterm - 1; i >= 0; i--) {
        if (SCREEN *screen = screen_of(i)) {
            set_term(screen);
            delscreen(screen);
        }
    }
    tty_restore();
    operator_disconnect();
    key_state_free(scr->scr_keys);
    delete scr;
    scr = nullptr;
    tty_close_others();
}

void scr_exit(int status) {
    if (scr != nullptr) {
        scr_end();
    }
    std::exit(status);
}
