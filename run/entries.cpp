// The menu and its three sequences of checks.
#include <span>

#include "check/frame/frame.h"
#include "run/run.h"
#include "screen/screen.h"

namespace {

/// One check of a sequence; the next one runs only when this one has passed.
struct check_step {
    void (*run)();
    bool *passed;
};

/// Runs the steps in order; true when all have passed in this session and none was cancelled.
bool run_sequence(std::span<const check_step> steps) {
    chk_broken_off = false;
    for (const check_step &step : steps) {
        step.run();
        if (!*step.passed || chk_broken_off) {
            return false;
        }
    }
    return true;
}

constexpr check_step label_step{chk_labels, &ok_labels};
constexpr check_step price_step{chk_prices, &ok_prices};
constexpr check_step size_step{chk_sizes, &ok_sizes};

bool transit_in_use() {
    const auto first_byte = chk_transit_settings.in_use & 0xff;
    return sys_settings.branches > 1 && first_byte != 0;
}

/// A shop without goods in transit passes this check without running it.
void run_transit_check() {
    if (!transit_in_use()) {
        ok_transit = true;
        return;
    }
    chk_transit();
}

}  // namespace

void chk_startup_run() {
    SysRow10 status{};
    iotab_row(tab_action::read, row_status, status);
    if (status.state != state_missing_files && status.state != state_critical_stop) {
        return;
    }
    set_system_busy("@2");
    run_sequence(std::array{label_step, price_step, size_step});
}

void chk_entry_series() {
    chk_full_run = true;
    const bool passed = run_sequence(std::array{
        label_step,
        check_step{chk_series, &ok_series},
        price_step,
        size_step,
        check_step{run_transit_check, &ok_transit},
        check_step{chk_order_criteria, &ok_order_criteria},
    });
    if (passed) {
        chk_print_summary(phrase_all_series);
    }
    chk_full_run = false;
}

void chk_entry_customers() {
    const bool customers = (sys_settings.mode & mode_customers) != 0;
    const bool linked = (sys_settings.mode & mode_customer_labels) != 0;
    chk_full_run = true;
    chk_broken_off = false;
    if (linked ? ok_labels : customers) {
        chk_customers();
    }
    if (customers && ok_customers && !chk_broken_off) {
        run_sequence(std::array{
            check_step{chk_titles, &ok_titles},
            check_step{chk_countries, &ok_countries},
        });
    }
    if (ok_customers && ok_titles && ok_countries && !chk_broken_off) {
        chk_print_summary(phrase_all_customers);
    }
    chk_full_run = false;
}

void chk_entry_other() {
    chk_full_run = true;
    const bool passed = run_sequence(std::array{
        check_step{chk_master, &ok_master},
        check_step{chk_ean, &ok_ean},
        check_step{chk_order_numbers, &ok_order_numbers},
        check_step{chk_barcodes, &ok_barcodes},
        check_step{chk_journals, &ok_journals},
    });
    if (passed) {
        chk_print_summary(phrase_all_other);
    }
    chk_full_run = false;
}

void chk_menu() {
    msg_info(detail_text(25, 4, "Om verder te kunnen gaan met de conversie is het noodzakelijk"),
             detail_text(25, 5, "om achtereenvolgens de keuzes 11 t/m 13 uit te voeren. "),
             detail_text(25, 6, "Eventuele fouten kunnen worden hersteld."));
    do {
        const bool customers = (sys_settings.mode & mode_customers) != 0;
        const bool linked = (sys_settings.mode & mode_customer_labels) != 0;
        menu_reset(0);
        menu_title(true, detail_text(6, 728, "VOLLEDIGE CONTROLE"));
        menu_add(true, true, detail_text(6, 729, "series/etiketten"), chk_entry_series);
        menu_add(customers, !linked || ok_labels, detail_text(4, 647, "klantgegevens"), chk_entry_customers);
        menu_add(true, true, detail_text(1, 906, "overige"), chk_entry_other);
    } while (menu_run() != 0);
}
