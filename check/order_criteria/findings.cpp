#include "base/base.h"
#include "check/order_criteria/order_criteria.h"

namespace {

constexpr finding_kind kinds[] = {
    {"order_criteria.1", finding_fate::mended, 0,
     [] { return detail_text(14, 4, "bestelcriteria gecorrigeerd"); },
     [] {
         return detail_text(27, 65,
                            "de ketting is ingekort, losse blokken zijn aangesloten; kijk de criteria na");
     }},
    {"order_criteria.2", finding_fate::mended, 0,
     [] { return detail_text(14, 5, "bestelcriteria verwijderd"); },
     [] { return detail_text(27, 66, "er bleef niets over; geef de criteria opnieuw in"); }},
};

}  // namespace

std::span<const finding_kind> criteria_findings() {
    return kinds;
}
