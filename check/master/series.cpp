// The walk of the series: what each of them refers to, and the few fields that a series always has.
#include <algorithm>
#include <array>
#include <memory>

#include "check/frame/columns.h"
#include "check/master/master.h"
#include "data/leesstam.h"

namespace {

constexpr std::uint8_t season_highest = 9;
constexpr std::size_t series_key_bytes = sizeof(SeriesKey);

using finding_set = bool[master_series_findings];

/// Records that series referred to, by their number: the same few come up again and again. Each number has
/// one place, which the next record with that place takes; what was not found is looked for again.
template <class Record>
class recent_records {
public:
    Record &place(std::uint32_t number) {
        return records[number % records.size()];
    }

private:
    std::array<Record, 256> records{};
};
struct referred_records {
    recent_records<ArticleGroupRecord> groups;
    recent_records<BrandRecord> brands;
    recent_records<SupplierRecord> suppliers;
    recent_records<numbered_name> colours;
    recent_records<numbered_name> size_kinds;
};

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

void test_references(const SeriesRecord &series, referred_records &recent, finding_set &found) {
    ArticleGroupRecord &group = recent.groups.place(series.key.group);
    found[no_group] = art_read(chk_files.rvart, group, series.key.group) == 0;
    found[colour_added] = colour_read(recent.colours.place(series.key.colour), series.key.colour) == 0;
    if (found[colour_added]) {
        add_colour(series.key.colour);
    }
    found[no_brand] = merk_read(chk_files.rvmerk, recent.brands.place(series.brand), series.brand) == 0;
    found[no_supplier] =
        series.supplier != 0 &&
        lev_read(chk_files.rvlev, recent.suppliers.place(series.supplier), series.supplier) == 0;
    found[no_size_kind] = list_b_read(recent.size_kinds.place(series.size_kind), series.size_kind) == 0;
    const char letter = series.season_letter;
    found[no_season_letter] = letter != 'Z' && letter != 'W' && letter != 'K';
    found[no_season_number] = series.season_number > season_highest;
    found[no_label_kind] = series.target_group == 0 && group.label_kind == 0;
}

/// Fills in the fields that a series must have.
void fill_in(SeriesRecord &series, const ArticleGroupRecord &group) {
    if (series.letter == '\0') {
        series.letter = ' ';
    }
    if (empty_text(series.model)) {
        constexpr char no_model[] = "###";
        std::memcpy(series.model, no_model, sizeof no_model);
    }
    if (series.target_group == 0) {
        series.target_group = group.label_kind;
    }
}

void mend(const SeriesRecord &series, const ArticleGroupRecord &group) {
    SeriesRecord filled = series;
    fill_in(filled, group);
    if (std::memcmp(&filled, &series, sizeof series) != 0) {
        mend_walk_record(chk_files.rvser, series, series_key_bytes,
                         [&](SeriesRecord &fresh) { fill_in(fresh, group); });
    }
}

struct series_line {
    const SeriesKey &key;
    const finding_kind &kind;
};

constexpr report_column<series_line> columns[] = {
    {nullptr, "",
     [](const series_line &) { return text_cell("%-20.20s", detail_text(20, 5, "Seriegegevens")); }},
    {nullptr, "",
     [](const series_line &) { return text_cell("%-11.11s ", detail_text(21, 11, "serienummer")); }},
    {nullptr, "", [](const series_line &line) { return text_cell("%-14.14s       ", ser_text(line.key)); }},
    {nullptr, "", [](const series_line &line) { return text_cell("%s", line.kind.text()); }},
};

void print_findings(const SeriesKey &key, const finding_set &found) {
    for (int i = 0; i < master_series_findings; i++) {
        if (!found[i]) {
            continue;
        }
        const finding_kind &kind = master_kind(static_cast<master_series_finding>(i));
        if (chk_is_heard()) {
            chk_found(kind, "RVSER", {field_of(key)});
        }
        chk_room(2);
        print_line<series_line>(columns, {key, kind});
    }
}

/// True when something was found that keeps the check from passing.
bool check_series(const SeriesRecord &series, referred_records &recent) {
    finding_set found = {};
    found[key_invalid] = !chk_key_valid(series.key);
    if (!found[key_invalid]) {
        test_references(series, recent, found);
        mend(series, recent.groups.place(series.key.group));
    }
    print_findings(series.key, found);
    found[colour_added] = false;
    return std::find(std::begin(found), std::end(found), true) != std::end(found);
}

}  // namespace

bool master_walk_series(reference_findings &found) {
    op_caption(op_field::series_referring, detail_text(20, 61, "Serienummer"));
    const auto recent = std::make_unique<referred_records>();
    op_ticker<SeriesKey> shown(op_field::series_referring, ser_text);
    SeriesRecord series{};
    for (bool more = chk_scan_first(chk_files.rvser, &series); more; more = IXSEQ(chk_files.rvser, &series)) {
        shown.show(series.key);
        if (check_series(series, *recent)) {
            found.count_error();
        }
    }
    return !op_interrupted();
}
