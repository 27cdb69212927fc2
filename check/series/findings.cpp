#include "check/series/series.h"

namespace {

constexpr finding_kind kinds[] = {
    {"series.1", finding_fate::asked, 0,
     [] { return detail_text(27, 10, "aantal etiketten in de serie wijkt af"); },
     [] { return detail_text(27, 11, "de serie krijgt het aantal van de etiketten"); }},
    {"series.2", finding_fate::asked, 0,
     [] { return detail_text(27, 12, "etiketten met onmogelijke status"); },
     [] { return detail_text(27, 13, "de etiketten worden verwijderd"); }},
    {"series.3", finding_fate::asked, 0,
     [] { return detail_text(27, 14, "laatste ontvangst- of verkoopdatum van de serie wijkt af"); },
     [] { return detail_text(27, 15, "de serie krijgt de datum van de etiketten"); }},
    {"series.4", finding_fate::asked, 0, [] { return detail_text(8, 748, "etiketten met ongeldig filiaal"); },
     [] { return detail_text(27, 16, "het filiaal wordt teruggeteld tot een bestaand filiaal"); }},
    {"series.5", finding_fate::asked, 0, [] { return detail_text(2, 175, "ongeldige tijdstempel"); },
     [] { return detail_text(27, 17, "de serie krijgt de datum van het eerste etiket of van vandaag"); }},
};

}  // namespace

std::span<const finding_kind> series_findings() {
    return kinds;
}
