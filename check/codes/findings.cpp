#include "base/base.h"
#include "check/codes/code_file.h"

namespace {

const char *order_number_deleted() {
    return detail_text(27, 150, "het bestelnummer wordt verwijderd");
}

constexpr finding_kind number_kinds[] = {
    {"order_numbers.1", finding_fate::asked, 0, [] { return detail_text(21, 1, "Serie niet aanwezig"); },
     order_number_deleted},
    {"order_numbers.2", finding_fate::asked, 0,
     [] { return detail_text(21, 2, "Maat niet bekend bij serie"); }, order_number_deleted},
    {"order_numbers.3", finding_fate::asked, 0,
     [] { return detail_text(21, 3, "Leverancier niet bekend bij serie"); }, order_number_deleted},
};

const char *barcode_deleted() {
    return detail_text(27, 155, "de oude code wordt verwijderd");
}

constexpr finding_kind barcode_kinds[] = {
    {"barcodes.1", finding_fate::asked, 0, [] { return detail_text(21, 1, "Serie niet aanwezig"); },
     barcode_deleted},
    {"barcodes.2", finding_fate::asked, 0, [] { return detail_text(21, 2, "Maat niet bekend bij serie"); },
     barcode_deleted},
};

}  // namespace

std::span<const finding_kind> order_number_findings() {
    return number_kinds;
}

std::span<const finding_kind> barcode_findings() {
    return barcode_kinds;
}
