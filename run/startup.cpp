#include "run/startup.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "data/errors.h"
#include "print/macro_lists.h"
#include "print/macros.h"
#include "print/print.h"
#include "run/dialogue.h"
#include "run/info_page.h"
#include "run/lock_notice.h"
#include "run/open_files.h"

build_stamp sys_version_date{"", ""};

namespace {

constexpr std::size_t title_room = 40;

/// Draws a line over the full width of the screen.
void show_line(const char *text) {
    const int width = scr->scr_cols - 2;
    scr_text(A_REVERSE, 1, 1, " %-*.*s ", width, width, text);
}

}  // namespace

void start_program(const char *required_caller, build_stamp version_date, int argc, char **) {
    sys_version_date = version_date;
    mac_install();
    SCRINIT();
    dialogue_install();
    prt_install();
    scr_leave_handler = [] { chain_program(""); };
    menu_application = {[] { chk_status('C', "%s", ""); }, info_page, err_internal};
    open_file_check();
    show_program_line();
    if (*required_caller == '\0' && argc != 1) {
        wrong_start(99);
    }
    catalog_open();
    shop_open();
    if (std::string release; !shop_release_fits(release)) {
        wrong_release(release.c_str());
    }
    shop_begin();
    if (shop_whole_amounts()) {
        setenv("KPOS", "geset", 1);
        scr->ing_bprec = 0;
    }
    ix_lock_wait = lock_wait_notice;
    mac_enable();
    busy_release();
}

void chain_program(const char *) {
    shop_close();
    catalog_close();
    // On a terminal that was closed nobody would read the report.
    if (!scr_leave_requested()) {
        open_file_check();
    }
    scr_exit(0);
}

void wrong_start(int code) {
    scr_clear_eos(1, 1);
    info_page_show(3);
    scr_fatal("%s %s %d", program_name, detail_text(3, 905, "foutief gestart, code"), code);
}

void wrong_release(const char *text) {
    show_program_line();
    scr_fatal("%s %-.5s", detail_text(3, 914, "Foutieve release: bestanden van"), text);
}

void show_program_line() {
    show_line((std::string(program_name) + " " + program_release).c_str());
}

void chk_status(char mode, const char *format, ...) {
    char text[256];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    str_trim(text);

    std::string line = std::string(program_title()).substr(0, title_room);
    str_upper(line.data());
    str_trim(line.data());
    line.resize(std::strlen(line.c_str()));
    if (text[0] != '\0') {
        text[0] = static_cast<char>(char_upper_of(static_cast<unsigned char>(text[0])));
        line += " * ";
        line += text;
    }
    if (mode == 'C') {
        scr_clear_eos(1, 1);
    } else {
        scr_clear_eol(1, 1);
    }
    show_line(line.c_str());
}
