// The menu.
#include "run/run.h"
#include "screen/screen.h"

void chk_menu() {
    msg_info(detail_text(25, 4, "Om verder te kunnen gaan met de conversie is het noodzakelijk"),
             detail_text(25, 5, "om achtereenvolgens de keuzes 11 t/m 13 uit te voeren. "),
             detail_text(25, 6, "Eventuele fouten kunnen worden hersteld."));
    do {
        const bool customers = shop_has_customers();
        const bool linked = shop_links_customers();
        menu_reset(0);
        menu_title(true, detail_text(6, 728, "VOLLEDIGE CONTROLE"));
        menu_add(true, true, detail_text(6, 729, "series/etiketten"), chk_entry_series);
        menu_add(customers, !linked || ok_labels, detail_text(4, 647, "klantgegevens"), chk_entry_customers);
        menu_add(true, true, detail_text(1, 906, "overige"), chk_entry_other);
    } while (menu_run() != 0);
}
