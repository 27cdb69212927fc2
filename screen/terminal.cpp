// The real window behind the screen: its size, and the signals of the terminal.
//
// The program keeps to the size of its mode (25 by 80, 25 by 132, 43 by 80) in a larger window, and to the
// real size in a window that is smaller when the mode is entered. A window that shrinks below that size
// afterwards shows a part of the screen: the last line, where messages and questions stand, and above it the
// lines around the cursor. Once it is large enough again, everything is painted again.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "screen/screen_internal.h"

namespace {

volatile std::sig_atomic_t window_changed = 0;
screen_size room;  ///< size of the window, as last measured
bool fits = true;
bool page_read = false;

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

/// First of the `shown` lines or columns, out of `all`, so that `cursor` is among them; `usual` if possible.
int first_shown(int cursor, int shown, int all, int usual) {
    if (cursor >= usual && cursor < usual + shown) {
        return usual;
    }
    return std::clamp(cursor - shown / 2, 0, all - shown);
}

/// Makes the next update show only as much of the screen as the window has room for.
void crop() {
    int row = 0;
    int col = 0;
    getyx(newscr, row, col);
    win_stage(scr->scr_base, scr->scr_nwin - 1);
    const int last = LINES - 1;
    const int rows = std::min(room.lines, LINES);
    // ncurses would lose track of the cursor at a right margin that it does not know about.
    const int columns = room.columns < COLS ? std::max(room.columns - 1, 1) : COLS;
    const int above = rows - 1;
    const bool on_last = row >= last || above == 0;
    const bool page = on_last && page_read;
    const int top = page ? 0 : on_last ? last - above : first_shown(row, above, last, last - above);
    const int left = page ? 0 : first_shown(col, columns, COLS, 0);
    // Blanks are not painted: text past the window would land on its last line.
    wbkgdset(newscr, ' ');
    std::vector<cchar_t> cells(static_cast<std::size_t>(columns) + 1);
    for (int i = 0; i < LINES; i++) {
        wmove(newscr, i, 0);
        if (i < rows) {
            const int from = i < above ? top + i : above == 0 ? row : last;
            mvwin_wchnstr(newscr, from, left, cells.data(), columns);
            mvwadd_wchnstr(newscr, i, 0, cells.data(), columns);
        }
        if (i >= rows || columns < COLS) {
            wmove(newscr, i, i < rows ? columns : 0);
            wclrtoeol(newscr);
        }
    }
    wmove(newscr, on_last ? above : row - top, std::min(col - left, columns - 1));
}

/// Measures the window after a change of its size.
void look_again() {
    if (window_changed == 0) {
        return;
    }
    window_changed = 0;
    fits = !real_size(room) || (room.lines >= LINES && room.columns >= COLS);
    int row = 0;
    int col = 0;
    getyx(newscr, row, col);
    terminal_mark_stale();
    win_stage(scr->scr_base, scr->scr_nwin - 1);
    wmove(newscr, row, col);
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
    // putp writes through stdio and ncurses does not, so the order is right only when each is flushed.
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
    // Setting the region moves the cursor, but ncurses thinks it is still where it left it.
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
    // After another program or a stop, ncurses measures again, but asks the environment first. Taking the
    // real size would cut or stretch all windows.
    setenv("LINES", std::to_string(size.lines).c_str(), 1);
    setenv("COLUMNS", std::to_string(size.columns).c_str(), 1);
    // The real window may have changed since it was measured.
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
    // A stopped program is not told of a change of size.
    handle(SIGCONT, on_window_change);
    handle(SIGHUP, on_leave);
    handle(SIGTERM, on_leave);
}

void scr_reading(bool begins) {
    page_read = begins;
    curs_set(begins ? 0 : 1);
}

void terminal_update() {
    if (scr->scr_off) {
        return;
    }
    look_again();
    if (!fits) {
        crop();
    }
    doupdate();
}

void terminal_mark_stale() {
    clearok(curscr, TRUE);
}
