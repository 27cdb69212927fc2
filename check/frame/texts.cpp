// Phrases, and what is shown on the screen.
#include "check/frame/frame.h"

const char *chk_name(int index) {
    switch (index) {
        case phrase_labels:
            return detail_text(3, 495, "etiketten");
        case phrase_prices:
            return detail_text(6, 615, "prijzen");
        case phrase_customers:
            return detail_text(4, 622, "klanten");
        case phrase_check_titles:
            return detail_text(5, 249, "controleren titulatuurcodes klanten");
        case phrase_check_countries:
            return detail_text(10, 47, "controleren landcodes klanten");
        case phrase_check_customers:
            return detail_text(2, 941, "controleren klanten");
        case phrase_check_sizes:
            return detail_text(2, 935, "controleren maten");
        case phrase_no_errors:
            return detail_text(4, 1, "Geen fouten gevonden!");
        case phrase_price_block:
            return detail_text(6, 574, "prijsblok");
        case phrase_outside:
            return detail_text(2, 844, "buiten bestand");
        case phrase_in_free_chain:
            return detail_text(4, 258, "in vrijketting");
        case phrase_seen_before:
            return detail_text(6, 675, "reeds aanwezig");
        case phrase_other_series:
            return detail_text(7, 625, "van andere serie");
        case phrase_no_series:
            return detail_text(7, 632, "van niet aanwezige serie");
        case phrase_not_in_chain:
            return detail_text(5, 543, "niet in ketting");
        case phrase_all_series:
            return detail_text(3, 527, "alle controles series/etiketten");
        case phrase_all_customers:
            return detail_text(3, 591, "alle controles klanten");
        case phrase_all_other:
            return detail_text(4, 3, "alle controles overig");
        default:
            return "";
    }
}

void chk_progress(std::uint32_t current, std::uint32_t total, chk_bar action, const char *text) {
    switch (action) {
        case chk_bar::open:
            ix_progress(0, 0, total, "%s", text == nullptr ? "" : text);
            break;
        case chk_bar::step:
            ix_progress(1, current, total, nullptr);
            break;
        case chk_bar::close:
            ix_progress(2, current, total, nullptr);
            break;
    }
}

void chk_phase(const char *caption, std::uint32_t total) {
    op_phase();
    chk_progress(0, total, chk_bar::open, caption);
}

bool chk_ask_repair() {
    return op_ask(op_question::repair,
                  detail_text(13, 37, "Er zijn fouten gevonden. Automatisch herstellen"));
}
