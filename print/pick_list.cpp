// Pick lists. The window shows a range of the records. The list knows only which record is in its first row,
// and how far the caller's current record is from that one.
#include "print/pick_list.h"

#include <algorithm>
#include <new>
#include <vector>

#include "screen/screen.h"

namespace {

constexpr std::size_t longest_title = 80;

struct pick_view {
    pick_list &list;
    int row = 0, col = 0, height = 0, width = 0;
    int first_row = 1;                 ///< window row of the first record
    int rows = 1;                      ///< records that fit
    long top = 0;                      ///< record in the first row, counted from where the list began
    long position = 0;                 ///< the caller's record, counted in the same way
    int current = 0;                   ///< row of the bar, from 0
    std::vector<std::string> shown{};  ///< texts of the rows
};

int last_shown(const pick_view &view) {
    return static_cast<int>(view.shown.size()) - 1;
}

/// A record forward or back; false at the end.
bool step(pick_view &view, int direction) {
    if (!view.list.move(direction)) {
        return false;
    }
    view.position += direction;
    return true;
}

void go(pick_view &view, long target) {
    while (view.position != target && step(view, view.position < target ? 1 : -1)) {
    }
}

void settle_place(pick_view &view) {
    const pick_list &list = view.list;
    const int title = static_cast<int>(std::min(list.title.size(), longest_title));
    view.row = list.row == 0 ? 3 : std::clamp(list.row, 1, std::max(scr->scr_lines - 5, 1));
    view.width = list.width == 0 ? static_cast<int>(list.row_text().size()) + 4 : list.width;
    view.width = std::min(std::max(view.width, title + 4), scr->scr_cols);
    const int rightmost = scr->scr_cols - view.width + 1;
    view.col = list.col == 0 ? rightmost : std::min(list.col, rightmost);
    // The frame, the line of the input, and room for a record.
    view.first_row = list.heads == nullptr ? 1 : 2;
    const int least = view.first_row + 3;
    const int most = scr->scr_lines - view.row;
    view.height = std::max(list.height == 0 ? most : std::min(list.height, most), least);
    view.rows = view.height - (view.first_row - 1) - 3;
}

void draw_row(const pick_view &view, int index) {
    const int inside = view.width - 2;
    scr_text(index == view.current ? A_REVERSE : A_BOLD, view.first_row + index, 1, " %-*.*s", inside - 1,
             inside - 1, view.shown[static_cast<std::size_t>(index)].c_str());
}

/// Shows the records from `top` on.
void fill(pick_view &view, long top, int current) {
    view.top = top;
    view.shown.clear();
    go(view, top);
    do {
        view.shown.push_back(view.list.row_text());
    } while (last_shown(view) + 1 < view.rows && step(view, 1));
    view.current = std::min(current, last_shown(view));
    for (int index = 0; index < view.rows; index++) {
        if (index <= last_shown(view)) {
            draw_row(view, index);
        } else {
            scr_clear_eol(view.first_row + index, 1);
        }
    }
}

void move_bar(pick_view &view, int to) {
    const int from = view.current;
    view.current = to;
    draw_row(view, from);
    draw_row(view, to);
}

/// Continues from the last record shown, with the bar on it or on the one after it. False at the last record.
bool go_on(pick_view &view, int behind) {
    const long last = view.top + last_shown(view);
    go(view, last);
    if (!step(view, 1)) {
        return false;
    }
    // When only one record fits, the next one takes its place.
    view.rows > 1 ? fill(view, last, behind) : fill(view, last + 1, 0);
    return true;
}

void row_up(pick_view &view) {
    if (view.current > 0) {
        move_bar(view, view.current - 1);
        return;
    }
    go(view, view.top);
    if (step(view, -1)) {
        fill(view, view.position, 0);
    }
}

void row_down(pick_view &view) {
    if (view.current < last_shown(view)) {
        move_bar(view, view.current + 1);
    } else {
        go_on(view, 1);
    }
}

void page_down(pick_view &view) {
    if (!go_on(view, 0)) {
        move_bar(view, last_shown(view));
    }
}

void page_up(pick_view &view) {
    go(view, view.top);
    for (int steps = 0; steps < view.rows && step(view, -1); steps++) {
    }
    if (view.position == view.top) {
        move_bar(view, 0);
    } else {
        fill(view, view.position, 0);
    }
}

/// True for a pick, false for leaving. The window is open.
bool choose(pick_view &view) {
    for (;;) {
        for (const int key : {K_UP, K_DOWN, K_PGUP, K_PGDN, K_CANCEL, K_F3}) {
            key_allow(key);
        }
        view.list.input();
        const int key = scr->ing_exit;
        if (key == K_CANCEL || key == K_ESC) {
            return false;
        }
        if (key == key_enter || key == K_F3) {
            return true;
        }
        if (key == K_UP) {
            row_up(view);
        } else if (key == K_DOWN) {
            row_down(view);
        } else if (key == K_PGUP) {
            page_up(view);
        } else if (key == K_PGDN) {
            page_down(view);
        }
    }
}

}  // namespace

pick_list *pick_new(bool (*move)(int n), void (*input)(), void (*heads)(), std::string (*row_text)()) {
    auto *list = new (std::nothrow) pick_list;
    if (list != nullptr) {
        list->move = move;
        list->input = input;
        list->heads = heads;
        list->row_text = row_text;
    }
    return list;
}

void pick_free(pick_list *list) {
    delete list;
}

bool pick_run(pick_list *list) {
    if (!list->move(0)) {
        return false;
    }
    pick_view view{*list};
    settle_place(view);
    win_open7(view.row, view.col, view.height, view.width);
    win_title("%s", list->title.substr(0, longest_title).c_str());
    if (list->heads != nullptr) {
        list->heads();
    }
    fill(view, 0, 0);
    const bool picked = choose(view);
    go(view, view.top + view.current);
    win_close();
    return picked;
}
