#include <algorithm>
#include <iterator>

#include "base/base.h"
#include "check/customers/customers.h"

namespace {

const char *cut() {
    return detail_text(27, 75, "de ketting eindigt voor de fout");
}
const char *made() {
    return detail_text(27, 76, "de klant wordt aangemaakt, het etiket komt in zijn ketting");
}
const char *linked() {
    return detail_text(27, 77, "het etiket komt in de ketting van de klant");
}
const char *gone() {
    return detail_text(27, 78, "de klant is verwijderd");
}
const char *name() {
    return detail_text(27, 79, "geef de naam in bij de klantenadministratie");
}

constexpr finding_kind kinds[] = {
    {"customers.1", finding_fate::asked, 0, [] { return detail_text(22, 10, "etiketnr buiten bestand"); },
     cut},
    {"customers.2", finding_fate::asked, 0, [] { return detail_text(22, 11, "etiketnr niet aanwezig"); },
     cut},
    {"customers.3", finding_fate::asked, 0, [] { return detail_text(22, 12, "etiketnr van ander klantnr"); },
     cut},
    {"customers.4", finding_fate::asked, 0, [] { return detail_text(22, 13, "etiket status"); }, cut},
    {"customers.5", finding_fate::asked, 0, [] { return detail_text(22, 14, "etiketnr reeds aanwezig"); },
     cut},
    {"customers.101", finding_fate::asked, 0,
     [] { return detail_text(22, 15, "etiketnr niet in ketting, klantnr NIET aanwezig"); }, made},
    {"customers.102", finding_fate::asked, 0,
     [] { return detail_text(22, 16, "etiketnr niet in ketting, klantnr aanwezig"); }, linked},
    {"customers.103", finding_fate::mended, 0,
     [] { return detail_text(27, 80, "ongeldig teken in de selectiekenmerken aangepast"); },
     [] { return detail_text(27, 81, "zet ze zo nodig opnieuw klaar voor de kassa"); }},
    {"customers.104", finding_fate::mended, 0,
     [] { return detail_text(22, 17, "Ongeldig klantnummer, klant verwijderd"); }, gone},
    {"customers.105", finding_fate::human, 0, [] { return detail_text(22, 18, "klantnaam NIET aanwezig"); },
     name},
};

/// The errors in the order of the table.
constexpr customer_error order[] = {
    error_outside,     error_no_label,   error_foreign,  error_not_sold,   error_seen,
    error_no_customer, error_not_linked, error_bad_mark, error_bad_number, error_no_name,
};
static_assert(std::size(order) == std::size(kinds));

constexpr finding_kind title_kinds[] = {
    {"titles.1", finding_fate::human, 0, [] { return detail_text(22, 31, "omschrijving niet gedefinieerd"); },
     [] { return detail_text(27, 95, "voeg de omschrijving toe, of wijzig de code van de klant"); }},
};

constexpr finding_kind country_kinds[] = {
    {"countries.1", finding_fate::human, 0,
     [] { return detail_text(22, 41, "bevat geen geldige landcode; landcode toekennen aan klant."); },
     [] { return detail_text(27, 98, "zet NLD in de landentabel, of geef de klant een landcode"); }},
};

}  // namespace

std::span<const finding_kind> customer_findings() {
    return kinds;
}

const finding_kind &customer_kind(int code) {
    return kinds[std::find(std::begin(order), std::end(order) - 1, code) - std::begin(order)];
}

std::span<const finding_kind> title_findings() {
    return title_kinds;
}

std::span<const finding_kind> country_findings() {
    return country_kinds;
}
