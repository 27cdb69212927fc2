// Text placement: one call with an attribute, a row, a column and a format. The message line.
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "screen/screen_internal.h"

namespace {

constexpr std::size_t text_size = 1024;

/// The usable part of the current window, in curses positions.
struct usable_area {
    int offset;  ///< curses position of row 1 and column 1
    int rows;    ///< number of usable rows
    int columns;
};

usable_area usable() {
    const auto &entry = scr->windows[static_cast<std::size_t>(scr->scr_cur)];
    const int frame = entry.border ? 2 : 0;
    return {entry.border ? 1 : 0, getmaxy(entry.window) - frame, getmaxx(entry.window) - frame};
}

bool inside(int row, int col) {
    const usable_area area = usable();
    return row >= 1 && row <= area.rows && col >= 1 && col <= area.columns;
}

/// Placed text reaches the terminal at most once a second.
void refresh_rule() {
    const std::time_t now = std::time(nullptr);
    if (now - scr->scr_last_refresh >= 1) {
        scr->scr_last_refresh = now;
        win_refresh();
    }
}

int place(attr_t attr, int row, int col, const char *text) {
    if (scr == nullptr || scr->scr_off || !inside(row, col)) {
        return 0;
    }
    const int room = usable().columns - col + 1;
    const int length = std::min(static_cast<int>(std::strlen(text)), room);
    win_attr(attr);
    scr_move(row, col);
    charset_add(win_current(), text, length);
    refresh_rule();
    win_attr(A_BOLD);
    return length;
}

void clear_line(int row, int col) {
    scr_move(row, col);
    win_attr(A_DIM);
    wclrtoeol(win_current());
    const auto &entry = scr->windows[static_cast<std::size_t>(scr->scr_cur)];
    if (entry.border) {
        WINDOW *window = entry.window;
        win_attr(A_BOLD);
        wmove(window, row, getmaxx(window) - 1);
        if (charset_is_utf8()) {
            wadd_wch(window, WACS_VLINE);
        } else {
            waddch(window, ACS_VLINE);
        }
    }
    scr_move(row, col);
}

}  // namespace

int win_rows() {
    return usable().rows;
}

int win_columns() {
    return usable().columns;
}

screen_place win_screen_place(int row, int col) {
    WINDOW *window = win_current();
    const int offset = usable().offset;
    return {getbegy(window) + offset + row, getbegx(window) + offset + col};
}

void win_refresh() {
    wnoutrefresh(win_current());
    terminal_update();
}

void win_attr(attr_t attr) {
    if (scr->scr_off) {
        return;
    }
    WINDOW *window = win_current();
    wattrset(window, static_cast<int>(attr));
    if (has_colors()) {
        const bool accent = (attr & A_UNDERLINE) != 0 && (attr & A_REVERSE) == 0;
        const int pair = scr->scr_cur + 1 + (accent ? 14 : 0);
        wbkgdset(window, static_cast<chtype>(COLOR_PAIR(pair)) | ' ');
    }
}

void win_title(const char *format, ...) {
    if (scr->scr_off) {
        return;
    }
    char title[256] = "";
    if (format != nullptr) {
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(title, sizeof title, format, args);
        va_end(args);
    }
    auto &entry = scr->windows[static_cast<std::size_t>(scr->scr_cur)];
    entry.border = false;
    win_attr(A_BOLD);
    if (charset_is_utf8()) {
        wborder_set(entry.window, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    } else {
        wborder(entry.window, 0, 0, 0, 0, 0, 0, 0, 0);
    }
    const int width = getmaxx(entry.window);
    const int length = static_cast<int>(std::strlen(title));
    if (length > 0) {
        place(A_BOLD, 1, std::max((width - length) / 2 + 1, 1), title);
    }
    entry.border = true;
}

int scr_text(attr_t attr, int row, int col, const char *format, ...) {
    char text[text_size];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return place(attr, row, col, text);
}

int scr_add(const char *format, ...) {
    if (scr == nullptr || scr->scr_off) {
        return 0;
    }
    char text[text_size];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    const int length = static_cast<int>(std::strlen(text));
    charset_add(win_current(), text, length);
    return length;
}

void scr_move(int row, int col) {
    if (scr->scr_off || !inside(row, col)) {
        return;
    }
    const int offset = usable().offset;
    wmove(win_current(), row - 1 + offset, col - 1 + offset);
}

void scr_clear_eol(int row, int col) {
    if (scr->scr_off || !inside(row, col)) {
        return;
    }
    clear_line(row, col);
}

void scr_clear_eos(int row, int col) {
    if (scr->scr_off || !inside(row, col)) {
        return;
    }
    const usable_area area = usable();
    if (area.offset == 0 && row == 1 && col == 1) {
        win_attr(A_DIM);
        werase(win_current());
    } else {
        clear_line(row, col);
        for (int below = row + 1; below <= area.rows; below++) {
            clear_line(below, 1);
        }
    }
    place(A_DIM, area.rows, area.columns, " ");
    win_attr(A_BOLD);
    scr_move(row, col);
}

int scr_base_text(attr_t attr, int row, int col, const char *format, ...) {
    if (scr == nullptr || scr->scr_off) {
        return 0;
    }
    char text[text_size];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    const int top = scr->scr_cur;
    scr->scr_cur = scr->scr_base;
    const int length = place(attr, row, col, text);
    scr->scr_cur = top;
    win_stage(scr->scr_base, top);
    return length;
}

void scr_flush(int seconds) {
    if (scr != nullptr) {
        win_refresh();
    }
    if (seconds > 0) {
        napms(seconds * 1000);
    }
}

void scr_last_line(attr_t attr, int seconds, const char *format, ...) {
    char text[text_size];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (scr == nullptr) {
        scr_flush(seconds);
        return;
    }
    win_open2(LINES, 1, 1, COLS);
    place(attr, 1, 1, text);
    scr_flush(seconds);
    win_close();
}

void error(const char *format, ...) {
    if (scr == nullptr || scr->scr_off) {
        return;
    }
    const int top = scr->scr_cur;
    scr->scr_cur = scr->scr_base;
    const int old_length = static_cast<int>(std::strlen(scr->scr_msg));
    if (old_length > 0) {
        char blanks[sizeof scr->scr_msg];
        std::snprintf(blanks, sizeof blanks, "%*s", old_length, "");
        place(A_BOLD, LINES, 1, blanks);
    }
    std::va_list args;
    va_start(args, format);
    const auto room = std::min<std::size_t>(sizeof scr->scr_msg, static_cast<std::size_t>(scr->scr_cols) + 1);
    std::vsnprintf(scr->scr_msg, room, format, args);
    va_end(args);
    if (scr->scr_msg[0] != '\0') {
        place(A_BOLD, LINES, 1, scr->scr_msg);
        beep();
    }
    wnoutrefresh(win_current());
    scr->scr_cur = top;
}
