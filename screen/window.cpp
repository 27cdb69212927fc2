// The window stack. The last opened is the first closed; a window takes its colours from its place on the
// stack, so the colour pairs are set again at each opening.
#include <algorithm>

#include "screen/screen_internal.h"

namespace {

struct kind_colours {
    short background;
    short foreground;
    short accent;
};

constexpr std::array<kind_colours, 8> colours{{
    {COLOR_BLUE, COLOR_WHITE, COLOR_CYAN},
    {COLOR_WHITE, COLOR_BLUE, COLOR_RED},
    {COLOR_BLACK, COLOR_CYAN, COLOR_WHITE},
    {COLOR_BLACK, COLOR_YELLOW, COLOR_RED},
    {COLOR_BLACK, COLOR_WHITE, COLOR_CYAN},
    {COLOR_BLUE, COLOR_WHITE, COLOR_CYAN},
    {COLOR_WHITE, COLOR_BLUE, COLOR_RED},
    {COLOR_WHITE, COLOR_BLACK, COLOR_RED},
}};

window_entry &entry_at(int index) {
    return scr->windows[static_cast<std::size_t>(index)];
}

void set_pairs(int level, const kind_colours &c) {
    const auto n = static_cast<short>(level);
    init_pair(n, c.foreground, c.background);
    init_pair(static_cast<short>(n + 7), c.background, c.foreground);
    init_pair(static_cast<short>(n + 14), c.accent, c.background);
    init_pair(static_cast<short>(n + 21), c.accent, c.foreground);
}

/// Goes back from the first window of a terminal to the terminal below it.
void leave_terminal(window_entry &top, const window_entry &below) {
    terminal_put("clear");
    terminal_put("rs2");
    if (top.window != stdscr) {
        delwin(top.window);
    } else {
        werase(curscr);
    }
    const terminal_entry &terminal = scr->terminals[static_cast<std::size_t>(below.terminal)];
    scr->scr_term = below.terminal;
    set_term(terminal.screen);
    terminal_put("is2");
    terminal_use_size(terminal.size);
    scr->scr_msg[0] = '\0';
}

}  // namespace

WINDOW *win_current() {
    return entry_at(scr->scr_cur).window;
}

void win_require_room() {
    if (scr->scr_nwin >= scr_max_windows) {
        scr_fatal("win_open : %d", scr->scr_nwin);
    }
}

void win_set_up(WINDOW *window) {
    scr->scr_cur = scr->scr_nwin++;
    auto &entry = entry_at(scr->scr_cur);
    entry = {window, scr->scr_term, scr->scr_base, scr->scr_kind, false};
    keypad(window, TRUE);
    if (has_colors()) {
        set_pairs(scr->scr_cur + 1, colours[static_cast<std::size_t>(scr->scr_kind)]);
    }
    scr_clear_eos(1, 1);
}

void win_open(int row, int col, int height, int width, int kind) {
    if (scr->scr_nwin > 0) {
        wnoutrefresh(win_current());
    }
    height = std::clamp(height, 1, LINES);
    width = std::clamp(width, 1, COLS);
    row = std::clamp(row, 1, LINES - height + 1);
    col = std::clamp(col, 1, COLS - width + 1);
    win_require_room();
    WINDOW *window = newwin(height, width, row - 1, col - 1);
    if (window == nullptr) {
        scr_fatal("win_open : %d", scr->scr_nwin);
    }
    scr->scr_kind = std::clamp(kind, 0, static_cast<int>(colours.size()) - 1);
    win_set_up(window);
}

void win_open1(int row, int col, int height, int width) {
    win_open(row, col, height, width, 1);
}

void win_open2(int row, int col, int height, int width) {
    win_open(row, col, height, width, 2);
}

void win_open3(int row, int col, int height, int width) {
    win_open(row, col, height, width, 3);
}

void win_open7(int row, int col, int height, int width) {
    win_open(row, col, height, width, 7);
}

void win_stage(int first, int last) {
    for (int i = first; i <= last; i++) {
        touchwin(entry_at(i).window);
        wnoutrefresh(entry_at(i).window);
    }
}

void win_close() {
    if (scr->scr_nwin == 0) {
        return;
    }
    const int top_index = scr->scr_nwin - 1;
    auto &top = entry_at(top_index);
    const window_entry below = top_index > 0 ? entry_at(top_index - 1) : window_entry{};
    if (top_index > 0 && below.terminal != top.terminal) {
        leave_terminal(top, below);
    } else {
        if (top_index != top.base) {
            win_stage(top.base, top_index - 1);
        }
        if (top.window != stdscr) {
            delwin(top.window);
        }
    }
    top = {};
    scr->scr_nwin--;
    scr->scr_cur--;
    if (scr->scr_nwin == 0) {
        return;
    }
    scr->scr_kind = below.kind;
    if (below.base != scr->scr_base) {
        terminal_mark_stale();
        scr->scr_base = below.base;
        win_stage(scr->scr_base, scr->scr_nwin - 2);
        touchwin(below.window);
    }
}
