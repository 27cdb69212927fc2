// The preview: pages through a finished job file on the whole screen.
//
// The form feed is the only page mark. The first lines of a page stay on the screen while the operator moves
// on within it; below them the screen shows the file from `view_pos` on. When `view_pos` is the start of the
// page, those first lines are not shown a second time.
#include <algorithm>
#include <cstdio>
#include <new>
#include <string>

#include "print/menu_windows.h"
#include "print/preview_file.h"
#include "print/print_internal.h"

namespace {

enum request : int {
    previous_page = 1001,
    next_page = 1002,
    next_screen = 1003,
    jump = 1004,
    scrolling = 1005,
    copies = 1006,
    head = 1007,
    shift_left = 1008,
    shift_right = 1009,
    first_page = 1011,
    last_page = 1012,
    set_step = 1013,
    print_job_now = 1015,
    do_not_print = 1016,
    ending = 1017,
};

constexpr int form_feed = '\f';

// Kept from one report to the next.
int scroll_step = 52;
int head_lines = 1;

/// The report on the screen.
struct preview_state {
    preview_file job;
    std::string line;
    long page_pos = 0;
    long view_pos = 0;
    int left = 0;
    int page = 1;
    int pages = 1;
    bool redraw_head = true;
    bool end_reached = false;
    tr_menu *menu = nullptr;
};

// ---------------------------------------------------------------------------------------------------------
// The menu

std::string counted(const char *text, int value) {
    return str_format("%-.20s (%d)", text, value);
}

std::string step_text() {
    return counted(term_text(1, 44, "&Instellen"), scroll_step);
}

std::string head_text() {
    return counted(term_text(1, 46, "&Kopregels"), head_lines);
}

tr_menu *make_menu() {
    tr_menu *menu = tr_menu_new(tr_fit_width, 0, 0, 0, term_text(1, 33, "PrintMenu"));
    const auto add = [menu](const char *text, int result, int key) {
        tr_menu_add(menu, text, result, tr_item::enabled, key);
    };
    add(term_text(1, 35, "Vorig blad      <Pg&Up>"), previous_page, KEY_PPAGE);
    add(term_text(1, 36, "Volgend blad    <Pg&Dn>"), next_page, KEY_NPAGE);
    add(term_text(1, 37, "Volgend scherm <&Enter>"), next_screen, key_enter);
    add(term_text(1, 38, "&Spring naar blad  <F6>"), jump, KEY_F(6));
    tr_menu_add(menu, term_text(1, 39, "Scrollen"), scrolling, tr_item::heading, 0);
    add(term_text(1, 40, "Eerste blad     <&Home>"), first_page, KEY_HOME);
    add(term_text(1, 41, "Laa&tste blad     <End>"), last_page, KEY_END);
    add(term_text(1, 42, "&Links              <--"), shift_left, KEY_LEFT);
    add(term_text(1, 43, "&Rechts             -->"), shift_right, KEY_RIGHT);
    tr_menu_add(menu, step_text().c_str(), set_step, tr_item::enabled, 0);
    tr_menu_add(menu, nullptr, scrolling, tr_item::heading, 0);
    add(term_text(1, 45, "&Aantal afdrukken  <F4>"), copies, KEY_F(4));
    tr_menu_add(menu, head_text().c_str(), head, tr_item::enabled, 0);
    tr_menu_add(menu, term_text(1, 47, "Einde"), ending, tr_item::heading, 0);
    add(term_text(1, 48, "&Printen"), print_job_now, 0);
    add(term_text(1, 49, "&Niet printen"), do_not_print, K_ESC);
    return menu;
}

bool wider_than_screen() {
    return prt_job.rpt_width > scr->scr_cols;
}

void set_menu_state(const preview_state &s) {
    const bool more_pages = s.page < s.pages;
    tr_menu_enable(s.menu, next_page, more_pages);
    tr_menu_enable(s.menu, last_page, more_pages);
    tr_menu_enable(s.menu, next_screen, more_pages || (s.job.last_char != form_feed && !s.job.at_end()));
    const bool at_start = s.page == 1 && s.view_pos == s.page_pos;
    tr_menu_enable(s.menu, previous_page, !at_start);
    tr_menu_enable(s.menu, first_page, !at_start);
    tr_menu_enable(s.menu, jump, s.pages >= 2);
    tr_menu_enable(s.menu, shift_left, wider_than_screen() && s.left > 0);
    tr_menu_enable(s.menu, shift_right, wider_than_screen() && s.left + scroll_step < prt_job.rpt_width);
    tr_menu_enable(s.menu, set_step, wider_than_screen());
    tr_menu_enable(s.menu, print_job_now, !prt_job.device.empty() && prt_job.device != "/dev/null");
}

// ---------------------------------------------------------------------------------------------------------
// Drawing

/// The visible part of the line: shifted, cut to the window, control characters as points.
void show_line(preview_state &s, attr_t attr, int row) {
    const auto left = static_cast<std::size_t>(s.left);
    if (left >= s.line.size()) {
        return;
    }
    std::string shown = s.line.substr(left, static_cast<std::size_t>(scr->scr_cols));
    for (char &c : shown) {
        c = static_cast<unsigned char>(c) < 32 ? '.' : c;
    }
    scr_text(attr, row, 1, "%s", shown.c_str());
}

/// Shows lines of the page in the rows `from` to `to`. Returns whether the page continues after them.
bool show_lines(preview_state &s, attr_t attr, int from, int to) {
    for (int row = from; row <= to; row++) {
        s.job.read_line(s.line);
        show_line(s, attr, row);
        if (s.job.last_char == form_feed || s.job.at_end()) {
            return false;
        }
    }
    return true;
}

void draw_status(const preview_state &s) {
    scr_clear_eol(scr->scr_lines, 1);
    if (s.end_reached) {
        scr_text(A_REVERSE, scr->scr_lines, 1, "%s", term_text(1, 50, "Einde overzicht"));
    }
    if (s.pages > 0) {
        const std::string where = str_format("(%-.12s %d %-.12s %d)", term_text(1, 29, "blad"), s.page,
                                             term_text(1, 51, "van"), s.pages);
        scr_text(A_DIM, scr->scr_lines, scr->scr_cols - static_cast<int>(where.size()) + 1, "%s",
                 where.c_str());
    }
    scr_flush(0);
}

/// Rows of the page's head; a small screen keeps some for the lines below.
int head_rows() {
    return std::min(head_lines, std::max(scr->scr_lines - 3, 0));
}

void draw(preview_state &s) {
    const int rows = head_rows();
    bool goes_on = true;
    s.redraw_head = s.redraw_head || s.view_pos == s.page_pos;
    scr_clear_eos(s.redraw_head ? 1 : rows + 1, 1);
    if (s.redraw_head) {
        s.job.seek(s.page_pos);
        goes_on = show_lines(s, A_REVERSE, 1, rows);
    }
    if (s.view_pos != s.page_pos) {
        s.job.seek(s.view_pos);
        goes_on = true;
    }
    if (goes_on) {
        show_lines(s, A_BOLD, rows + 1, scr->scr_lines - 1);
    }
    s.redraw_head = false;
    s.end_reached = s.job.at_end() || (s.job.last_char == form_feed && s.page >= s.pages);
    draw_status(s);
}

// ---------------------------------------------------------------------------------------------------------
// Moving

void show_page(preview_state &s, long start, int page) {
    s.page_pos = s.view_pos = start;
    s.page = page;
    s.redraw_head = true;
}

/// Moves past the next form feed, from where the file was read last; false when there is none.
bool page_forward(preview_state &s) {
    if (!s.job.skip_page()) {
        return false;
    }
    show_page(s, s.job.position(), s.page + 1);
    s.job.last_char = EOF;
    return true;
}

bool page_back(preview_state &s) {
    const long start = s.job.page_before(s.page_pos);
    const bool changed = start != s.page_pos;
    show_page(s, start, std::max(s.page - 1, 1));
    return changed;
}

void to_first_page(preview_state &s) {
    show_page(s, s.job.start, 1);
}

void to_page(preview_state &s, int page) {
    while (s.page < page && page_forward(s)) {
    }
    while (s.page > page && page_back(s)) {
    }
}

void to_next_screen(preview_state &s) {
    if (s.job.last_char == form_feed && s.page < s.pages) {
        page_forward(s);
    } else {
        s.view_pos = s.job.position();
    }
}

// ---------------------------------------------------------------------------------------------------------
// Numbers

struct question {
    int row, col;
    const char *title;
    const char *prompt;
    const char *format;
    int highest;
};

/// Asks for a number from 1 to `highest`; false when the operator cancels.
bool ask(const question &what, int &value) {
    win_open2(what.row, what.col, 3, 40);
    win_title("%s", what.title);
    scr_text(A_DIM, 1, 2, "%s: ", what.prompt);
    auto typed = static_cast<short>(value);
    scr->scr_keys->ing_min = 1.0;
    scr->scr_keys->ing_max = what.highest;
    INGAVE(1, static_cast<int>(std::char_traits<char>::length(what.prompt)) + 4, what.format, {&K_CANCEL},
           &typed);
    win_close();
    if (scr->ing_exit == K_CANCEL || scr->ing_exit == K_ESC || typed == 0) {
        return false;
    }
    value = typed;
    return true;
}

void ask_page(preview_state &s) {
    int page = 0;
    if (ask({18, 41, term_text(1, 55, "GA NAAR BLAD"), term_text(1, 29, "blad"), "4d,P", s.pages}, page)) {
        to_page(s, page);
    }
}

void ask_copies() {
    ask({18, 41, term_text(1, 52, "Aantal Afdrukken"), term_text(1, 53, "Aantal"), "4d,P", 20},
        prt_job.copies);
}

void ask_head(preview_state &s) {
    if (ask({18, 41, term_text(1, 54, "Kopregels"), term_text(1, 53, "Aantal"), "4d,P", 15}, head_lines)) {
        tr_menu_text(s.menu, head, head_text().c_str());
        s.redraw_head = true;
    }
}

void ask_step(preview_state &s) {
    if (ask({10, 36, term_text(1, 30, "INGAVE SCROLL LENGTE"), term_text(1, 31, "Aantal posities"), "3d,P",
             scr->scr_cols},
            scroll_step)) {
        tr_menu_text(s.menu, set_step, step_text().c_str());
    }
}

void shift(preview_state &s, int columns) {
    s.left = std::max(s.left + columns, 0);
    s.redraw_head = true;
}

// ---------------------------------------------------------------------------------------------------------
// The dialogue

/// One key; what it asks for, or what the operator chooses in the menu. 0 for nothing.
int read_request(const preview_state &s) {
    scr_reading(true);
    int key = key_get(win_current());
    scr_reading(false);
    if (key == K_ESC || key == K_CANCEL) {
        return do_not_print;
    }
    if (key >= 'b' && key <= 'y') {
        key = char_upper_of(static_cast<unsigned char>(key));
    }
    const int found = tr_menu_find(s.menu, key);
    return found != 0 ? found : tr_menu_run(s.menu, 0);
}

void carry_out(preview_state &s, int wanted) {
    switch (wanted) {
        case previous_page:
            s.page > 1 ? static_cast<void>(page_back(s)) : to_first_page(s);
            break;
        case next_page:
            page_forward(s);
            break;
        case next_screen:
            to_next_screen(s);
            break;
        case jump:
            ask_page(s);
            break;
        case copies:
            ask_copies();
            break;
        case head:
            ask_head(s);
            break;
        case shift_left:
            shift(s, -scroll_step);
            break;
        case shift_right:
            shift(s, scroll_step);
            break;
        case first_page:
            to_first_page(s);
            break;
        case last_page:
            to_page(s, s.pages);
            break;
        case set_step:
            ask_step(s);
            break;
        default:
            break;
    }
}

void reserve_line(std::string &line) {
    try {
        line.reserve(static_cast<std::size_t>(std::max(prt_job.rpt_width, 0)) + 1);
    } catch (const std::bad_alloc &) {
        scr_fatal("PRT_SCR : %s", term_text(1, 17, "Onvoldoende geheugen"));
    }
}

/// Goes through the report until the operator ends it; true to print.
bool page_through(preview_state &s) {
    for (;;) {
        draw(s);
        int wanted = 0;
        do {
            set_menu_state(s);
            wanted = read_request(s);
            draw_status(s);
        } while (wanted == 0 || (tr_menu_state(s.menu, wanted) & tr_item_on) == 0);
        if (wanted == print_job_now || wanted == do_not_print) {
            return wanted == print_job_now;
        }
        carry_out(s, wanted);
    }
}

}  // namespace

bool PRT_SCR() {
    preview_state s;
    if (file_size(prt_job.job_file.c_str()) < 0 ||
        !s.job.open(prt_job.job_file.c_str(), prt_job.start_offset, prt_job.rpt_width)) {
        error("%s", term_text(1, 32, "Kan tijdelijk print bestand niet openen !"));
        return false;
    }
    s.menu = make_menu();
    // It would cover the page number.
    busy_hold();
    reserve_line(s.line);
    scr_switch_terminal(prt_job.rpt_width > 80 ? "-w" : "");
    tr_menu_place(s.menu, scr->scr_lines - tr_menu_choices(s.menu) - 6,
                  scr->scr_cols - tr_menu_widest(s.menu) - 3);
    s.pages = std::max(prt_job.rpt_pages - 1, 1);
    to_first_page(s);
    const bool print = page_through(s);
    s.job.close();
    tr_menu_free(s.menu);
    win_close();
    busy_release();
    return print;
}
