// The progress bars: one in a window of its own, one on the last line of the screen.
#include <algorithm>
#include <cstring>
#include <string>

#include "screen/screen_internal.h"

namespace {

bool bar_window = false;
int bar_mark = 0;
std::string last_line;  // the text of the bar on the last line; empty while there is none
int last_line_mark = 0;

std::string checkerboard(int width) {
    return std::string(static_cast<std::size_t>(std::max(width, 0)), charset_drawing('a'));
}

int bar_length(std::uint32_t value, std::uint32_t total, int width) {
    if (total == 0) {
        total = std::max(value, 1U);
    }
    width = std::max(width, 0);
    const std::uint64_t length = std::uint64_t{value} * static_cast<std::uint64_t>(width) / total;
    return static_cast<int>(std::min<std::uint64_t>(length, static_cast<std::uint64_t>(width)));
}

void open_window(const char *title) {
    win_open2(LINES - 3, 1, 3, COLS);
    win_title("%s", title == nullptr ? "" : title);
    scr_text(A_DIM | A_ALTCHARSET, 1, 1, "%s", checkerboard(COLS - 2).c_str());
    curs_set(0);
    scr_flush(0);
    bar_window = true;
    bar_mark = 0;
}

void step_window(std::uint32_t value, std::uint32_t total) {
    if (!bar_window) {
        return;
    }
    const int length = bar_length(value, total, COLS - 2);
    if (length > bar_mark) {
        scr_text(A_BOLD | A_REVERSE, 1, 1, "%*s", length, "");
        scr_move(1, 1);
        scr_flush(0);
        bar_mark = length;
    }
}

void close_window() {
    if (bar_window) {
        bar_window = false;
        win_close();
    }
    curs_set(1);
    scr_flush(0);
    bar_mark = 0;
}

void park_cursor() {
    scr_move(win_rows(), 1);
}

void open_last_line(const char *title) {
    constexpr std::size_t longest_title = 69;
    const auto width = static_cast<std::size_t>(COLS);
    scr_base_text(A_DIM | A_ALTCHARSET, LINES, 1, "%s", checkerboard(COLS).c_str());
    last_line.assign(width, ' ');
    last_line_mark = 0;
    const std::size_t length = title == nullptr ? 0 : std::strlen(title);
    if (length >= 1 && length <= longest_title && length < width) {
        const std::size_t at = (width - length) / 2;
        last_line.replace(at, length, title);
        scr_base_text(A_DIM, LINES, static_cast<int>(at) + 1, "%s", title);
    }
    park_cursor();
    curs_set(0);
    scr_flush(0);
}

void step_last_line(std::uint32_t value, std::uint32_t total, const char *title) {
    if (last_line.empty()) {
        open_last_line(title);
    }
    const int length = bar_length(value, total, static_cast<int>(last_line.size()));
    if (length > last_line_mark) {
        scr_base_text(A_BOLD | A_REVERSE, LINES, 1, "%.*s", length, last_line.c_str());
        park_cursor();
        scr_flush(0);
        last_line_mark = length;
    }
}

void clear_last_line() {
    scr_base_text(A_BOLD, LINES, 1, "%*s", COLS, "");
    curs_set(1);
    scr_flush(0);
    last_line.clear();
    last_line_mark = 0;
}

}  // namespace

void progress_draw(int action, std::uint32_t value, std::uint32_t total, const char *title) {
    switch (action) {
        case 0:
            open_window(title);
            break;
        case 1:
            step_window(value, total);
            break;
        case 2:
            close_window();
            break;
        case 3:
            open_last_line(title);
            break;
        case 4:
            step_last_line(value, total, title);
            break;
        case 5:
            clear_last_line();
            break;
        default:
            break;
    }
}
