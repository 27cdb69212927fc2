// A program that runs one pick list or menu window, for the tests that type into it.
//   menu_probe pick RECORDS START ROW COL HEIGHT WIDTH TITLE [noheads]
//   menu_probe menu FLAGS ROW COL WIDTH ITEMS FIRST [WAITING]     ITEMS as "e&Een,d&Twee,hKop,h"; results 1,
//   2, ...
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "print/menu_windows.h"
#include "print/pick_list.h"
#include "screen/screen.h"

namespace {

int records = 0;
int current = 0;

bool move(int n) {
    const int wanted = current + n;
    current = std::clamp(wanted, 0, std::max(records - 1, 0));
    return wanted >= 0 && wanted < records;
}

void input() {
    char typed = ' ';
    INGAVE(getmaxy(win_current()) - 2, 2, "1c,I", {}, &typed);
}

void heads() {
    scr_text(A_DIM, 1, 2, "%s", "Kop");
}

std::string row_text() {
    return str_format("record %d", current + 1);
}

void wait_end(const char *what, int value) {
    scr_base_text(A_BOLD, 1, 1, "%s %d, toets %d", what, value, scr->ing_exit);
    scr_flush(0);
    key_get(win_current());
}

void pick(int argc, char **argv) {
    records = std::atoi(argv[2]);
    current = std::atoi(argv[3]);
    pick_list *list = pick_new(move, input, argc > 9 ? nullptr : heads, row_text);
    list->row = std::atoi(argv[4]);
    list->col = std::atoi(argv[5]);
    list->height = std::atoi(argv[6]);
    list->width = std::atoi(argv[7]);
    list->title = argv[8];
    for (int round = 0; round < 2; round++) {
        const bool picked = pick_run(list);
        wait_end(picked ? "gekozen" : "niets", current + 1);
    }
    pick_free(list);
}

void menu(int argc, char **argv) {
    tr_menu *menu = tr_menu_new(static_cast<unsigned>(std::atoi(argv[2])), std::atoi(argv[3]),
                                std::atoi(argv[4]), std::atoi(argv[5]), "Keuze");
    int result = 0;
    for (char *item = std::strtok(argv[6], ","); item != nullptr; item = std::strtok(nullptr, ",")) {
        const tr_item kind = *item == 'e'   ? tr_item::enabled
                             : *item == 'd' ? tr_item::disabled
                                            : tr_item::heading;
        result++;
        tr_menu_add(menu, item[1] == '\0' ? nullptr : item + 1, result, kind, KEY_F(result));
    }
    if (argc > 8) {
        key_unget(*argv[8] == 'F' ? KEY_F(std::atoi(argv[8] + 1)) : *argv[8]);
    }
    wait_end("gekozen", tr_menu_run(menu, std::atoi(argv[7])));
    tr_menu_enable(menu, 99, true);
    wait_end("klaar", static_cast<int>(tr_menu_state(menu, 1)));
    tr_menu_free(menu);
}

}  // namespace

int main(int argc, char **argv) {
    SCRINIT();
    busy_release();
    argv[1] == std::string("pick") ? pick(argc, argv) : menu(argc, argv);
    scr_exit(0);
}
