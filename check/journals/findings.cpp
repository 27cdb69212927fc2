#include "base/base.h"
#include "check/journals/journals.h"

namespace {

const char *put_back() {
    return detail_text(27, 160, "zet het journaal terug uit een kopie, of Support");
}

constexpr finding_kind kinds[] = {
    {"journals.1", finding_fate::human, 0, [] { return detail_text(24, 5, "Ongeldige kode"); }, put_back},
    {"journals.2", finding_fate::human, 0, [] { return detail_text(24, 6, "Ongeldige volgorde"); }, put_back},
    {"journals.3", finding_fate::human, 0, [] { return detail_text(24, 7, "Onvolledig record"); }, put_back},
    {"journals.4", finding_fate::human, 0, [] { return detail_text(24, 9, "Gewijzigd tijdens controle"); },
     [] { return detail_text(27, 161, "laat het andere programma stoppen en controleer opnieuw"); }},
    {"journals.5", finding_fate::human, 0,
     [] { return detail_text(27, 162, "journaal niet gelezen, of kopie niet geschreven"); },
     [] { return detail_text(27, 163, "kijk schijf, ruimte en rechten na"); }},
    {"journals.6", finding_fate::human, 0,
     [] { return detail_text(27, 164, "journaal of directory is niet toegankelijk"); },
     [] { return detail_text(27, 165, "kijk de rechten na"); }},
    {"journals.7", finding_fate::human, 0,
     [] { return detail_text(27, 166, "het laatste record staat verkeerd"); }, put_back},
};

}  // namespace

std::span<const finding_kind> journal_findings() {
    return kinds;
}
