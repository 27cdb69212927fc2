#include "check/labels/labels.h"

namespace {

const char *cut_there() {
    return detail_text(27, 1, "de ketting eindigt bij het laatste goede blok");
}
const char *given_up() {
    return detail_text(27, 2, "het blok wordt leeggemaakt en vrijgegeven");
}

constexpr finding_kind kinds[] = {
    {"labels.1", finding_fate::mended, label_outside,
     [] { return detail_text(3, 548, "etiketblok buiten bestand"); }, cut_there},
    {"labels.2", finding_fate::mended, label_other_series,
     [] { return detail_text(3, 555, "etiketblok van andere serie"); }, cut_there},
    {"labels.3", finding_fate::mended, label_in_free_chain,
     [] { return detail_text(3, 552, "etiketblok van vrijketting"); }, cut_there},
    {"labels.4", finding_fate::mended, label_seen_before,
     [] { return detail_text(3, 549, "etiketblok reeds aanwezig"); }, cut_there},
    {"labels.5", finding_fate::asked, label_lost_unknown,
     [] { return detail_text(3, 579, "etiketblok niet in ketting, serie NIET aanwezig"); }, given_up},
    {"labels.6", finding_fate::asked, label_lost,
     [] { return detail_text(3, 571, "etiketblok niet in ketting, serie aanwezig"); },
     [] { return detail_text(27, 3, "het blok komt terug in de ketting, of wordt leeggemaakt"); }},
    {"labels.7", finding_fate::human, label_series_invalid,
     [] { return detail_text(5, 945, "ongeldige serie"); },
     [] { return detail_text(27, 4, "de serie moet met de hand worden verwijderd of hersteld"); }},
    {"labels.8", finding_fate::asked, label_lost_invalid,
     [] { return detail_text(3, 575, "etiketblok niet in ketting, ongeldige serie"); }, given_up},
};

}  // namespace

std::span<const finding_kind> label_findings() {
    return kinds;
}

bool label_is_lost(const ChainError &error) {
    return error.code == label_lost_unknown || error.code == label_lost || error.code == label_lost_invalid;
}
