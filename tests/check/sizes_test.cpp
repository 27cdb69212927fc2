// The size check: each phase's findings, what is mended, and what the second run says.
#include <algorithm>
#include <functional>

#include "data/data.h"
#include "support/check_case.h"

namespace {

using rows = std::vector<std::string>;

constexpr unsigned date_offset = 6;  // in row 19
constexpr std::uint8_t own_system = 1;
constexpr std::uint8_t no_kind = 77;
constexpr int no_size = 99;  // stands for a size that its kind does not have

/// The rows of findings, of all phases.
rows rows_of(const CheckRun &run) {
    return run.rows({"Ongeldig volgnr", "Ontbrekend volgnr", "keer voor", "  Ontbrekende maat", "hersteld:"});
}

std::string mended(const SeriesRecord &series, const char *reasons) {
    return str_format("%s %9d  Serie hersteld:%s", ser_text(series.key).c_str(), int{series.size_kind},
                      reasons);
}

class Sizes : public CheckCase {
protected:
    void make_small() {
        make({.series = 3, .labels = 8, .customers = 0});
    }
    /// Calls `change` for the labels of a series, with their numbers.
    void for_labels(const SeriesRecord &series,
                    const std::function<void(LabelEntry &, std::int32_t)> &change) {
        for (const std::int32_t number : chain(series.first_block)) {
            for (int slot = 0; slot < labels_per_block; slot++) {
                if (!label_is_empty(block(number).slots[slot])) {
                    change(block(number).slots[slot], eti_number(number, slot));
                }
            }
        }
    }
    static void set_size(LabelEntry &entry, unsigned size) {
        entry.size = static_cast<std::uint16_t>(size * 100 + entry.size % 100);
    }
    /// The index of a size by its number in the kind of the series.
    std::uint8_t index_of(const SeriesRecord &series, int number) {
        for (std::uint8_t i = 1; i <= size_highest && number != 0; i++) {
            if (kind_of(series.size_kind).entries[i].link == number) {
                return i;
            }
        }
        return number == 0 ? std::uint8_t{0} : std::uint8_t{93};
    }
    SizeBitmap bitmap(const SeriesRecord &series, const std::vector<int> &numbers) {
        SizeBitmap made{};
        for (const int number : numbers) {
            made.set(index_of(series, number));
        }
        return made;
    }
    /// Lets a series have all its labels (or none) in size 1, price sets for some sizes (or none), and sizes
    /// and price groups of its own; all by their numbers in the kind.
    void arrange(SeriesRecord &series, bool labels, const std::vector<int> &prices,
                 const std::vector<int> &sizes, const std::vector<int> &groups) {
        for_labels(series, [&](LabelEntry &entry, std::int32_t) {
            labels ? set_size(entry, index_of(series, 1)) : void(entry = {});
        });
        const auto own = [&](const PriceSetRecord &set) { return set.key == series.key; };
        std::erase_if(shop.price_sets, [&](const PriceSetRecord &set) { return own(set) && prices.empty(); });
        for (PriceSetRecord &set : shop.price_sets) {
            set.sizes = own(set) ? bitmap(series, prices) : set.sizes;
        }
        series.sizes = bitmap(series, sizes);
        for (std::size_t i = 0; i < price_groups; i++) {
            series.group_last[i] = i < groups.size() ? index_of(series, groups[i]) : std::uint8_t{0};
            series.group_price[i] = 100;
        }
    }
};

TEST_F(Sizes, NumbersOfAKind) {
    struct {
        std::vector<std::pair<int, int>> entries;  ///< index and sequence number; index 0: that of no code
        std::vector<const char *> findings;
    } const cases[] = {
        {{{1, 4}, {2, 2}, {50, 2}, {95, 1}}, {"     2  Komt 2 keer voor", "     3  Ontbrekend volgnr"}},
        {{{8, 0}, {9, 96}, {95, 255}},
         {"     0  Ongeldig volgnr", "    96  Ongeldig volgnr", "   255  Ongeldig volgnr"}},
        {{}, {}},
    };
    for (const auto &each : cases) {
        make_small();
        const std::string names = live("RVMTOM");
        SizeKindRecord kind{own_system, 250, {}, {}, {}, {}, {}};
        for (const auto &[index, number] : each.entries) {
            kind.entries[index] = {{'A', 'B', 'C'}, static_cast<std::uint8_t>(number)};
        }
        kind.entries[7].link = 200;  // no code, no size
        shop.size_kinds.push_back(kind);
        kind.system = 9;
        kind.entries[1].link = 96;  // not of this shop
        shop.size_kinds.push_back(kind);
        shop.size_names.push_back({own_system, 250, 3, {}});  // without a size, and without a kind
        shop.size_names.push_back({own_system, 251, 3, {}});
        write();
        rows expected;
        for (const char *finding : each.findings) {
            expected.push_back("      250 " + std::string(finding));
        }
        const bool sound = expected.empty();
        for (int i = 0; i < 2; i++) {
            const CheckRun run = check("sizes");
            EXPECT_EQ(rows_of(run), expected) << run;
            EXPECT_EQ(run.flags, sound ? "sizes" : "");
            EXPECT_EQ(date_on_file(date_offset) != 0, sound);
            EXPECT_NE(run.asked("Foutieve maatsoorten!"), sound);
            EXPECT_TRUE(live("RVMTOM") == names);
        }
    }
}

TEST_F(Sizes, MissingSizesOfLabels) {
    make_small();
    const SeriesRecord &series = shop.series.front();
    const std::string name = ser_text(series.key);
    rows expected;
    for_labels(series, [&](LabelEntry &entry, std::int32_t number) {
        if (expected.size() < 3) {
            const unsigned size = 92 + expected.size() % 2;
            set_size(entry, size);
            expected.push_back(str_format("%9d %9u         1  Ontbrekende maat %s %d", series.size_kind, size,
                                          name.c_str(), number));
        }
    });
    write();
    for (const std::string &text : {name, std::string()}) {
        for (const unsigned size : {92U, 93U}) {
            expected.push_back(trimmed(str_format("%9d %9u %9u  Ontbrekende maat %s", series.size_kind, size,
                                                  94 - size, text.c_str())));
        }
    }
    for (int i = 0; i < 2; i++) {
        const CheckRun run = check("sizes");
        EXPECT_EQ(rows_of(run), expected) << run;
        EXPECT_EQ(run.flags, "");
        EXPECT_TRUE(run.asked("Foutieve/ontbrekende etiketmaten!"));
    }
}

TEST_F(Sizes, TablesOfMissingSizesAreBounded) {
    make({.series = 8, .labels = 300, .customers = 0});
    std::uint8_t kind = no_kind;
    for (SeriesRecord &series : shop.series) {
        int count = 0;
        for_labels(series, [&](LabelEntry &, std::int32_t) { count++; });
        if (count > 100) {
            series.size_kind = kind++;
            unsigned size = 1;
            for_labels(series, [&](LabelEntry &entry, std::int32_t) { set_size(entry, size++); });
        }
    }
    ASSERT_GE(kind, no_kind + 3);
    write();
    // A row for each of 250 labels; for each size of three series, the last with one that found no room; the
    // sizes of the run. The scan that was ended early starts at the front again.
    EXPECT_EQ(rows_of(check("sizes sizes")).size(), 2 * (250U + 100 + 100 + 51 + 250));
}

TEST_F(Sizes, SeriesAreMended) {
    struct {
        bool labels;
        std::vector<int> prices, sizes, groups;
        const char *reasons;
    } const cases[] = {
        {true, {1}, {1}, {1}, ""},
        {true, {1}, {0, 1}, {1}, ""},
        {true, {1}, {0, 1, no_size}, {1}, " ongeldige maten,"},
        {true, {}, {}, {2}, " ontbrekende maten,"},
        {false, {1}, {}, {1}, " ontbrekende maten,"},
        {false, {0, no_size}, {}, {no_size, 1, 2}, " lege maatbalk, foutieve prijsgroepen,"},
        {false, {}, {no_size}, {no_size, 1}, " ongeldige maten,"},
        {true, {1}, {1}, {0, 2}, ""},  // no group in use
        {true, {1}, {1}, {1, 2, 3}, " ontbrekende maten,"},
        {true, {1}, {1, 2, 3}, {1, 2, 1, 1, 1, 1, 1, 2}, " foutieve prijsgroepen,"},
        {true,
         {1},
         {no_size},
         {1, no_size, 2, 3},
         " ongeldige maten, ontbrekende maten, foutieve prijsgroepen,"},
    };
    make({.series = 30, .labels = 8, .customers = 0});
    rows expected;
    std::vector<SeriesRecord *> left_alone;
    auto series = shop.series.begin();
    for (const auto &each : cases) {
        while (index_of(*series, 3) == 93) {
            series++;
        }
        arrange(*series, each.labels, each.prices, each.sizes, each.groups);
        if (*each.reasons != '\0') {
            expected.push_back(mended(*series, each.reasons));
        } else {
            left_alone.push_back(&*series);
        }
        series++;
    }
    write();
    std::sort(expected.begin(), expected.end());
    const CheckRun run = check("sizes");
    rows found = rows_of(run);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected) << run;
    EXPECT_EQ(run.flags, "sizes");
    EXPECT_EQ(audit(audit_sizes), "");
    for (const SeriesRecord *each : left_alone) {
        EXPECT_TRUE(on_file("RVSER.TXT", *each));
    }
    EXPECT_EQ(check("sizes").count("Geen fouten gevonden!"), 3);
    EXPECT_TRUE(check("full sizes").report.empty());
}

TEST_F(Sizes, WithoutAKindTheSizesCantBeTold) {
    make_small();
    SeriesRecord &bad = shop.series.front();
    arrange(bad, false, {1}, {}, {});
    bad.size_kind = 0;
    std::fill(std::begin(bad.sizes.bytes), std::end(bad.sizes.bytes), std::uint8_t{0xFF});
    std::fill(std::begin(bad.group_last), std::end(bad.group_last), std::uint8_t{0xFF});
    write();
    EXPECT_EQ(rows_of(check("sizes")), rows{mended(bad, " ongeldige maten, lege maatbalk,")});
    const CheckRun again = check("sizes");
    EXPECT_EQ(rows_of(again), rows{mended(bad, " lege maatbalk,")});
    EXPECT_EQ(again.found(), "sizes.7");
}

}  // namespace
