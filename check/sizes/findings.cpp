#include "check/sizes/sizes.h"

namespace {

const char *renumber() {
    return detail_text(27, 45, "de maatsoort moet met de hand worden verbeterd");
}

constexpr finding_kind kinds[] = {
    {"sizes.1", finding_fate::human, 0, [] { return detail_text(12, 14, "Ongeldig volgnr"); }, renumber},
    {"sizes.2", finding_fate::human, 0, [] { return detail_text(12, 15, "Ontbrekend volgnr"); }, renumber},
    // The report says how often.
    {"sizes.3", finding_fate::human, 0,
     [] { return detail_text(27, 51, "volgnr komt meer dan een keer voor"); }, renumber},
    {"sizes.4", finding_fate::human, 0, [] { return detail_text(12, 20, "Ontbrekende maat"); },
     [] { return detail_text(27, 46, "voeg de maat toe aan de maatsoort, of verbeter het etiket"); }},
    {"sizes.5", finding_fate::mended, 0, [] { return detail_text(12, 23, "ongeldige maten"); },
     [] { return detail_text(27, 47, "de maten worden bij de serie weggehaald"); }},
    {"sizes.6", finding_fate::mended, 0, [] { return detail_text(12, 24, "ontbrekende maten"); },
     [] { return detail_text(27, 48, "de maten worden aan de serie toegevoegd"); }},
    {"sizes.7", finding_fate::mended, 0, [] { return detail_text(12, 25, "lege maatbalk"); },
     [] { return detail_text(27, 49, "de serie krijgt alle maten; kijk ze na"); }},
    {"sizes.8", finding_fate::mended, 0, [] { return detail_text(12, 26, "foutieve prijsgroepen"); },
     [] {
         return detail_text(27, 50,
                            "de laatste prijsgroep eindigt op de laatste maat; kijk de verkoopprijzen na");
     }},
};

}  // namespace

std::span<const finding_kind> size_findings() {
    return kinds;
}
