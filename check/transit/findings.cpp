#include "base/base.h"
#include "check/transit/transit.h"

namespace {

// A line has no text of its own: every line is such a label.
constexpr finding_kind kinds[] = {
    {"transit.1", finding_fate::asked, 0, [] { return detail_text(27, 60, "onderweg zonder document"); },
     [] { return detail_text(27, 61, "het etiket krijgt een regel in RVGO en een documentnummer"); }},
};

}  // namespace

std::span<const finding_kind> transit_findings() {
    return kinds;
}
