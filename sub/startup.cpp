#include "sub/startup.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <string>

#include "print/macro_lists.h"
#include "print/macros.h"
#include "screen/screen.h"
#include "sub/errors.h"
#include "sub/infopage.h"
#include "sub/iofil.h"
#include "sub/iotab.h"
#include "sub/locknotice.h"
#include "sub/openfiles.h"

build_stamp sys_version_date{"", ""};
std::vector<till> sys_tills;

namespace {

constexpr std::int32_t stand_alone_slot = 1;
constexpr std::size_t title_room = 40;

std::string title;

/// Draws a line over the full width of the screen.
void show_line(const char *text) {
    const int width = scr->scr_cols - 2;
    scr_text(A_REVERSE, 1, 1, " %-*.*s ", width, width, text);
}

void test_release() {
    SysRow10 status{};
    iotab_row(tab_action::read, row_status, status);
    if (std::memcmp(status.release, data_release, sizeof status.release) != 0) {
        char release[sizeof status.release + 1] = "";
        std::memcpy(release, status.release, sizeof status.release);
        wrong_release(release);
    }
}

void bind_slot() {
    sys_user = stand_alone_slot;
    iotab(tab_action::read, sys_user, sys_slot, region_users);
    sys_slot_status = sys_slot.status;
    sys_slot.status = status_idle;
}

/// In a home currency without cents all amounts are whole.
void find_home_currency() {
    CurrencyRecord currency{};
    for (std::int32_t number = 1; iotab(tab_action::read, number, currency, region_currencies) != 0;
         number++) {
        if (std::memcmp(currency.code, sys_country.home_currency, sizeof currency.code) == 0) {
            if (currency.decimals == 0) {
                setenv("KPOS", "geset", 1);
                scr->ing_bprec = 0;
            }
            return;
        }
    }
}

void load_tills() {
    constexpr std::size_t till_file_length = 11;
    std::string name = "KAS*.SYS";
    if (!DIRECTORY(dir_action::open, name)) {
        return;
    }
    try {
        while (DIRECTORY(dir_action::next, name)) {
            unsigned branch = 0;
            unsigned number = 0;
            if (name.size() == till_file_length &&
                std::sscanf(name.c_str(), "KAS%2u%2u", &branch, &number) == 2) {
                sys_tills.push_back({static_cast<std::uint8_t>(branch), static_cast<std::uint8_t>(number)});
            }
        }
    } catch (const std::bad_alloc &) {
        err_nomem("konl_mut", 1);
    }
    DIRECTORY(dir_action::close, name);
}

/// Gives the user slot back. A slot with the idle status was never written and stays as it is.
void release_slot() {
    if (sys_slot.status == status_idle) {
        return;
    }
    constexpr std::uint8_t first_lasting_status = 5;
    if (sys_slot.status < first_lasting_status) {
        set_program_status(status_idle);
    }
    std::memset(sys_slot.program, 0, sizeof sys_slot.program);
    sys_slot.handover_time = static_cast<std::int32_t>(std::time(nullptr));
    sys_slot.menu_copy = 0;
    std::memset(sys_slot.terminal, 0, sizeof sys_slot.terminal);
    iotab(tab_action::write, sys_user, sys_slot, region_users);
}

}  // namespace

void start_program(const char *required_caller, build_stamp version_date, int argc, char **) {
    sys_version_date = version_date;
    mac_install();
    SCRINIT();
    scr_leave_handler = [] { chain_program(""); };
    menu_application = {[] { chk_status('C', "%s", ""); }, info_page, err_internal};
    open_file_check();
    show_program_line();
    if (*required_caller == '\0' && argc != 1) {
        wrong_start(99);
    }
    catalog_open();
    BranchRecord branch{};
    iotab(tab_action::open, sys_row, nullptr, 0, 0, 0);
    iofil(fil_action::open, 0, branch);
    test_release();
    bind_slot();
    iotab_row(tab_action::read, row_settings, sys_settings);
    iotab_row(tab_action::read, row_country, sys_country);
    find_home_currency();
    if ((sys_settings.mode & mode_till_list) != 0) {
        load_tills();
    }
    ix_lock_wait = lock_wait_notice;
    mac_enable();
    busy_release();
}

void chain_program(const char *) {
    BranchRecord branch{};
    release_slot();
    iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
    iofil(fil_action::close, 0, branch);
    sys_tills.clear();
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

void set_program_title(const char *text) {
    title = text;
}

const char *program_title() {
    return title.c_str();
}

void chk_status(char mode, const char *format, ...) {
    char text[256];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    str_trim(text);

    std::string line = title.substr(0, title_room);
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
