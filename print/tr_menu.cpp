// Menu windows.
#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "print/menu_windows.h"
#include "screen/screen.h"

namespace {

constexpr int narrowest = 5;
constexpr int widest = 64;

struct item {
    std::string text;  ///< as shown, without the "&"
    int result = 0;
    int key = 0;
    int hot = 0;      ///< hot letter as a capital, 0 for none
    int hot_at = -1;  ///< its place in the text
    bool enabled = false;
    bool heading = false;
};

int upper(int key) {
    return key >= 0 && key < 256 ? char_upper_of(static_cast<unsigned char>(key)) : key;
}

void set_text(item &it, const char *text) {
    it.text = text == nullptr ? "" : text;
    it.hot = 0;
    it.hot_at = -1;
    const std::size_t mark = it.text.find('&');
    if (mark != std::string::npos && mark + 1 < it.text.size()) {
        it.text.erase(mark, 1);
        it.hot_at = static_cast<int>(mark);
        it.hot = upper(static_cast<unsigned char>(it.text[mark]));
    }
}

bool answers_to(const item &it, int key) {
    return !it.heading && key != 0 && (it.hot == key || it.key == key);
}

int width_of(const item &it) {
    return static_cast<int>(it.text.size()) + (it.heading ? 4 : 2);
}

}  // namespace

struct tr_menu {
    unsigned flags = 0;
    int row = 0, col = 0;
    int width = 0;  ///< inside the frame
    std::string title;
    std::vector<item> items;
    int shown = 0;  ///< items that fit on the screen
};

namespace {

int count(const tr_menu &menu) {
    return static_cast<int>(menu.items.size());
}

item &at(tr_menu &menu, int index) {
    return menu.items[static_cast<std::size_t>(index)];
}

/// The item with that result; null, after telling the operator, when there is none.
const item *find(const tr_menu &menu, int result) {
    for (const item &it : menu.items) {
        if (it.result == result && !it.heading) {
            return &it;
        }
    }
    error("Item_ID %d not found !", result);
    return nullptr;
}

item *find(tr_menu &menu, int result) {
    return const_cast<item *>(find(static_cast<const tr_menu &>(menu), result));
}

void fit_width(tr_menu &menu) {
    if ((menu.flags & tr_fit_width) != 0) {
        for (const item &it : menu.items) {
            menu.width = std::max(menu.width, width_of(it));
        }
    }
}

void settle_place(tr_menu &menu) {
    menu.width = menu.width < narrowest ? narrowest : std::min(menu.width, widest);
    if (menu.col <= 0 || menu.col > scr->scr_cols - 5) {
        menu.col = 1;
    }
    if (menu.row <= 1 || menu.row > scr->scr_lines - 2) {
        menu.row = 2;
    }
    if (menu.col + menu.width > scr->scr_cols - 1) {
        menu.col = scr->scr_cols - menu.width - 1;
    }
    menu.shown = count(menu);
    if (menu.row + menu.shown >= scr->scr_lines) {
        if (menu.shown >= scr->scr_lines - 2) {
            menu.row = 2;
            menu.shown = scr->scr_lines - 3;
        } else {
            menu.row = scr->scr_lines - menu.shown;
        }
    }
}

void draw_heading(const tr_menu &menu, const item &it, int row) {
    const auto width = static_cast<std::size_t>(menu.width);
    scr_text(A_DIM | A_ALTCHARSET, row, 1, "%s", std::string(width, 'q').c_str());
    if (!it.text.empty()) {
        const int col = std::max((menu.width - static_cast<int>(it.text.size())) / 2 + 1, 1);
        scr_text(A_DIM, row, col, "%s", it.text.c_str());
    }
}

void draw(tr_menu &menu, int index, bool current) {
    const item &it = at(menu, index);
    const int row = index + 1;
    if (it.heading) {
        draw_heading(menu, it, row);
        return;
    }
    const attr_t bar = current ? A_REVERSE : A_NORMAL;
    scr_text(current      ? A_REVERSE
             : it.enabled ? A_BOLD
                          : A_DIM,
             row, 1, " %-*.*s", menu.width - 1, menu.width - 1, it.text.c_str());
    if (it.hot_at >= 0) {
        scr_text(A_UNDERLINE | A_BOLD | bar, row, it.hot_at + 2, "%c",
                 it.text[static_cast<std::size_t>(it.hot_at)]);
    }
}

/// Where the choice begins: the wanted item, else the first enabled one, else the first that is not a
/// heading.
int first_item(tr_menu &menu, int first) {
    int enabled = -1;
    int any = -1;
    for (int i = menu.shown - 1; i >= 0; i--) {
        const item &it = at(menu, i);
        if (it.heading) {
            continue;
        }
        if (it.enabled && it.result == first) {
            return i;
        }
        any = i;
        enabled = it.enabled ? i : enabled;
    }
    return enabled >= 0 ? enabled : any;
}

int step(tr_menu &menu, int from, int direction) {
    int to = from;
    do {
        to = (to + direction + menu.shown) % menu.shown;
    } while (at(menu, to).heading);
    return to;
}

const item *enabled_item(const tr_menu &menu, int key) {
    for (const item &it : menu.items) {
        if (it.enabled && answers_to(it, key)) {
            return &it;
        }
    }
    return nullptr;
}

/// The chosen result, 0 for leaving. The window is open.
int choose(tr_menu &menu, int current) {
    for (;;) {
        draw(menu, current, true);
        scr_flush(0);
        int key = key_get(win_current());
        error("%s", "");
        if (key == key_enter && at(menu, current).enabled) {
            return at(menu, current).result;
        }
        if (key == K_UP || key == K_DOWN) {
            draw(menu, current, false);
            current = step(menu, current, key == K_UP ? -1 : 1);
            continue;
        }
        if (key == K_ESC || key == K_CANCEL) {
            if ((menu.flags & tr_no_leave) == 0) {
                scr->ing_exit = K_CANCEL;
                return 0;
            }
            continue;
        }
        if (key == KEY_LEFT || key == KEY_RIGHT || key == ' ') {
            continue;
        }
        key = key == ',' ? '.' : upper(key);
        if (const item *chosen = enabled_item(menu, key)) {
            return chosen->result;
        }
    }
}

}  // namespace

tr_menu *tr_menu_new(unsigned flags, int row, int col, int width, const char *title) {
    auto *menu = new (std::nothrow) tr_menu;
    if (menu == nullptr) {
        scr_fatal("TR_MENU : %s", term_text(1, 17, "Onvoldoende geheugen"));
    }
    menu->flags = flags;
    menu->row = row;
    menu->col = col;
    menu->width = width;
    menu->title = title == nullptr ? "" : title;
    return menu;
}

void tr_menu_free(tr_menu *menu) {
    delete menu;
}

void tr_menu_add(tr_menu *menu, const char *text, int result, tr_item kind, int key) {
    item it;
    it.result = result;
    it.key = key;
    it.enabled = kind == tr_item::enabled;
    it.heading = kind == tr_item::heading;
    set_text(it, text);
    menu->items.push_back(std::move(it));
    fit_width(*menu);
    if (text != nullptr) {
        if ((menu->flags & tr_centre_col) != 0) {
            menu->col = scr->scr_cols / 2 - (menu->width + 2) / 2;
        }
        if ((menu->flags & tr_centre_row) != 0) {
            menu->row = scr->scr_lines / 2 - (count(*menu) + 2) / 2;
        }
    }
}

void tr_menu_enable(tr_menu *menu, int result, bool on) {
    if (item *it = find(*menu, result)) {
        it->enabled = on;
    }
}

void tr_menu_text(tr_menu *menu, int result, const char *text) {
    if (item *it = find(*menu, result)) {
        set_text(*it, text);
        fit_width(*menu);
    }
}

unsigned tr_menu_state(const tr_menu *menu, int result) {
    const item *it = find(*menu, result);
    return it != nullptr && it->enabled ? tr_item_on : 0;
}

void tr_menu_place(tr_menu *menu, int row, int col) {
    menu->row = row;
    menu->col = col;
}

int tr_menu_widest(const tr_menu *menu) {
    std::size_t length = 0;
    for (const item &it : menu->items) {
        length = std::max(length, it.text.size());
    }
    return static_cast<int>(length);
}

int tr_menu_choices(const tr_menu *menu) {
    return static_cast<int>(
        std::count_if(menu->items.begin(), menu->items.end(), [](const item &it) { return !it.heading; }));
}

int tr_menu_find(const tr_menu *menu, int key) {
    for (const item &it : menu->items) {
        if (answers_to(it, key)) {
            return it.result;
        }
    }
    return 0;
}

int tr_menu_run(tr_menu *menu, int first) {
    busy_off();
    if (key_pending()) {
        const int key = key_get(win_current());
        if (const item *chosen = enabled_item(*menu, upper(key))) {
            return chosen->result;
        }
        key_unget(key);
    }
    settle_place(*menu);
    const int current = first_item(*menu, first);
    if (current < 0) {
        return 0;
    }
    win_open7(menu->row, menu->col, menu->shown + 2, menu->width + 2);
    win_title("%s", menu->title.c_str());
    curs_set(0);
    for (int i = 0; i < menu->shown; i++) {
        draw(*menu, i, false);
    }
    const int result = choose(*menu, current);
    curs_set(1);
    win_close();
    return result;
}
