// What the check of the master data can find, and the lines that tell it.
#include <algorithm>

#include "check/frame/columns.h"
#include "check/master/master.h"

namespace {

constexpr unsigned highest_byte = 255;
constexpr unsigned highest_number = 9999;
constexpr unsigned highest_word = 65535;
constexpr unsigned highest_group = 99999;
constexpr unsigned saving_actions = 9;

// Categories, items, texts and remedies; functions, because the catalogue is asked when a line is printed.

const char *master_data() {
    return detail_text(20, 1, "Stamgegevens");
}
const char *system_data() {
    return detail_text(20, 2, "Systeemgegevens");
}
const char *turnover_data() {
    return detail_text(20, 3, "Omzetgegevens");
}
const char *small_articles() {
    return detail_text(20, 4, "Kleine artikelen");
}

const char *article_group() {
    return detail_text(20, 10, "artikelgroep");
}
const char *supplier() {
    return detail_text(20, 11, "leverancier");
}
const char *brand() {
    return detail_text(20, 12, "merk");
}
const char *size_kind() {
    return detail_text(20, 13, "maatsoort");
}
const char *branch() {
    return detail_text(20, 14, "filiaalnummer");
}
const char *turnover_group() {
    return detail_text(20, 15, "omzetgroep");
}
const char *salesman() {
    return detail_text(20, 16, "verkoper");
}
const char *article() {
    return detail_text(20, 17, "artikelnr");
}
const char *saving_action() {
    return detail_text(20, 18, "spaaractie");
}

const char *no_description() {
    return detail_text(20, 30, "omschrijving niet aanwezig");
}
const char *session_lowered() {
    return detail_text(20, 31, "Ongeldige sessienummer, is automatisch gecorrigeerd.");
}
const char *no_turnover() {
    return detail_text(20, 32, "omzetgroep niet gedefinieerd");
}
const char *define_turnover() {
    return detail_text(20, 33, "definieer omzetgroep bij artikelgroep");
}
const char *unknown_turnover() {
    return detail_text(20, 34, "Omzetgroep onbekend");
}
const char *define_or_change() {
    return detail_text(20, 35, "definieer omzetgroep of wijzig omzetgroep");
}
const char *vat_differs() {
    return detail_text(20, 36, "BTW code afwijkend van omzetgroep");
}
const char *vat_changed() {
    return detail_text(20, 37, "BTW code aangepast");
}
const char *no_size_code() {
    return detail_text(20, 38, "maatcode niet gevuld");
}
const char *no_or_unknown_turnover() {
    return detail_text(20, 39, "omzetgroep niet aanwezig of onbekend");
}
const char *period_wrong() {
    return detail_text(20, 40, "periode vanaf t/m niet correct");
}
const char *name_it() {
    return detail_text(27, 100, "geef een naam in");
}
const char *give_turnover() {
    return detail_text(27, 101, "geef bij de artikelgroep een omzetgroep in");
}
const char *make_turnover() {
    return detail_text(27, 102, "maak de omzetgroep, of kies een andere");
}
const char *vat_taken() {
    return detail_text(27, 103, "de BTW-code van de omzetgroep is overgenomen");
}
const char *session_taken() {
    return detail_text(27, 104, "het nummer is verlaagd");
}
const char *give_size_code() {
    return detail_text(27, 105, "geef bij de maatsoort een code in");
}
const char *give_article_turnover() {
    return detail_text(27, 106, "geef bij het artikel een omzetgroep in");
}
const char *give_period() {
    return detail_text(27, 107, "geef begin- en einddatum in");
}
const char *remove_series() {
    return detail_text(27, 108, "de sleutel is onmogelijk: Support");
}
const char *make_group() {
    return detail_text(27, 109, "maak de artikelgroep");
}
const char *name_colour() {
    return detail_text(27, 110, "de kleur is toegevoegd; geef haar een naam");
}
const char *make_or_change() {
    return detail_text(27, 111, "maak wat ontbreekt, of wijzig de serie");
}
const char *define_kind() {
    return detail_text(27, 112, "definieer de maatsoort");
}
const char *change_season() {
    return detail_text(27, 113, "wijzig het seizoen van de serie");
}
const char *give_label_kind() {
    return detail_text(27, 114, "geef bij de artikelgroep een etiketsoort in");
}

constexpr finding_kind kinds[] = {
    {"master.1", finding_fate::human, 0, no_description, name_it},
    {"master.2", finding_fate::human, 0, no_turnover, give_turnover},
    {"master.3", finding_fate::human, 0, unknown_turnover, make_turnover},
    {"master.4", finding_fate::mended, 0, vat_differs, vat_taken},
    {"master.5", finding_fate::mended, 0, session_lowered, session_taken},
    {"master.6", finding_fate::human, 0, no_description, name_it},
    {"master.7", finding_fate::mended, 0, session_lowered, session_taken},
    {"master.8", finding_fate::human, 0, no_description, name_it},
    {"master.9", finding_fate::mended, 0, session_lowered, session_taken},
    {"master.10", finding_fate::mended, 0, session_lowered, session_taken},
    {"master.11", finding_fate::human, 0, no_size_code, give_size_code},
    {"master.12", finding_fate::human, 0, no_description, name_it},
    {"master.13", finding_fate::human, 0, no_description, name_it},
    {"master.15", finding_fate::human, 0, no_description, name_it},
    {"master.16", finding_fate::human, 0, no_description, name_it},
    {"master.17", finding_fate::human, 0, no_or_unknown_turnover, give_article_turnover},
    {"master.19", finding_fate::human, 0, period_wrong, give_period},
    {"master.20", finding_fate::human, 0, no_description, name_it},
    {"master.21", finding_fate::human, 0, [] { return detail_text(20, 50, "Ongeldige serie"); },
     remove_series},
    {"master.22", finding_fate::human, 0, [] { return detail_text(20, 51, "Artikelgroep niet aanwezig"); },
     make_group},
    {"master.23", finding_fate::mended, 0,
     [] { return detail_text(20, 52, "Kleur niet aanwezig. Kleur toegevoegd"); }, name_colour},
    {"master.24", finding_fate::human, 0, [] { return detail_text(20, 53, "Merk niet aanwezig"); },
     make_or_change},
    {"master.25", finding_fate::human, 0, [] { return detail_text(20, 54, "Leverancier niet aanwezig"); },
     make_or_change},
    {"master.26", finding_fate::human, 0, [] { return detail_text(20, 55, "Maatsoort niet aanwezig"); },
     define_kind},
    {"master.27", finding_fate::human, 0, [] { return detail_text(20, 56, "jaar-seizoen niet gevuld"); },
     change_season},
    {"master.28", finding_fate::human, 0, [] { return detail_text(20, 57, "ongeldige deelseizoen"); },
     change_season},
    {"master.29", finding_fate::human, 0, [] { return detail_text(20, 58, "etiketsoort niet gevuld"); },
     give_label_kind},
};

/// A class of findings in the reference files: its row in the table above has the same place.
struct class_layout {
    master_class of;
    unsigned highest;  ///< number
    const char *file;
    const char *(*category)();
    const char *(*item)();
    const char *(*advice)();  ///< printed behind the text; null where the text says it all
};

// Turnover groups above 9999 are faulty but not deleted, so they can occur.
constexpr class_layout classes[] = {
    {group_no_name, highest_group, "RVART", master_data, article_group, nullptr},
    {group_no_turnover, highest_group, "RVART", master_data, article_group, define_turnover},
    {group_turnover_unknown, highest_group, "RVART", master_data, article_group, define_or_change},
    {group_vat_differs, highest_group, "RVART", master_data, article_group, vat_changed},
    {group_session, highest_group, "RVART", master_data, article_group, nullptr},
    {supplier_no_name, highest_number, "RVLEV", master_data, supplier, nullptr},
    {supplier_session, highest_number, "RVLEV", master_data, supplier, nullptr},
    {brand_no_name, highest_number, "RVMERK", master_data, brand, nullptr},
    {brand_session, highest_number, "RVMERK", master_data, brand, nullptr},
    {size_kind_session, highest_byte, "RVMAAT", master_data, size_kind, nullptr},
    {size_kind_no_code, highest_byte, "RVMAAT", master_data, size_kind, nullptr},
    {branch_no_name, highest_byte, "RVFILGEG", system_data, branch, nullptr},
    {turnover_no_name, highest_word, "RVOMZGRP", turnover_data, turnover_group, nullptr},
    {staff_no_name, highest_number, "RVVKP", turnover_data, salesman, nullptr},
    {article_no_name, highest_number, "RVARTREG", small_articles, article, nullptr},
    {article_turnover, highest_number, "RVARTREG", small_articles, article, nullptr},
    {action_no_period, saving_actions, "KASPARM", turnover_data, saving_action, nullptr},
    {action_no_name, saving_actions, "KASPARM", turnover_data, saving_action, nullptr},
};

/// A line of the reference files.
struct finding_line {
    std::size_t place;  ///< of the class
    unsigned number;
};

bool is_head_office(const finding_line &line) {
    return classes[line.place].of == branch_no_name && line.number == sys_settings.branches;
}

constexpr report_column<finding_line> columns[] = {
    {nullptr, "",
     [](const finding_line &line) { return text_cell("%-20.20s", classes[line.place].category()); }},
    {nullptr, "",
     [](const finding_line &line) {
         return is_head_office(line) ? text_cell("%-25.25s ", detail_text(20, 19, "firma"))
                                     : text_cell("%-20.20s", classes[line.place].item());
     }},
    {nullptr, "",
     [](const finding_line &line) {
         return is_head_office(line) ? text_cell("%s", "")
                                     : number_cell("%6ld", static_cast<long>(line.number));
     }},
    {nullptr, "",
     [](const finding_line &line) {
         return text_cell(classes[line.place].advice == nullptr ? "       %s" : "       %-33.33s: ",
                          kinds[line.place].text());
     }},
    {nullptr, "",
     [](const finding_line &line) {
         const auto advice = classes[line.place].advice;
         return advice == nullptr ? text_cell("%s", "") : text_cell("%-44.44s", advice());
     }},
};

}  // namespace

std::span<const finding_kind> master_findings() {
    return kinds;
}

const finding_kind &master_kind(master_series_finding of) {
    return kinds[std::size(classes) + static_cast<std::size_t>(of)];
}

reference_findings::reference_findings() : numbers(std::size(classes)) {}

void reference_findings::add(master_class of, unsigned number) {
    errors++;
    const auto *const layout = std::find_if(std::begin(classes), std::end(classes),
                                            [of](const class_layout &one) { return one.of == of; });
    const auto place = static_cast<std::size_t>(layout - classes);
    std::vector<bool> &found = numbers[place];
    found.resize(layout->highest + 1);
    const unsigned shown = std::min(number, layout->highest);
    if (!found[shown] && chk_is_heard()) {
        chk_found(kinds[place], layout->file, {field_of("number", std::int64_t{number})});
    }
    found[shown] = true;
}

void reference_findings::print() const {
    for (std::size_t place = 0; place < numbers.size(); place++) {
        for (unsigned number = 0; number < numbers[place].size(); number++) {
            if (numbers[place][number]) {
                chk_room(2);
                print_line<finding_line>(columns, {place, number});
            }
        }
    }
}
