// Connects the report writer with the screen and the printers.
#include "print/destination.h"
#include "print/print_internal.h"

namespace {

/// A name that starts with a hyphen would be an option of the command.
bool is_spooler(const std::string &device) {
    return !device.empty() && device.front() != '-' &&
           shell_run("lpstat -v " + shell_word(device) + " 1> /dev/null 2> /dev/null");
}

void begun(bool can_be_broken_off) {
    prt_job.spooler = !prt_job.aux && is_spooler(prt_job.device);
    if (can_be_broken_off) {
        ing_break_reset();
    } else {
        ing_break_off();
    }
}

/// The dialogues around a report must find the keyboard as if the operator had just left a field.
void exit_key_pressed() {
    if (scr != nullptr) {
        scr->ing_exit = K_CANCEL;
        scr->ing_status = 0;
    }
}

void key_state_reset() {
    if (scr != nullptr) {
        scr->ing_exit = 0;
        scr->ing_status = 0;
    }
}

void hand_off(const char *lp_options) {
    ing_break_reset();
    job_hand_off(lp_options);
    if (scr != nullptr) {
        scr_flush(0);
    }
    ing_break_reset();
}

}  // namespace

void prt_install() {
    prt_modules = {.job_open = prt_job_open,
                   .preview = PRT_SCR,
                   .hand_off = hand_off,
                   .cannot_open = job_cannot_open,
                   .interrupted = job_interrupted,
                   .begun = begun,
                   .closing = exit_key_pressed,
                   .closed = key_state_reset};
}

void job_cannot_open(const std::string &path) {
    if (scr != nullptr) {
        FFLASH(flash_enter, 0, A_DIM, term_text(1, 56, "Printen"), "%s <%s>\n%s",
               term_text(1, 90, "Uitvoermedium"), path.c_str(), term_text(1, 91, "kan niet geopend worden"));
    }
}

bool job_interrupted() {
    return scr != nullptr && ing_interrupted();
}
