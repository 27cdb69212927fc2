// Placing text: one call with an attribute, a row, a column and a format. Also the message line.
#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <string_view>

#include "screen/screen_internal.h"

namespace {

/// The usable part of the current window.
struct usable_area {
    bool framed;
    int offset;  ///< curses position of row 1 and column 1
    int rows;
    int columns;
};

/// False while nothing can be shown: there is no session, or the terminal is passing output to its printer.
bool showing() {
    return scr != nullptr && scr->scr_nwin > 0 && !scr->scr_off;
}

usable_area usable() {
    const auto &entry = scr->windows[static_cast<std::size_t>(scr->scr_cur)];
    const int frame = entry.border ? 2 : 0;
    return {entry.border, entry.border ? 1 : 0, getmaxy(entry.window) - frame, getmaxx(entry.window) - frame};
}

bool inside(int row, int col) {
    const usable_area area = usable();
    return row >= 1 && row <= area.rows && col >= 1 && col <= area.columns;
}

/// Placed text reaches the terminal at most once a second.
void refresh_rule() {
    const std::time_t now = std::time(nullptr);
    // Compared with "not equal", not "later": a clock that is set back must not freeze the screen.
    if (now != scr->scr_last_refresh) {
        scr->scr_last_refresh = now;
        win_refresh();
    }
}

/// Places text without showing it.
int put(attr_t attr, int row, int col, std::string_view text) {
    if (!showing() || !inside(row, col)) {
        return 0;
    }
    const auto room = static_cast<std::size_t>(usable().columns - col + 1);
    text = text.substr(0, room);
    win_attr(attr);
    scr_move(row, col);
    charset_add(win_current(), text.data(), static_cast<int>(text.size()));
    win_attr(A_BOLD);
    return static_cast<int>(text.size());
}

int place(attr_t attr, int row, int col, std::string_view text) {
    const int length = put(attr, row, col, text);
    if (length > 0) {
        refresh_rule();
    }
    return length;
}

void clear_line(int row, int col) {
    scr_move(row, col);
    win_attr(A_DIM);
    wclrtoeol(win_current());
    if (usable().framed) {
        WINDOW *window = win_current();
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
    if (!showing()) {
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
    if (!showing()) {
        return;
    }
    std::string title;
    if (format != nullptr) {
        std::va_list args;
        va_start(args, format);
        title = str_vformat(format, args);
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
    // A title too long for the frame must leave the corners visible.
    const int width = getmaxx(entry.window);
    title.resize(std::min(title.size(), static_cast<std::size_t>(std::max(width - 2, 0))));
    place(A_BOLD, 1, (width - static_cast<int>(title.size())) / 2 + 1, title);
    entry.border = true;
}

int scr_text(attr_t attr, int row, int col, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const std::string text = str_vformat(format, args);
    va_end(args);
    return place(attr, row, col, text);
}

int scr_add(const char *format, ...) {
    if (!showing()) {
        return 0;
    }
    std::va_list args;
    va_start(args, format);
    const std::string text = str_vformat(format, args);
    va_end(args);
    WINDOW *window = win_current();
    const usable_area area = usable();
    const int room = std::max(area.offset + area.columns - getcurx(window), 0);
    charset_add(window, text.data(), std::min(static_cast<int>(text.size()), room));
    return static_cast<int>(text.size());
}

void scr_move(int row, int col) {
    if (!showing() || !inside(row, col)) {
        return;
    }
    const int offset = usable().offset;
    wmove(win_current(), row - 1 + offset, col - 1 + offset);
}

void scr_clear_eol(int row, int col) {
    if (!showing() || !inside(row, col)) {
        return;
    }
    clear_line(row, col);
}

void scr_clear_eos(int row, int col) {
    if (!showing() || !inside(row, col)) {
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
    if (!showing()) {
        return 0;
    }
    std::va_list args;
    va_start(args, format);
    const std::string text = str_vformat(format, args);
    va_end(args);
    const int top = scr->scr_cur;
    scr->scr_cur = scr->scr_base;
    const int length = put(attr, row, col, text);
    scr->scr_cur = top;
    win_stage(scr->scr_base, top);
    refresh_rule();
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
    std::va_list args;
    va_start(args, format);
    const std::string text = str_vformat(format, args);
    va_end(args);
    if (!showing()) {
        napms(seconds * 1000);
        return;
    }
    win_open2(LINES, 1, 1, COLS);
    put(attr, 1, 1, text);
    scr_flush(seconds);
    win_close();
    win_refresh();
}

void error(const char *format, ...) {
    if (!showing()) {
        return;
    }
    std::va_list args;
    va_start(args, format);
    std::string text = str_vformat(format, args);
    va_end(args);
    text.resize(std::min({text.size(), sizeof scr->scr_msg - 1, static_cast<std::size_t>(scr->scr_cols)}));

    const int top = scr->scr_cur;
    scr->scr_cur = scr->scr_base;
    if (scr->scr_msg[0] != '\0') {
        put(A_BOLD, LINES, 1, std::string(std::strlen(scr->scr_msg), ' '));
    }
    std::snprintf(scr->scr_msg, sizeof scr->scr_msg, "%s", text.c_str());
    if (!text.empty()) {
        put(A_BOLD, LINES, 1, text);
        beep();
    }
    wnoutrefresh(win_current());
    scr->scr_cur = top;
    refresh_rule();
}

kept_last_line::kept_last_line() : cells_(static_cast<std::size_t>(COLS) + 1) {
    WINDOW *base = scr->windows[static_cast<std::size_t>(scr->scr_base)].window;
    int row = 0;
    int col = 0;
    getyx(base, row, col);
    if (mvwin_wchnstr(base, LINES - 1, 0, cells_.data(), COLS) == ERR) {
        cells_.clear();
    }
    wmove(base, row, col);
    // A message that is already on the line is not kept with it.
    const std::size_t length = std::min(std::strlen(scr->scr_msg), cells_.size());
    for (std::size_t i = 0; i < length; i++) {
        if ((cells_[i].attr & A_BOLD) != 0) {
            cells_[i].chars[0] = L' ';
        }
    }
}

void kept_last_line::clear_message() const {
    const auto length = showing() ? static_cast<int>(std::strlen(scr->scr_msg)) : 0;
    if (length == 0) {
        return;
    }
    error("%s", "");
    if (cells_.empty()) {
        return;
    }
    WINDOW *base = scr->windows[static_cast<std::size_t>(scr->scr_base)].window;
    int row = 0;
    int col = 0;
    getyx(base, row, col);
    mvwadd_wchnstr(base, LINES - 1, 0, cells_.data(), length);
    wmove(base, row, col);
    wnoutrefresh(base);
}
