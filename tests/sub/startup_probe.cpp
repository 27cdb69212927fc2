// Starts as every program of the package does, goes through one scenario, and ends as every program does.
//   startup_probe settings            what start-up has found out
//   startup_probe leak FILE...        leaves files open
//   startup_probe run DIR COMMAND     runs another program, and waits
//   startup_probe notice FILE RECORD  the notice of a record that another user holds
//   startup_probe views               more views of size kinds than there may be, one closed twice
#include <fcntl.h>

#include <cstdlib>
#include <string>

#include "data/data.h"
#include "run/lock_notice.h"
#include "run/run_program.h"
#include "run/startup.h"
#include "screen/screen.h"

namespace {

void show_settings() {
    const char *whole = std::getenv("KPOS");
    scr_text(A_BOLD, 3, 1, "decimalen %d, KPOS=%s.", scr->ing_bprec, whole == nullptr ? "" : whole);
    std::string tills;
    for (const till &each : sys_tills) {
        tills += " " + std::to_string(each.branch) + "/" + std::to_string(each.number);
    }
    scr_text(A_BOLD, 4, 1, "kassa's%s.", tills.c_str());
    ing_enter(5, 1);
}

void run(char **argv) {
    scr_text(A_BOLD, 3, 1, "%s", "ervoor");
    scr_flush(0);
    const int result = run_program(argv[2], argv[3], true);
    scr_text(A_BOLD, 4, 1, "uitkomst %d", result);
    ing_enter(5, 1);
}

void notice(char **argv) {
    ICB *icb = IXOPEN(argv[2], ix_shared);
    icb->recno = std::atoi(argv[3]);
    lock_wait_notice(icb);
    IXCLOSE(icb);
}

void views() {
    chk_files.rvmaat = IXOPEN("RVMAAT", ix_shared);
    mt_view *view[mt_max_views];
    for (mt_view *&each : view) {
        each = mtopen(sys_settings.size_system, 1);
    }
    const bool refused = mtopen(sys_settings.size_system, 1) == nullptr;
    for (mt_view *each : view) {
        mtclose(each);
    }
    mtclose(view[0]);
    scr_text(A_BOLD, 3, 1, "geweigerd %d", refused);
    ing_enter(4, 1);
    IXCLOSE(chk_files.rvmaat);
}

}  // namespace

int main(int argc, char **argv) {
    start_program("", {"Jan 26 2015", "11:45:07"}, 1, argv);
    const std::string scenario = argv[1];
    if (scenario == "settings") {
        show_settings();
    } else if (scenario == "run") {
        run(argv);
    } else if (scenario == "notice") {
        notice(argv);
    } else if (scenario == "views") {
        views();
    } else {
        for (int i = 2; i < argc; i++) {
            open(argv[i], O_RDONLY);
        }
    }
    chain_program("");
}
