// The list from which the operator picks a destination, and the question for the width of a report.
#include <algorithm>
#include <vector>

#include "print/destination.h"
#include "print/menu_windows.h"
#include "print/pick_list.h"
#include "print/print_internal.h"

namespace {

constexpr int last_short_page = 66;
constexpr int endless = 9999;
/// More than any shop has; a damaged file must not fill the memory.
constexpr std::size_t most_choices = 10000;

/// A connection of a printer with one of its page forms.
struct choice {
    std::uint16_t printer;
    std::uint8_t connection;
    std::uint8_t property;
};

/// The list on the screen; the pick list reaches it through plain functions.
struct destination_list {
    const printer_table &table;
    std::vector<choice> choices{};
    std::size_t at = 0;
};
destination_list *shown = nullptr;

bool read_choice(const destination_list &list, print_destination &found) {
    const choice &it = list.choices[list.at];
    return find_printer(list.table, it.printer, found.general) &&
           find_connection(list.table, it.printer, it.connection, found.connection) &&
           find_property(list.table, it.printer, it.property, found.property);
}

bool move(int n) {
    const long last = static_cast<long>(shown->choices.size()) - 1;
    const long wanted = static_cast<long>(shown->at) + n;
    shown->at = static_cast<std::size_t>(std::clamp(wanted, 0L, std::max(last, 0L)));
    return wanted >= 0 && wanted <= last;
}

void input() {
    char typed = ' ';
    INGAVE(getmaxy(win_current()) - 2, 2, "1c,I", {}, &typed);
}

void heads() {
    scr_text(A_DIM, 1, 2, "%s", term_text(1, 76, "Printer"));
    scr_text(A_DIM, 1, 15, "%s", term_text(1, 77, "Device"));
    scr_text(A_DIM, 1, 36, "%s", term_text(1, 78, "Configuratie"));
    scr_text(A_DIM, 1, 66, "%s", term_text(1, 79, "Kol  Rij O W"));
}

std::string row_text() {
    print_destination it;
    read_choice(*shown, it);
    return str_format("%-12.12s %-20.20s %-29.29s %3hd %4hd %-1.1s %1s",
                      printer_text(it.general.name).c_str(), printer_text(it.connection.name).c_str(),
                      printer_text(it.property.description).c_str(), static_cast<short>(it.property.columns),
                      static_cast<short>(it.property.lines), it.property.orientation == 0 ? "L" : "P",
                      it.connection.to_directory != 0 ? "J" : "N");
}

bool lines_fit(int lines, std::uint16_t options) {
    if (lines == 0 || lines == endless) {
        return true;
    }
    const bool long_pages = (options & prt_long_page) != 0;
    const bool short_pages = (options & prt_short_page) != 0 || !long_pages;
    return lines > last_short_page ? long_pages : short_pages;
}

void add_forms(destination_list &list, const ConnectionRecord &connection, std::uint16_t options) {
    ICB *icb = list.table.properties.icb;
    PropertyRecord form{};
    form.printer = connection.printer;
    for (bool more = IXFIRSTR(icb, &form, 1); more && list.choices.size() < most_choices;
         more = IXNEXTR(icb, &form, 1)) {
        if (prt_columns_fit(form.columns, options) && lines_fit(form.lines, options)) {
            list.choices.push_back({connection.printer, connection.connection, form.property});
        }
    }
}

/// Gathers every connection of the set-up with every form that fits.
void gather(destination_list &list, const print_setup &setup, std::uint16_t options) {
    ICB *icb = list.table.connections.icb;
    ConnectionRecord connection{};
    connection.printer = setup.printer;
    const int same = setup.printer == 0 ? 0 : 1;
    for (bool more = IXFIRSTR(icb, &connection, same); more; more = IXNEXTR(icb, &connection, same)) {
        PrinterRecord general;
        const bool wanted = setup.connection == 0 || connection.connection == setup.connection;
        if (wanted && find_printer(list.table, connection.printer, general)) {
            add_forms(list, connection, options);
        }
    }
}

/// The list can only be left with a pick.
void let_pick(destination_list &list) {
    shown = &list;
    pick_list *window = pick_new(move, input, heads, row_text);
    if (window == nullptr) {
        scr_fatal("%s", term_text(1, 17, "Onvoldoende geheugen"));
    }
    window->title = str_format(" %s ", term_text(1, 80, "Printbestemming"));
    while (!pick_run(window)) {
        error("%s", term_text(1, 747, "U dient een printbestemming te selecteren"));
        list.at = 0;
    }
    pick_free(window);
    shown = nullptr;
}

}  // namespace

bool prt_use_maintain(const printer_table &table, const print_setup &setup, std::uint16_t options,
                      print_destination &found) {
    destination_list list{table};
    gather(list, setup, options);
    if (list.choices.empty() || (list.choices.size() > 1 && scr == nullptr)) {
        return false;
    }
    if (list.choices.size() > 1) {
        let_pick(list);
    }
    return read_choice(list, found);
}

int prt_ask_columns(std::uint16_t options) {
    if (scr == nullptr) {
        return 0;
    }
    tr_menu *menu =
        tr_menu_new(tr_fit_width | tr_centre_col | tr_centre_row, 0, 0, 0, term_text(1, 83, "Printbreedte"));
    const auto add = [&](const char *text, int columns, std::uint16_t option) {
        tr_menu_add(menu, text, columns, (options & option) != 0 ? tr_item::enabled : tr_item::disabled, 0);
    };
    add(term_text(1, 84, " &40 koloms"), 40, prt_fits_40);
    add(term_text(1, 85, " &80 koloms"), 80, prt_fits_80);
    add(term_text(1, 86, "&132 koloms"), 132, prt_fits_132);
    const int columns = tr_menu_run(menu, 0);
    tr_menu_free(menu);
    return columns;
}
