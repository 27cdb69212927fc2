// Finds the destination of a job from the user's print set-up and the pages that the report fits.
//
// How much the set-up decides determines whether the operator is asked: a single printer, connection and page
// form that fits are taken without a question; where a choice is left, there is a list.
#include "print/destination.h"

#include <algorithm>

#include "print/print_internal.h"

namespace {

constexpr int screen_printer = 1;
constexpr int default_lines = 64;
constexpr int endless = 9999;
constexpr std::size_t longest_output_path = 39;
constexpr const char *nowhere = "/dev/null";

enum class setup_level {
    nothing,      ///< 0: no printer
    printer,      ///< 1: a printer, and more than one way to it
    connected,    ///< 2: a connection, and more than one form that fits
    complete,     ///< 3: one form that fits
    screen,       ///< 4: no form fits, and the screen will do
    unreachable,  ///< 5: no form fits
};

bool only_connection(const printer_table &table, int printer, ConnectionRecord &record) {
    ICB *icb = table.connections.icb;
    ConnectionRecord walk{};
    walk.printer = static_cast<std::uint16_t>(printer);
    if (!IXFIRSTR(icb, &walk, 1)) {
        return false;
    }
    record = walk;
    return !IXNEXTR(icb, &walk, 1);
}

/// The number of forms that fit, two at most; `record` is the first of them.
int fitting_forms(const printer_table &table, int printer, std::uint16_t options, PropertyRecord &record) {
    ICB *icb = table.properties.icb;
    PropertyRecord walk{};
    walk.printer = static_cast<std::uint16_t>(printer);
    int count = 0;
    for (bool more = IXFIRSTR(icb, &walk, 1); more && count < 2; more = IXNEXTR(icb, &walk, 1)) {
        if (prt_columns_fit(walk.columns, options)) {
            if (count++ == 0) {
                record = walk;
            }
        }
    }
    return count;
}

setup_level find_level(const printer_table &table, print_setup &setup, std::uint16_t options,
                       print_destination &found) {
    if (setup.printer == 0 || !find_printer(table, setup.printer, found.general)) {
        return setup_level::nothing;
    }
    if (setup.connection != 0 && !find_connection(table, setup.printer, setup.connection, found.connection)) {
        setup.connection = 0;
    }
    if (setup.connection == 0 && !only_connection(table, setup.printer, found.connection)) {
        return setup_level::printer;
    }
    switch (fitting_forms(table, setup.printer, options, found.property)) {
        case 0:
            return (setup.flags & prt_flag_screen) != 0 ? setup_level::screen : setup_level::unreachable;
        case 1:
            return setup_level::complete;
        default:
            return setup_level::connected;
    }
}

/// No form of the printer fits: the report is shown on the screen, in the widest form that it fits.
void use_screen(std::uint16_t options, print_destination &found) {
    found = {};
    found.screen = true;
    found.property.lines = default_lines;
    found.property.columns = (options & prt_fits_132) != 0  ? 132
                             : (options & prt_fits_80) != 0 ? 80
                             : (options & prt_fits_40) != 0 ? 40
                                                            : 132;
}

bool find_destination(print_setup setup, std::uint16_t options, print_destination &found) {
    if (!prt_tables_ready()) {
        return false;
    }
    const printer_table table;
    if (!table.is_open()) {
        return false;
    }
    switch (find_level(table, setup, options, found)) {
        case setup_level::complete:
            break;
        case setup_level::screen:
            use_screen(options, found);
            break;
        case setup_level::unreachable:
            return false;
        default:
            if (!prt_use_maintain(table, setup, options, found)) {
                return false;
            }
            break;
    }
    if (found.general.printer == screen_printer) {
        // The screen has no device, except a file of the caller's.
        found.screen = true;
        found.general = {};
        found.connection = {};
    }
    return true;
}

void tell_bad_output(const char *text) {
    if (scr != nullptr) {
        FFLASH(flash_enter, 0, A_DIM, term_text(1, 87, "Print to file"), "%s", text);
    }
}

/// A report that goes to a file of the caller's: only its width has to be found.
bool find_file_form(std::uint16_t options, const char *output_file, print_destination &found) {
    if (output_file == nullptr) {
        tell_bad_output(term_text(1, 88, "No outputfile supplied"));
        return false;
    }
    const std::size_t length = std::char_traits<char>::length(output_file);
    if (length == 0 || length > longest_output_path) {
        tell_bad_output(term_text(1, 89, "Invalid path to outputfile"));
        return false;
    }
    constexpr std::uint16_t widths = prt_fits_40 | prt_fits_80 | prt_fits_132;
    int columns = 0;
    switch (options & widths) {
        case prt_fits_80:
            columns = 80;
            break;
        case prt_fits_132:
            columns = 132;
            break;
        case prt_fits_40:
            columns = 40;
            break;
        default:
            columns = prt_ask_columns(options);
            break;
    }
    found.property.columns = static_cast<std::uint16_t>(columns);
    found.property.lines = default_lines;
    return columns != 0;
}

template <std::size_t N>
std::string printer_bytes(const char (&field)[N]) {
    std::string text(field, N);
    text.push_back('\0');
    return str_unescape(text.data());
}

void fill_form(const print_destination &found) {
    prt_job.preview = found.screen;
    prt_job.setup_text = printer_bytes(found.property.setup_text);
    prt_job.end_text = printer_bytes(found.property.end_text);
    // A form without a length has endless pages.
    prt_job.rpt_lines = found.property.lines == 0 ? endless : static_cast<int>(found.property.lines);
    prt_job.rpt_width = found.property.columns;
}

/// False, after telling the operator, when the directory of the device can't take a file.
bool fill_device(const ConnectionRecord &connection, const char *output_file) {
    std::string device = output_file != nullptr ? output_file : printer_text(connection.device);
    prt_job.to_directory = !device.empty() && connection.to_directory != 0;
    if (device == "TERMINAL" || device == "AUX") {
        prt_job.aux = device == "AUX";
        device = terminal_path();
    }
    if (prt_job.to_directory && !prt_job.aux && !device.empty()) {
        const std::string directory = device;
        device = file_tempname(directory.c_str(), "PR");
        if (device.empty()) {
            job_cannot_open(directory);
            return false;
        }
    }
    prt_job.device = device.empty() ? nowhere : device;
    return true;
}

}  // namespace

bool prt_columns_fit(int columns, std::uint16_t options) {
    switch (columns) {
        case 80:
            return (options & prt_fits_80) != 0;
        case 132:
            return (options & prt_fits_132) != 0;
        case 40:
            return (options & prt_fits_40) != 0;
        default:
            return options == prt_any_page;
    }
}

bool prt_setup(const print_setup &setup, std::uint16_t options, const char *output_file) {
    prt_job = {};
    print_destination found;
    const bool to_file = (setup.flags & prt_flag_file) != 0;
    const bool has_destination =
        to_file ? find_file_form(options, output_file, found) : find_destination(setup, options, found);
    prt_path_forget();
    if (!has_destination) {
        return false;
    }
    fill_form(found);
    return fill_device(found.connection, output_file) && prt_job_start();
}

bool prt_job_open(const print_setup &setup, std::uint16_t options, const char *output_file) {
    if (prt_setup(setup, options, output_file)) {
        return true;
    }
    if (scr != nullptr) {
        FFLASH(flash_enter, 0, A_DIM, term_text(1, 56, "Printen"), "%s",
               term_text(1, 57, "Er is geen geldig uitvoermedium geselecteerd"));
    }
    return false;
}
