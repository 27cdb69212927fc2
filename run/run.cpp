// The course of the run, from start-up to hand-over.
#include "run/run.h"

#include "screen/screen.h"

namespace {

constexpr build_stamp build{"Jan 26 2015", "11:45:07"};

/// Master data that still waits to be processed stops the run before it has changed anything.
void refuse_waiting_master_data() {
    if (!chk_master_data_waits()) {
        return;
    }
    win_open1(11, 24, 4, 37);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", detail_text(8, 991, "Eerst stamgegevens verwerken a.u.b."));
    ing_enter(2, 2);
    win_close();
    scr_exit(0);
}

/// The operator's print set-up, while reports go where this run sends them.
struct {
    std::uint16_t printer;
    std::uint8_t flags;
    std::uint8_t connection;
} kept_print_setup;

/// Reports go to the screen until a printer has been chosen.
void keep_print_setup() {
    kept_print_setup = {sys_slot.printer, sys_slot.print_flags, sys_slot.print_connection};
    if (sys_slot.printer == 0 || sys_slot.print_connection == 0) {
        sys_slot.printer = 1;
        sys_slot.print_flags = 1;
        sys_slot.print_connection = 1;
    }
}

void restore_print_setup() {
    sys_slot.printer = kept_print_setup.printer;
    sys_slot.print_flags = kept_print_setup.flags;
    sys_slot.print_connection = kept_print_setup.connection;
}

/// Warns the programs that come after this one when the labels were not proved sound.
void warn_of_labels() {
    if (!ok_labels) {
        set_program_status(status_chains_suspect);
    }
}

/// Ends a run whose terminal was closed: the slot says what is known; the marker is not for such a run.
void leave_run() {
    restore_print_setup();
    warn_of_labels();
    chain_program("");
}

}  // namespace

void chk_run(int argc, char **argv) {
    start_program("", build, argc, argv);
    set_program_title(detail_text(2, 660, "bestandscontroles"));
    chk_status('C', "%s", "");
    chk_remove_temp();
    chk_marker_remove();
    refuse_waiting_master_data();

    if (file_exists("CVCHKOK") || chk_all_recent()) {
        chk_marker_write();
    } else {
        chk_release_indexes();
    }
    chk_reset_dates();
    chk_session_open();
    keep_print_setup();
    scr_leave_handler = leave_run;
    chk_startup_run();
    if (!chk_marker_exists()) {
        chk_menu();
    }
    restore_print_setup();
    chk_session_close();
    warn_of_labels();
    if (chk_all_recent()) {
        chk_marker_write();
    }
    chain_program("");
}
