#include "check/prices/prices.h"

namespace {

const char *cut_before() {
    return detail_text(27, 20, "de ketting wordt voor de fout afgeknipt; kijk de prijzen na");
}
const char *given_up() {
    return detail_text(27, 21, "het blok wordt vrijgegeven");
}

constexpr finding_kind kinds[] = {
    {"prices.1", finding_fate::asked, 0, [] { return detail_text(13, 11, "prijsblok buiten bestand"); },
     cut_before},
    {"prices.2", finding_fate::asked, 0, [] { return detail_text(13, 12, "prijsblok van andere prijsset"); },
     cut_before},
    {"prices.3", finding_fate::asked, 0, [] { return detail_text(13, 13, "prijsblok van vrijketting"); },
     cut_before},
    {"prices.4", finding_fate::asked, 0, [] { return detail_text(13, 14, "prijsblok reeds aanwezig"); },
     [] {
         return detail_text(27, 22,
                            "de ketting wordt voor de fout afgeknipt; kijk de prijzen van beide sets na");
     }},
    {"prices.5", finding_fate::asked, 0,
     [] { return detail_text(13, 15, "prijsblok niet in ketting, prijsset NIET aanwezig"); }, given_up},
    {"prices.6", finding_fate::asked, 0,
     [] { return detail_text(13, 16, "prijsblok niet in ketting, prijsset aanwezig"); },
     [] { return detail_text(27, 23, "noteer de prijzen; het blok wordt vrijgegeven"); }},
    {"prices.7", finding_fate::asked, 0,
     [] { return detail_text(13, 17, "prijsblok niet in ketting, serie NIET aanwezig"); }, given_up},
    {"prices.8", finding_fate::asked, 0,
     [] { return detail_text(13, 21, "ontbrekende/foutieve maatprijzen"); },
     [] { return detail_text(27, 24, "de set krijgt de maten van haar blokken"); }},
    {"prices.9", finding_fate::asked, 0, [] { return detail_text(13, 22, "serie NIET aanwezig"); },
     [] { return detail_text(27, 25, "de set wordt verwijderd"); }},
    {"prices.10", finding_fate::human, 0,
     [] { return detail_text(13, 23, "Geen voorkeursleverancier bij prijssets"); },
     [] { return detail_text(27, 26, "kies bij de serie een voorkeursleverancier"); }},
};

}  // namespace

std::span<const finding_kind> price_findings() {
    return kinds;
}

// No code lies between those of the blocks and those of the sets.
const finding_kind &price_finding(std::uint8_t code) {
    constexpr unsigned gap = price_wrong_sizes - price_lost_no_series - 1;
    return kinds[code <= price_lost_no_series ? code - 1U : code - 1U - gap];
}
