#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "print/destination.h"
#include "print/menu_windows.h"
#include "print/pick_list.h"
#include "print/print_internal.h"
#include "probe.h"

namespace {

print_job wanted;

bool open_wanted() {
    prt_modules.job_open = [](const print_setup &, std::uint16_t, const char *) {
        prt_job = wanted;
        return prt_job_start();
    };
    return XPRT_OPEN({}, prt_fits_132, nullptr);
}

void finish(const char *text) {
    scr_base_text(A_DIM, 24, 1, "%s", text);
    hold();
}

/// Device and copies of a job on paper.
void wanted_on(const std::string &device, int copies) {
    wanted.device = device;
    wanted.aux = device == terminal_path();
    wanted.copies = copies;
    wanted.rpt_width = 80;
    wanted.rpt_lines = 64;
}

void print_list() {
    prt_head("winkel", "%s", "LIJST");
    prt_printf("regel 1 van de lijst\nregel 2 van de lijst\n");
}

/// The operator breaks off while the lines are printed.
void break_lines(char **) {
    wanted_on("device", 1);
    open_wanted();
    print_list();
    scr_text(A_BOLD, 3, 1, "bezig");
    scr_flush(0);
    while (!ing_interrupted()) {
        usleep(1000);
    }
    prt_close("");
    finish(ing_interrupted() ? "nog afgebroken" : "klaar");
}

/// [DEVICE]: three copies; for the printer on the operator's own terminal without a name, or, without a
/// preview, by the name "-". In the preview the operator presses a key, which may break off the copies; it
/// takes longer than the interval at which the keyboard is looked at.
void copies(char **arguments) {
    const std::string device = arguments[0] != nullptr ? arguments[0] : "";
    wanted_on(device.empty() || device == "-" ? terminal_path() : device, 3);
    wanted.preview = device != "-";
    prt_modules.preview = [] {
        scr_text(A_BOLD, 3, 1, "voorbeeld");
        scr_flush(0);
        while (!key_pending()) {
            usleep(1000);
        }
        sleep(2);
        return true;
    };
    open_wanted();
    scr_text(A_BOLD, 4, 1, ing_break_is_on() ? "afbreken kan" : "afbreken kan niet");
    print_list();
    prt_close("");
    scr_text(A_BOLD, 5, 1, ing_break_is_on() ? "afbreken kan weer" : "afbreken kan niet");
    finish("klaar");
}

/// A directory in which no file can be made, and one for reports that is not there.
void not_to_be_made(char **) {
    wanted_on("nergens/PRAA01", 1);
    wanted.to_directory = true;
    open_wanted();
    print_list();
    prt_close("");
    char gone[] = "goneXXXXXX";
    if (mkdtemp(gone) != nullptr && chdir(gone) == 0 && rmdir(("../" + std::string(gone)).c_str()) == 0) {
        finish(open_wanted() ? "geopend" : "geen bestand");
    }
}

/// PAGES LINES WIDTH DEVICE: a report of that size in the preview. Each line tells its page, its number, and
/// every tenth column.
void preview(char **arguments) {
    const int pages = std::atoi(arguments[0]);
    wanted_on(arguments[3], 1);
    wanted.preview = true;
    wanted.setup_text = "SET-UP";
    wanted.rpt_width = std::atoi(arguments[2]);
    open_wanted();
    std::string ruler = "kolom     ";
    for (int column = 20; column <= wanted.rpt_width; column += 10) {
        ruler += str_format("%10d", column);
    }
    for (int page = 1; page <= std::max(pages, 1); page++) {
        if (pages > 0) {
            prt_newpage();
        }
        for (int line = 1; line <= std::atoi(arguments[1]); line++) {
            prt_printf("%s\n", str_format("p%d r%d\x01", page, line).c_str());
            if (line == 2) {
                prt_printf("%s\n", ruler.c_str());
            }
        }
    }
    prt_close("");
    scr_text(A_BOLD, 2, 1, "%d x %d, afdrukken %d", scr->scr_lines, scr->scr_cols, prt_job.copies);
    finish("klaar");
}

/// PRINTER FLAGS CONNECTION OPTIONS [FILE]: tells what job the printer files give, and prints one line.
void destination(char **arguments) {
    const auto number = [arguments](int i) { return static_cast<std::uint16_t>(std::atoi(arguments[i])); };
    const print_setup setup{number(0), static_cast<std::uint8_t>(number(1)),
                            static_cast<std::uint8_t>(number(2))};
    if (!XPRT_OPEN(setup, number(3), arguments[4])) {
        finish("geen job");
        return;
    }
    scr_text(A_BOLD, 2, 1, "%dx%d %s%s<%s> %d", prt_job.rpt_width, prt_job.rpt_lines,
             prt_job.preview ? "P" : "", prt_job.aux ? "A" : "",
             prt_job.device == terminal_path() ? "tty" : prt_job.device.c_str(), prt_job.copies);
    prt_printf("regel\n");
    prt_close("");
    finish("klaar");
}

int records = 0;
int current = 0;

/// RECORDS START ROW COL HEIGHT WIDTH TITLE: a pick list, twice; without heads when the title is "-".
void pick(char **arguments) {
    records = std::atoi(arguments[0]);
    current = std::atoi(arguments[1]);
    pick_list *list = pick_new(
        [](int n) {
            const int moved = current + n;
            current = std::clamp(moved, 0, std::max(records - 1, 0));
            return moved >= 0 && moved < records;
        },
        [] {
            char typed = ' ';
            INGAVE(getmaxy(win_current()) - 2, 2, "1c,I", {}, &typed);
        },
        nullptr, [] { return str_format("record %d.", current + 1); });
    if (*arguments[6] != '-') {
        list->heads = [] { scr_text(A_DIM, 1, 2, "%s", "Kop"); };
    }
    list->row = std::atoi(arguments[2]);
    list->col = std::atoi(arguments[3]);
    list->height = std::atoi(arguments[4]);
    list->width = std::atoi(arguments[5]);
    list->title = arguments[6];
    for (int round = 0; round < 2; round++) {
        const bool picked = pick_run(list);
        scr_base_text(A_BOLD, 1, 1, "%s %d", picked ? "gekozen" : "niets", current + 1);
        hold();
    }
    pick_free(list);
}

/// FLAGS ROW COL WIDTH FIRST ITEMS [KEY]: a menu window. ITEMS as "e&Een,d&Twee,hKop,h"; their results are 1,
/// 2, and so on. KEY is one that waits.
void menu_window(char **arguments) {
    tr_menu *menu = tr_menu_new(static_cast<unsigned>(std::atoi(arguments[0])), std::atoi(arguments[1]),
                                std::atoi(arguments[2]), std::atoi(arguments[3]), "Keuze");
    int result = 0;
    for (char *item = std::strtok(arguments[5], ","); item != nullptr; item = std::strtok(nullptr, ",")) {
        const tr_item kind = *item == 'e'   ? tr_item::enabled
                             : *item == 'd' ? tr_item::disabled
                                            : tr_item::heading;
        result++;
        tr_menu_add(menu, item[1] == '\0' ? nullptr : item + 1, result, kind, KEY_F(result));
    }
    if (arguments[6] != nullptr) {
        key_unget(*arguments[6] == 'F' ? KEY_F(std::atoi(arguments[6] + 1)) : *arguments[6]);
    }
    const int chosen = tr_menu_run(menu, std::atoi(arguments[4]));
    scr_base_text(A_BOLD, 1, 1, "gekozen %d, toets %d", chosen, scr->ing_exit);
    hold();
    tr_menu_enable(menu, 99, true);
    scr_base_text(A_BOLD, 2, 1, "stand %d", static_cast<int>(tr_menu_state(menu, 1)));
    hold();
    tr_menu_free(menu);
}

}  // namespace

const named_scene print_scenes[7] = {
    {"break-lines", break_lines}, {"copies", copies},           {"not-to-be-made", not_to_be_made},
    {"preview", preview},         {"destination", destination}, {"pick", pick},
    {"menu-window", menu_window},
};
