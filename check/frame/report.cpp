// The printed report of a check, and the dates of the last error-free runs.
#include "report/report.h"

#include <unistd.h>

#include <cstring>

#include "check/frame/frame.h"

namespace {

constexpr char package_system[] = "LINUX";
constexpr char package_name[] = "HERITAGE";

std::string company_name() {
    return {sys_settings.company, strnlen(sys_settings.company, sizeof sys_settings.company)};
}

std::string current_directory() {
    char path[4096];
    return getcwd(path, sizeof path) == nullptr ? "" : path;
}

std::string upper(std::string text) {
    str_upper(text.data());
    return text;
}

void print_last_date(day_number date) {
    prt_printf("%s : ", detail_text(8, 496, "Laatste foutloze controle"));
    if (date == 0) {
        prt_printf("%s.", detail_text(8, 497, "niet van toepassing"));
    } else {
        prt_printf("%s", date_show(date));
    }
    prt_newline();
    prt_newline();
}

void print_package() {
    prt_printf("%s: %s %s-%s ", detail_text(6, 376, "Pakket"), package_system, package_name, program_release);
    if (sys_settings.branches < 2) {
        prt_printf("%s", "1W");
    } else {
        prt_printf("%dF", static_cast<int>(sys_settings.branches));
    }
    prt_printf("    %s: %s", detail_text(3, 286, "Dir.pakket"), current_directory().c_str());
    prt_newline();
    chk_dashes();
}

}  // namespace

bool chk_open_report() {
    if (sys_slot.printer == 0) {
        sys_slot.print_flags = prt_flag_screen;
    }
    const print_setup setup{sys_slot.printer, sys_slot.print_flags, sys_slot.print_connection};
    return XPRT_OPEN(setup, static_cast<std::uint16_t>(sys_slot.report_options | prt_fits_132), nullptr);
}

void chk_report_header(const char *title, bool show_date, day_number date) {
    std::string text = title;
    if (text.find(':') == std::string::npos) {
        text = std::string(program_title()) + ": " + text;
    }
    prt_head(company_name().c_str(), "%s", upper(text).c_str());
    if (prt_job.rpt_page != 1) {
        return;
    }
    if (show_date) {
        print_last_date(date);
    }
    print_package();
}

void chk_dashes() {
    prt_fill(prt_job.rpt_width, '-');
    prt_newline();
}

bool chk_page_full(int margin) {
    return prt_job.rpt_line > prt_job.rpt_lines - margin;
}

void chk_note_prices() {
    prt_printf("%-.132s",
               detail_text(25, 3, "U dient zelf te controleren of de prijzen van deze series juist zijn!"));
    prt_newline();
}

void chk_print_summary(int title) {
    if (!chk_open_report()) {
        return;
    }
    chk_report_header(chk_name(title), false, 0);
    prt_printf("%s", chk_name(phrase_no_errors));
    prt_newline();
    prt_close("");
}

day_number chk_last_date(chk_date field) {
    SysRow19 dates{};
    iotab_row(tab_action::read, row_dates, dates);
    return dates.*field;
}

void chk_write_date(chk_date field) {
    SysRow19 dates{};
    iotab_row(tab_action::lock_read, row_dates, dates);
    dates.*field = date_today();
    iotab_row(tab_action::write, row_dates, dates);
}
