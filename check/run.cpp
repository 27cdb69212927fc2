// The course of the run, from start-up to hand-over.
#include "check/check.h"
#include "screen/screen.h"

SysRow20 chk_transit_settings{};

namespace {

constexpr build_stamp build{"Jan 26 2015", "11:45:07"};
constexpr std::uint8_t last_trusted_status = 9;

/// Master data that still wait to be processed stop the run before it has changed anything.
void refuse_waiting_master_data() {
    std::string pattern = "STAT%*02hd.TXT";
    if (FILES_PRESENT(pattern) == 0) {
        return;
    }
    win_open1(11, 24, 4, 37);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", detail_text(8, 991, "Eerst stamgegevens verwerken a.u.b."));
    ing_enter(2, 2);
    win_close();
    scr_exit(0);
}

/// Reports go to the screen until a printer has been chosen. Puts the set-up back at its end.
class print_setup_guard {
public:
    print_setup_guard()
        : printer(sys_slot.printer), flags(sys_slot.print_flags), connection(sys_slot.print_connection) {
        if (printer == 0 || connection == 0) {
            sys_slot.printer = 1;
            sys_slot.print_flags = 1;
            sys_slot.print_connection = 1;
        }
    }
    print_setup_guard(const print_setup_guard &) = delete;
    print_setup_guard &operator=(const print_setup_guard &) = delete;
    ~print_setup_guard() {
        sys_slot.printer = printer;
        sys_slot.print_flags = flags;
        sys_slot.print_connection = connection;
    }

private:
    std::uint16_t printer;
    std::uint8_t flags;
    std::uint8_t connection;
};

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
    chk_session_files_open();
    iotab_row(tab_action::read, row_transit, chk_transit_settings);
    ok_labels = sys_slot_status <= last_trusted_status;
    {
        const print_setup_guard setup;
        chk_startup_run();
        if (!chk_marker_exists()) {
            chk_menu();
        }
    }
    chk_session_files_close();
    if (!ok_labels) {
        set_program_status(status_chains_suspect);
    }
    if (chk_all_recent()) {
        chk_marker_write();
    }
    chain_program("");
}
