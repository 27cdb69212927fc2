#include "check/ean/ean.h"

namespace {

const char *deleted() {
    return detail_text(27, 142, "de code wordt verwijderd");
}

constexpr finding_kind kinds[] = {
    {"ean.1", finding_fate::asked, 0, [] { return detail_text(27, 140, "maat zonder EAN-code"); },
     [] { return detail_text(27, 141, "de maat krijgt een instore-code"); }},
    {"ean.2", finding_fate::asked, 0,
     [] { return detail_text(27, 143, "EAN-code van een onbekende serie of maat"); }, deleted},
    {"ean.3", finding_fate::asked, 0,
     [] { return detail_text(27, 144, "EAN-code van een onbekend klein artikel"); }, deleted},
    {"ean.4", finding_fate::mended, 0,
     [] { return detail_text(27, 145, "de index van de EAN-codes klopt niet"); },
     [] { return detail_text(27, 146, "de index wordt opnieuw gemaakt, dubbele codes worden verwijderd"); }},
};

}  // namespace

std::span<const finding_kind> ean_findings() {
    return kinds;
}

const finding_kind &ean_kind_of(ean_kind kind) {
    return kinds[static_cast<std::size_t>(kind)];
}
