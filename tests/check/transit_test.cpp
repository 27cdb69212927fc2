// The check of goods in transit: labels with the mark and without an entry, their entries and documents.
#include <algorithm>
#include <map>
#include <set>

#include "base/strformat.h"
#include "data/serieskey.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_date = 10;
constexpr char title[] = "CONTROLEREN GOEDEREN ONDERWEG";
constexpr char question[] = "Er zijn fouten gevonden. Automatisch herstellen";

class Transit : public CheckCase {
protected:
    /// A shop whose entries, but for the first few, are gone; sorted by label.
    void make_without_entries(const ShopOptions &options, std::size_t kept) {
        make(options);
        std::sort(shop.in_transit.begin(), shop.in_transit.end(),
                  [](const TransitRecord &a, const TransitRecord &b) { return a.label < b.label; });
        ASSERT_GE(shop.in_transit.size(), kept + 6) << "too few labels in transit for a test";
        missing.assign(shop.in_transit.begin() + static_cast<std::ptrdiff_t>(kept), shop.in_transit.end());
        shop.in_transit.resize(kept);
        shop.dates.transit = date_from_str("05032013");
    }
    SeriesRecord *series_of(const TransitRecord &entry) {
        const auto found = std::find_if(shop.series.begin(), shop.series.end(),
                                        [&](const SeriesRecord &series) { return series.key == entry.key; });
        return found == shop.series.end() ? nullptr : &*found;
    }
    /// The line of the first report.
    std::string line_of(const TransitRecord &entry) {
        const SeriesRecord *series = series_of(entry);
        const std::string code =
            series == nullptr
                ? ""
                : str_format("%.3s",
                             kind_of(series->size_kind).entries[label_at(entry.label).size / 100].code);
        const bool numbered = series == nullptr || series->registration == 0;
        return str_format("%-15s %10s %3d %3d %-3s", ser_text(entry.key).c_str(),
                          numbered ? std::to_string(entry.label).c_str() : "", entry.from, entry.to,
                          code.c_str());
    }
    static int entries_on_file() {
        std::set<std::int32_t> labels;
        for (const TransitRecord &entry : records<TransitRecord>("RVGO.TXT")) {
            EXPECT_TRUE(labels.insert(entry.label).second) << "two entries of a label";
        }
        return static_cast<int>(labels.size());
    }
    std::vector<TransitRecord> missing;
};

TEST_F(Transit, MissingEntriesAreReportedAndMade) {
    make_without_entries({.series = 80, .labels = 25, .branches = 3}, 2);
    shop.document.last_document = 999998;
    series_of(missing[0])->registration = 1;
    series_of(missing[1])->registration = 0;
    const SeriesKey lost = missing.back().key;
    std::erase_if(shop.series, [&](const SeriesRecord &series) { return series.key == lost; });
    write();
    CheckRun run = check("transit", "N");
    EXPECT_EQ(run.flags, "");
    EXPECT_EQ(run.questions.size(), 1U) << run;
    EXPECT_TRUE(run.asked(question) && run.reports(title)) << run;
    EXPECT_EQ(entries_on_file(), 2);
    EXPECT_FALSE(temporary_files()) << "the work list was left";
    EXPECT_EQ(date_on_file(at_date), shop.dates.transit);

    run = check("transit", "J");
    EXPECT_EQ(run.flags, "transit") << run;
    EXPECT_EQ(run.questions.size(), 1U) << "the run behind the repair finds nothing";
    EXPECT_EQ(date_on_file(at_date), date_today());
    EXPECT_EQ(entries_on_file(), 2 + static_cast<int>(missing.size()));

    // Heads, then the labels in groups of four.
    EXPECT_TRUE(run.reports("Laatste foutloze controle : 05-03-13")) << run;
    std::vector<std::string> lines = {"serienummer       etiketnr  vf  bf  mt"};
    for (std::size_t i = 0; i < missing.size(); i++) {
        if (i % 4 == 0) {
            lines.emplace_back(132, '-');
        }
        lines.push_back(line_of(missing[i]));
    }
    EXPECT_TRUE(run.shows(lines)) << run;
    // One document for a pair of branches, numbered as they came up, in the order of the pairs.
    std::map<std::pair<int, int>, int> documents;
    const int numbers[] = {29999996, 20000011, 20000028, 20000035, 20000042, 20000059};
    for (const TransitRecord &entry : missing) {
        const auto pair = documents.try_emplace({entry.from, entry.to}, numbers[documents.size()]).first;
        TransitRecord made = entry;
        std::memset(made.carried_21, 0, sizeof made.carried_21);
        made.document = pair->second;
        made.created = made.changed = date_today();
        EXPECT_TRUE(on_file("RVGO.TXT", made)) << entry.label;
    }
    lines = {" gegenereerde documentnummers", " vf  bf documentnr", std::string(132, '-')};
    for (const auto &[branches, number] : documents) {
        lines.push_back(str_format("%3d %3d   %8d", branches.first, branches.second, number));
    }
    lines.insert(lines.end(), {"", " s.v.p. deze documentnummers afwerken"});
    EXPECT_TRUE(run.shows(lines) && run.reports("Geen fouten gevonden!")) << run;
    EXPECT_EQ(check("transit").flags, "transit");
}

TEST_F(Transit, MarksOutsideSoundSeriesAndNumbersAreNotLookedAt) {
    make_without_entries({.series = 60, .labels = 25}, 0);
    for (std::size_t i = 0; i < missing.size(); i++) {
        SeriesKey &key = block((missing[i].label - 1) / labels_per_block).key;
        i % 3 == 0 ? void(key.group = 0) : i % 3 == 1 ? void(key.colour = 0) : void(key.number = 0);
    }
    write();
    EXPECT_EQ(check("transit", "N").flags, "transit");
    // A block after the last that a label number of six digits can name.
    make_without_entries({.series = 60, .labels = 25, .label_digits = 6}, 0);
    const LabelBlock marked = block((missing[0].label - 1) / labels_per_block);
    make({.series = 20, .label_digits = 6});
    std::filesystem::resize_file("RVETI.TXT", 100000 * sizeof marked);
    std::ofstream("RVETI.TXT", std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char *>(&marked), sizeof marked);
    EXPECT_EQ(check("transit", "N").flags, "transit");
}

TEST_F(Transit, DocumentCounterRunsInItsRange) {
    const std::pair<int, unsigned> counters[] = {
        {0, 20000011}, {123456, 21234576}, {999999, 20000011}, {-5, 20000011}, {2000000000, 20000011}};
    for (const auto &[last, document] : counters) {
        make({.series = 20}, {"transit-no-entry"});
        shop.document.last_document = last;
        write();
        const CheckRun run = check("transit");
        EXPECT_EQ(run.flags, "transit");
        EXPECT_TRUE(run.reports(str_format("   %8u", document))) << last << "\n" << run;
    }
}

}  // namespace
