#include "check/label_prices/label_prices.h"

namespace {

constexpr finding_kind kinds[] = {
    {"label_prices.1", finding_fate::mended, 0,
     [] { return detail_text(27, 40, "maat van een etiket zonder inkoopprijs"); },
     [] { return detail_text(27, 41, "de prijs wordt teruggerekend uit die van het etiket; kijk hem na"); }},
};

}  // namespace

std::span<const finding_kind> label_price_findings() {
    return kinds;
}
