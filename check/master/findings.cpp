// The classes of findings in the reference files: what they are called, and the numbers found in each.
#include <algorithm>
#include <vector>

#include "check/master/master.h"
#include "report/report.h"

namespace {

constexpr unsigned highest_byte = 255;
constexpr unsigned highest_number = 9999;
constexpr unsigned highest_word = 65535;
constexpr unsigned highest_group = 99999;
constexpr unsigned saving_actions = 9;

// Categories, items and texts; functions, because the catalogue is asked when a line is printed.

const char *master_data() {
    return detail_text(20, 1, "Stamgegevens");
}
const char *system_data() {
    return detail_text(20, 2, "Systeemgegevens");
}
const char *turnover_data() {
    return detail_text(20, 3, "Omzetgegevens");
}
const char *small_articles() {
    return detail_text(20, 4, "Kleine artikelen");
}

const char *article_group() {
    return detail_text(20, 10, "artikelgroep");
}
const char *supplier() {
    return detail_text(20, 11, "leverancier");
}
const char *brand() {
    return detail_text(20, 12, "merk");
}
const char *size_kind() {
    return detail_text(20, 13, "maatsoort");
}
const char *branch() {
    return detail_text(20, 14, "filiaalnummer");
}
const char *turnover_group() {
    return detail_text(20, 15, "omzetgroep");
}
const char *salesman() {
    return detail_text(20, 16, "verkoper");
}
const char *article() {
    return detail_text(20, 17, "artikelnr");
}
const char *saving_action() {
    return detail_text(20, 18, "spaaractie");
}

const char *no_description() {
    return detail_text(20, 30, "omschrijving niet aanwezig");
}
const char *session_lowered() {
    return detail_text(20, 31, "Ongeldige sessienummer, is automatisch gecorrigeerd.");
}
const char *no_turnover() {
    return detail_text(20, 32, "omzetgroep niet gedefinieerd");
}
const char *define_turnover() {
    return detail_text(20, 33, "definieer omzetgroep bij artikelgroep");
}
const char *unknown_turnover() {
    return detail_text(20, 34, "Omzetgroep onbekend");
}
const char *define_or_change() {
    return detail_text(20, 35, "definieer omzetgroep of wijzig omzetgroep");
}
const char *vat_differs() {
    return detail_text(20, 36, "BTW code afwijkend van omzetgroep");
}
const char *vat_changed() {
    return detail_text(20, 37, "BTW code aangepast");
}
const char *no_size_code() {
    return detail_text(20, 38, "maatcode niet gevuld");
}
const char *no_or_unknown_turnover() {
    return detail_text(20, 39, "omzetgroep niet aanwezig of onbekend");
}
const char *period_wrong() {
    return detail_text(20, 40, "periode vanaf t/m niet correct");
}

struct class_layout {
    master_class finding;
    unsigned highest;  ///< number
    const char *(*category)();
    const char *(*item)();
    const char *(*text)();
    const char *(*remedy)();  ///< null where the text says it all
};

// Turnover groups above 9999 are faulty but not deleted, so they can occur.
constexpr class_layout classes[] = {
    {group_no_name, highest_group, master_data, article_group, no_description, nullptr},
    {group_no_turnover, highest_group, master_data, article_group, no_turnover, define_turnover},
    {group_turnover_unknown, highest_group, master_data, article_group, unknown_turnover, define_or_change},
    {group_vat_differs, highest_group, master_data, article_group, vat_differs, vat_changed},
    {group_session, highest_group, master_data, article_group, session_lowered, nullptr},
    {supplier_no_name, highest_number, master_data, supplier, no_description, nullptr},
    {supplier_session, highest_number, master_data, supplier, session_lowered, nullptr},
    {brand_no_name, highest_number, master_data, brand, no_description, nullptr},
    {brand_session, highest_number, master_data, brand, session_lowered, nullptr},
    {size_kind_session, highest_byte, master_data, size_kind, session_lowered, nullptr},
    {size_kind_no_code, highest_byte, master_data, size_kind, no_size_code, nullptr},
    {branch_no_name, highest_byte, system_data, branch, no_description, nullptr},
    {turnover_no_name, highest_word, turnover_data, turnover_group, no_description, nullptr},
    {staff_no_name, highest_number, turnover_data, salesman, no_description, nullptr},
    {article_no_name, highest_number, small_articles, article, no_description, nullptr},
    {article_turnover, highest_number, small_articles, article, no_or_unknown_turnover, nullptr},
    {action_no_period, saving_actions, turnover_data, saving_action, period_wrong, nullptr},
    {action_no_name, saving_actions, turnover_data, saving_action, no_description, nullptr},
};

/// The numbers found, a bit each, in the order of the table; empty for a class without a finding.
std::vector<bool> found[std::size(classes)];
long errors = 0;

void print_finding(const class_layout &layout, unsigned number) {
    chk_room(2);
    prt_printf(fmt_left_s(20), layout.category());
    if (layout.finding == branch_no_name && number == sys_settings.branches) {
        prt_printf("%-25.25s ", detail_text(20, 19, "firma"));
    } else {
        prt_printf("%-20.20s%6ld", layout.item(), static_cast<long>(number));
    }
    prt_fill(7, ' ');
    if (layout.remedy == nullptr) {
        prt_printf("%s", layout.text());
    } else {
        prt_printf("%-33.33s: ", layout.text());
        prt_printf(fmt_left_s(44), layout.remedy());
    }
    prt_newline();
}

}  // namespace

void master_clear() {
    for (std::vector<bool> &numbers : found) {
        numbers = {};
    }
    errors = 0;
}

void master_find(master_class finding, unsigned number) {
    errors++;
    const auto *const layout =
        std::find_if(std::begin(classes), std::end(classes),
                     [finding](const class_layout &one) { return one.finding == finding; });
    std::vector<bool> &numbers = found[layout - classes];
    numbers.resize(layout->highest + 1);
    numbers[std::min(number, layout->highest)] = true;
}

void master_count_error() {
    errors++;
}

long master_errors() {
    return errors;
}

void master_print_classes() {
    for (std::size_t i = 0; i < std::size(classes); i++) {
        for (unsigned number = 0; number < found[i].size(); number++) {
            if (found[i][number]) {
                print_finding(classes[i], number);
            }
        }
    }
}
