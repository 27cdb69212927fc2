// Message boxes.
#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "screen/screen_internal.h"

namespace {

constexpr std::size_t flash_lines = 20;
constexpr std::size_t flash_line_width = 76;
constexpr std::size_t flash_text_size = 1024;
constexpr std::size_t longest_title = 65;

std::vector<std::string> split_lines(std::string text) {
    std::replace(text.begin(), text.end(), '\t', ' ');
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (lines.size() < flash_lines) {
        const auto end = text.find('\n', start);
        lines.push_back(text.substr(start, std::min(end, text.size()) - start).substr(0, flash_line_width));
        if (end == std::string::npos) {
            break;
        }
        start = end + 1;
    }
    return lines;
}

struct flash_box {
    std::string title;
    std::vector<std::string> lines;
    int width = 0;
    int height = 0;
};

flash_box measure(int wait, const char *title, std::string text) {
    flash_box box;
    const std::size_t title_length = title == nullptr ? 0 : std::strlen(title);
    if (title_length >= 1 && title_length <= longest_title) {
        box.title = " " + std::string(title) + " ";
    }
    const std::size_t title_width = (box.title.size() + 1) / 2 * 2;
    box.lines = split_lines(std::move(text));
    if (wait != flash_question && box.lines.size() == 1 && box.lines[0].empty()) {
        box.lines.clear();
    }
    std::size_t text_width = 0;
    for (const std::string &line : box.lines) {
        text_width = std::max(text_width, line.size());
    }
    if (wait == flash_question) {
        constexpr std::size_t answer_width = 9;
        const std::size_t with_answer = box.lines.back().size() + answer_width;
        if (with_answer > text_width && with_answer <= flash_line_width) {
            text_width = with_answer;
        }
    }
    std::size_t width = text_width + 4 > title_width ? text_width + 4 : 14;
    if (wait < 0) {
        width = std::max(width, std::size_t{32});
    }
    box.width = static_cast<int>(std::max(width, title_width + 2));
    box.height = static_cast<int>(box.lines.size()) + 2 + (wait == flash_enter ? 1 : 0);
    return box;
}

void open_flash(const flash_box &box, int place) {
    const int row = (LINES - box.height) / 2;
    const int col = (COLS - box.width) / 2 + 1;
    switch (place) {
        case 1:
            win_open2(row, col, box.height, box.width);
            break;
        case 2:
            win_open3(row, col, box.height, box.width);
            break;
        default:
            win_open1(row, col, box.height, box.width);
            break;
    }
    win_title("%s", box.title.c_str());
}

/// Waits as `wait` says and keeps the caller's key state.
int wait_for_answer(int wait, const flash_box &box) {
    const auto last_row = static_cast<int>(box.lines.size());
    const kept_key_state kept;
    int answer = 1;
    if (wait == flash_enter) {
        ing_enter(last_row + 1, 2);
    } else {
        answer = ing_akkoord(last_row, 2, "%s", box.lines.back().c_str());
    }
    return answer;
}

}  // namespace

int FFLASH(int wait, int place, attr_t attribute, const char *title, const char *format, ...) {
    if (wait < flash_question) {
        scr_fatal("FFLASH invalid option [%d]", wait);
    }
    std::va_list args;
    va_start(args, format);
    std::string text = str_vformat(format, args);
    va_end(args);
    text.resize(std::min(text.size(), flash_text_size - 1));
    const flash_box box = measure(wait, title, std::move(text));
    open_flash(box, place);
    const std::size_t shown = box.lines.size() - (wait == flash_question ? 1 : 0);
    for (std::size_t i = 0; i < shown; i++) {
        scr_text(attribute, static_cast<int>(i) + 1, 2, "%s", box.lines[i].c_str());
    }
    scr_flush(0);
    int answer = 1;
    if (wait >= 0) {
        scr_flush(wait);
    } else {
        answer = wait_for_answer(wait, box);
    }
    win_close();
    scr_flush(0);
    return answer;
}

void msg_box(msg_kind kind, const char *line1, const char *line2, const char *line3) {
    constexpr int screen_width = 80;
    const char *enter = detail_text(1, 959, "<ENTER> voor vervolg");
    std::vector<const char *> lines;
    std::size_t longest = 0;
    for (const char *line : {line1, line2, line3}) {
        if (line != nullptr) {
            lines.push_back(line);
            longest = std::max(longest, std::strlen(line));
        }
    }
    const auto height = static_cast<int>(lines.size()) + 3;
    const auto wanted = static_cast<int>(std::max(longest + 4, std::strlen(enter) + 6));
    const int width = std::min(wanted, screen_width);
    const int row = scr->scr_lines - 1 - height;
    const int col = (screen_width - width) / 2 + 1;
    if (kind == msg_kind::info) {
        win_open1(row, col, height, width);
    } else {
        win_open3(row, col, height, width);
        beep();
    }
    if (kind == msg_kind::warning) {
        win_title(" %s ", detail_text(4, 231, "waarschuwing"));
    } else {
        win_title("%s", "");
    }
    for (std::size_t i = 0; i < lines.size(); i++) {
        scr_text(A_BOLD, static_cast<int>(i) + 1, 2, "%s", lines[i]);
    }
    scr_text(A_DIM, height - 2, 2, "%s", enter);
    const kept_key_state kept;
    key_allow(key_enter);
    ing_key({}, "");
    win_close();
}

void msg_info(const char *line1, const char *line2, const char *line3) {
    msg_box(msg_kind::info, line1, line2, line3);
}

void msg_error(const char *line1, const char *line2, const char *line3) {
    msg_box(msg_kind::error, line1, line2, line3);
}

void msg_warning(const char *line1, const char *line2, const char *line3) {
    msg_box(msg_kind::warning, line1, line2, line3);
}

void wait_box() {
    const char *text = detail_text(3, 596, "Even geduld a.u.b.");
    const auto width = static_cast<int>(std::strlen(text)) + 5;
    win_open1(scr->scr_lines / 2, (scr->scr_cols - width) / 2 + 1, 3, width);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", text);
    scr_flush(0);
    win_close();
}
