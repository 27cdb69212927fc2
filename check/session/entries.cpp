// The sequences of checks behind the three entries of the menu, and the one before the menu.
#include <algorithm>

#include "check/session/session.h"

namespace {

/// Runs the checks of the table that `chosen` names, each when the one before has passed; true when all have.
template <class Chosen>
bool run_sequence(Chosen chosen) {
    const auto rows = chk_rows();
    return std::all_of(rows.begin(), rows.end(),
                       [&](const chk_row &row) { return !chosen(row) || chk_run_row(row); });
}

/// The sequence of a menu entry, with its summary when all have passed.
void run_entry(int entry, int summary) {
    chk_full_run = true;
    if (run_sequence([entry](const chk_row &row) { return row.entry == entry; })) {
        chk_print_summary(summary);
    }
    chk_full_run = false;
}

/// Customers who are linked to labels are checked only once the labels are sound.
bool customers_passed() {
    const bool checked = shop_links_customers() ? ok_labels : shop_has_customers();
    if (checked && !chk_run_row(*chk_row_of("customers"))) {
        return false;
    }
    const bool goes_on = shop_has_customers() && ok_customers;
    if (goes_on && !run_sequence([](const chk_row &row) {
            return row.entry == entry_customers && row.run != chk_customers;
        })) {
        return false;
    }
    return ok_customers && ok_titles && ok_countries;
}

}  // namespace

void chk_startup_run() {
    SysRow10 status{};
    iotab_row(tab_action::read, row_status, status);
    if (status.state != state_missing_files && status.state != state_critical_stop) {
        return;
    }
    set_system_busy("@2");
    run_sequence([](const chk_row &row) { return row.at_start; });
}

void chk_entry_series() {
    run_entry(entry_series, phrase_all_series);
}

void chk_entry_customers() {
    chk_full_run = true;
    if (customers_passed()) {
        chk_print_summary(phrase_all_customers);
    }
    chk_full_run = false;
}

void chk_entry_other() {
    run_entry(entry_other, phrase_all_other);
}
