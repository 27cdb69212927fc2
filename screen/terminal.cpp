// The real window behind the screen: its size, and the signals of the terminal.
//
// The program keeps to the size of its mode (25 by 80, 25 by 132, 43 by 80) in a larger window, and to the
// real size in a window that is smaller when the mode is entered. A window that shrinks below that size
// afterwards would be overwritten line on line; a notice stands in it until it is large enough again, and
// then everything is painted anew.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "screen/screen_internal.h"

namespace {

volatile std::sig_atomic_t window_changed = 0;
bool fits = true;

constexpr int step_milliseconds = 20;
constexpr int await_milliseconds = 300;

void on_interrupt(int) {
    scr_pending = KEY_DC;
}

void on_quit(int) {
    scr_pending = KEY_EXIT;
}

void on_window_change(int) {
    window_changed = 1;
}

void on_leave(int) {
    scr_leave_flag = 1;
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

bool real_size(screen_size &size) {
    winsize window = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_row == 0 || window.ws_col == 0) {
        return false;
    }
    size = {window.ws_row, window.ws_col};
    return true;
}

void show_notice() {
    char text[80];
    std::snprintf(text, sizeof text, term_text(1, 600, "Venster te klein, minimaal %d x %d"), LINES, COLS);
    terminal_put("clear");
    std::fputs(text, stdout);
    std::fflush(stdout);
}

}  // namespace

screen_size terminal_mode_size(const char *mode) {
    if (std::strcmp(mode, "-w") == 0) {
        return {25, 132};
    }
    if (std::strcmp(mode, "-l") == 0) {
        return {43, 80};
    }
    return {25, 80};
}

bool terminal_put(const char *capability) {
    const char *sequence = tigetstr(capability);
    if (sequence == nullptr || sequence == reinterpret_cast<const char *>(-1)) {
        return false;
    }
    // putp goes through stdio, ncurses does not: in order only when each is flushed.
    putp(sequence);
    std::fflush(stdout);
    return true;
}

void terminal_free_lines() {
    screen_size real;
    const char *region = tigetstr("csr");
    const char *address = tigetstr("cup");
    if (region == nullptr || region == reinterpret_cast<const char *>(-1) || address == nullptr ||
        address == reinterpret_cast<const char *>(-1) || !real_size(real)) {
        return;
    }
    putp(tparm(region, 0, real.lines - 1));
    // That moves the cursor, which ncurses takes to be where it left it.
    putp(tparm(address, getcury(curscr), getcurx(curscr)));
    std::fflush(stdout);
}

int terminal_first_byte(const char *capability) {
    const char *sequence = tigetstr(capability);
    if (sequence == nullptr || sequence == reinterpret_cast<const char *>(-1)) {
        return 0;
    }
    return static_cast<unsigned char>(*sequence);
}

screen_size terminal_size(const char *mode) {
    const screen_size wanted = terminal_mode_size(mode);
    screen_size real;
    if (!real_size(real)) {
        return wanted;
    }
    return {std::min(wanted.lines, real.lines), std::min(wanted.columns, real.columns)};
}

void terminal_use_size(screen_size size) {
    LINES = size.lines;
    COLS = size.columns;
    scr->scr_lines = LINES;
    scr->scr_cols = COLS;
    // Back from another program, or from a stop, ncurses measures again and asks the environment first. The
    // size of the window would cut or stretch all windows.
    setenv("LINES", std::to_string(size.lines).c_str(), 1);
    setenv("COLUMNS", std::to_string(size.columns).c_str(), 1);
    // The window may have changed since it was measured.
    window_changed = 1;
}

void terminal_await_size(const char *mode) {
    const screen_size wanted = terminal_mode_size(mode);
    for (int waited = 0; waited < await_milliseconds; waited += step_milliseconds) {
        const screen_size size = terminal_size(mode);
        if (size.lines == wanted.lines && size.columns == wanted.columns) {
            return;
        }
        napms(step_milliseconds);
    }
}

void terminal_signals() {
    handle(SIGINT, on_interrupt);
    handle(SIGQUIT, on_quit);
    handle(SIGWINCH, on_window_change);
    // A stopped program is not told of a change.
    handle(SIGCONT, on_window_change);
    handle(SIGHUP, on_leave);
    handle(SIGTERM, on_leave);
}

bool terminal_fits() {
    if (window_changed != 0 && !scr->scr_off) {
        window_changed = 0;
        screen_size real;
        fits = !real_size(real) || (real.lines >= LINES && real.columns >= COLS);
        if (fits) {
            terminal_mark_stale();
            win_stage(scr->scr_base, scr->scr_nwin - 1);
        } else {
            show_notice();
        }
    }
    return fits;
}

void terminal_update() {
    if (!scr->scr_off && terminal_fits()) {
        doupdate();
    }
}

void terminal_mark_stale() {
    clearok(curscr, TRUE);
}
