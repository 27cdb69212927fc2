// A program that goes through one scenario of the screen layer, for the tests that look at its screen.
//   screen_probe SCENARIO
// Each scenario ends when a key is pressed.
#include <cstdio>
#include <map>
#include <string>

#include "screen/screen.h"

namespace {

/// Shows the number of the step after everything else, so that a test knows when the screen is complete.
int wait_key() {
    static int step = 0;
    scr_flush(0);
    scr_base_text(A_DIM, 24, 71, "stap %d", ++step);
    scr_flush(0);
    return key_get(win_current());
}

void placing() {
    int placed[6];
    placed[0] = scr_text(A_BOLD, 3, 0, "links buiten");
    placed[1] = scr_text(A_BOLD, 3, scr->scr_cols, "rand");
    placed[2] = scr_text(A_BOLD, scr->scr_lines + 1, 1, "onder buiten");
    placed[3] = scr_text(A_BOLD, 4, 71, "%s", "afgesneden bij de rand");
    win_open1(6, 10, 5, 30);
    scr_text(A_BOLD, 1, 1, "zonder kader");
    win_title(" %s ", "titel");
    placed[4] = scr_text(A_BOLD, 1, 1, "met kader");
    placed[5] = scr_text(A_BOLD, 4, 1, "onder het kader");
    scr_text(A_BOLD, 3, 1, "%s", "deze regel is langer dan het venster");
    scr_text(A_BOLD | A_UNDERLINE, 2, 1, "kop");
    scr_text(A_BOLD | A_REVERSE, 2, 10, "keuze");
    scr->scr_off = true;
    const int off = scr_text(A_BOLD, 1, 1, "onzichtbaar");
    error("ook onzichtbaar");
    scr->scr_off = false;
    scr_base_text(A_BOLD, 20, 1, "uitkomst %d %d %d %d %d %d %d", placed[0], placed[1], placed[2], placed[3],
                  placed[4], placed[5], off);
    wait_key();
}

void clearing() {
    win_open1(3, 5, 6, 20);
    win_title(nullptr);
    for (int row = 1; row <= 4; row++) {
        scr_text(A_BOLD, row, 1, "%s", "XXXXXXXXXXXXXXXXXX");
    }
    scr_clear_eol(1, 4);
    scr_clear_eos(3, 2);
    wait_key();
    win_open2(12, 5, 3, 10);
    scr_text(A_BOLD, 2, 2, "weg");
    scr_clear_eos(1, 1);
    wait_key();
    win_close();
    win_close();
    wait_key();
}

void messages() {
    error("eerste %s", "melding");
    wait_key();
    error("kort");
    wait_key();
    error("%s", std::string(100, 'M').c_str());
    wait_key();
    error("%s", "");
    wait_key();
}

/// Every window lies over the one below and gives back what it hid.
void stack() {
    for (int row = 1; row <= scr->scr_lines; row++) {
        scr_text(A_DIM, row, 1, "onderlaag %d", row);
    }
    win_open1(5, 1, 10, 40);
    win_title(" %s ", "een");
    win_open3(8, 3, 5, 20);
    win_title(" %s ", "twee");
    wait_key();
    win_close();
    wait_key();
    win_close();
    wait_key();
}

void show_size() {
    scr_text(A_BOLD, scr->scr_lines, 1, "%d x %d %d x %d", LINES, COLS, scr->scr_lines, scr->scr_cols);
}

void sizes() {
    show_size();
    wait_key();
    for (int round = 0; round < 2; round++) {
        scr_switch_terminal("-w");
        scr_text(A_BOLD, 1, scr->scr_cols - 4, "rand");
        scr_text(A_BOLD, 2, 1, "terminals %d", scr->scr_nterm);
        show_size();
        wait_key();
        win_close();
        show_size();
        wait_key();
    }
    // Three descriptions on top of each other, each with its size.
    scr_switch_terminal("-l");
    show_size();
    wait_key();
    scr_switch_terminal("-w");
    show_size();
    wait_key();
    win_close();
    show_size();
    wait_key();
    win_close();
    show_size();
    wait_key();
}

void fatal_in_windows() {
    scr_text(A_BOLD, 1, 1, "onderlaag");
    win_open1(3, 3, 10, 40);
    win_title(" %s ", "bezig");
    scr_fatal("%s: %s", "PROEF", "kan niet verder");
}

/// A fault with the stack full is shown all the same, and one within the fatal stop does not hide it.
void full_stack() {
    while (scr->scr_nwin < scr_max_windows) {
        win_open1(2, 2, 5, 20);
    }
    scr_switch_terminal("-w");
}

void characters() {
    scr_text(A_BOLD, 2, 1, "caf\x82 \x81 %c%c", 0xDB, 0xF9);
    scr_text(A_BOLD | A_ALTCHARSET, 3, 1, "aaa");
    scr_move(3, 10);
    win_attr(A_BOLD | A_ALTCHARSET);
    scr_add("qq");
    scr_add("q%s", std::string(100, 'x').c_str());
    scr_text(A_BOLD, 4, 1, "stuur\x07\x1b[2Jtekens\n");
    for (;;) {
        const int key = wait_key();
        scr_text(A_BOLD, 6, 1, "toets %-4d", key);
        if (key == 'q') {
            return;
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    const std::map<std::string, void (*)()> scenarios{
        {"placing", placing},       {"clearing", clearing},     {"messages", messages},
        {"stack", stack},           {"sizes", sizes},           {"fatal", fatal_in_windows},
        {"characters", characters}, {"full-stack", full_stack},
    };
    const std::string name = argc == 2 ? argv[1] : "";
    SCRINIT();
    scenarios.at(name)();
    scr_exit(0);
}
