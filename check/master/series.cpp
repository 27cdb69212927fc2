// The walk of the series: what each of them refers to, and the few fields that a series always has.
#include <algorithm>

#include "check/master/master.h"
#include "data/leesstam.h"
#include "report/report.h"

namespace {

constexpr std::uint8_t season_highest = 9;
constexpr std::size_t series_key_bytes = sizeof(SeriesKey);

/// Findings of one series, in the order of their lines.
enum series_finding : int {
    key_invalid,
    no_group,
    colour_added,
    no_brand,
    no_supplier,
    no_size_kind,
    no_season_letter,
    no_season_number,
    no_label_kind,
    series_findings,
};
const char *text_of(int finding) {
    switch (finding) {
        case key_invalid:
            return detail_text(20, 50, "Ongeldige serie");
        case no_group:
            return detail_text(20, 51, "Artikelgroep niet aanwezig");
        case colour_added:
            return detail_text(20, 52, "Kleur niet aanwezig. Kleur toegevoegd");
        case no_brand:
            return detail_text(20, 53, "Merk niet aanwezig");
        case no_supplier:
            return detail_text(20, 54, "Leverancier niet aanwezig");
        case no_size_kind:
            return detail_text(20, 55, "Maatsoort niet aanwezig");
        case no_season_letter:
            return detail_text(20, 56, "jaar-seizoen niet gevuld");
        case no_season_number:
            return detail_text(20, 57, "ongeldige deelseizoen");
        case no_label_kind:
            return detail_text(20, 58, "etiketsoort niet gevuld");
        default:
            return "";
    }
}

using finding_set = bool[series_findings];

/// The records that the last series referred to.
struct {
    ArticleGroupRecord group;
    BrandRecord brand;
    SupplierRecord supplier;
    numbered_name colour;
    numbered_name size_kind;
} at_hand;

void add_colour(std::int32_t number) {
    NameRecord name{};
    if (iotab(tab_action::lock_read, number, name, region_colours) != 0) {
        iotab(tab_action::unlock, number, name, region_colours);  // another program was first
        return;
    }
    std::snprintf(name.text, sizeof name.text, "%5s %d", detail_text(20, 60, "kleur"),
                  static_cast<int>(number));
    iotab(tab_action::write, number, name, region_colours);
}

void test_references(const SeriesRecord &series, finding_set &found) {
    found[no_group] = art_read(chk_files.rvart, at_hand.group, series.key.group) == 0;
    found[colour_added] = colour_read(at_hand.colour, series.key.colour) == 0;
    if (found[colour_added]) {
        add_colour(series.key.colour);
    }
    found[no_brand] = merk_read(chk_files.rvmerk, at_hand.brand, series.brand) == 0;
    found[no_supplier] =
        series.supplier != 0 && lev_read(chk_files.rvlev, at_hand.supplier, series.supplier) == 0;
    found[no_size_kind] = list_b_read(at_hand.size_kind, series.size_kind) == 0;
    const char letter = series.season_letter;
    found[no_season_letter] = letter != 'Z' && letter != 'W' && letter != 'K';
    found[no_season_number] = series.season_number > season_highest;
    found[no_label_kind] = series.target_group == 0 && at_hand.group.label_kind == 0;
}

/// Fills in the fields that a series must have.
void fill_in(SeriesRecord &series) {
    if (series.letter == '\0') {
        series.letter = ' ';
    }
    if (empty_text(series.model)) {
        constexpr char no_model[] = "###";
        std::memcpy(series.model, no_model, sizeof no_model);
    }
    if (series.target_group == 0) {
        series.target_group = at_hand.group.label_kind;
    }
}

void mend(const SeriesRecord &series) {
    SeriesRecord filled = series;
    fill_in(filled);
    if (std::memcmp(&filled, &series, sizeof series) != 0) {
        mend_walk_record(chk_files.rvser, series, series_key_bytes, fill_in);
    }
}

void print_findings(const SeriesKey &key, const finding_set &found) {
    for (int i = 0; i < series_findings; i++) {
        if (!found[i]) {
            continue;
        }
        chk_room(2);
        prt_printf(fmt_left_s(20), detail_text(20, 5, "Seriegegevens"));
        prt_printf("%-11.11s %-14.14s", detail_text(21, 11, "serienummer"), ser_text(key).c_str());
        prt_fill(7, ' ');
        prt_printf("%s", text_of(i));
        prt_newline();
    }
}

void check_series(const SeriesRecord &series) {
    finding_set found = {};
    found[key_invalid] = !chk_key_valid(series.key);
    if (!found[key_invalid]) {
        test_references(series, found);
        mend(series);
    }
    print_findings(series.key, found);
    found[colour_added] = false;
    if (std::find(std::begin(found), std::end(found), true) != std::end(found)) {
        master_count_error();
    }
}

}  // namespace

bool master_walk_series() {
    op_caption(op_field::series_referring, detail_text(20, 61, "Serienummer"));
    at_hand = {};
    SeriesRecord series{};
    for (bool more = chk_scan_first(chk_files.rvser, &series); more; more = IXSEQ(chk_files.rvser, &series)) {
        op_value(op_field::series_referring, ser_text(series.key).c_str());
        check_series(series);
    }
    return !op_interrupted();
}
