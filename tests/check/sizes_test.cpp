// The size check: each phase's findings, what is mended, and what the second run says.
#include <algorithm>
#include <functional>

#include "sub/sub.h"
#include "support/check_case.h"

namespace {

constexpr unsigned date_offset = 6;  // in row 19
constexpr int own_system = 1;
constexpr std::uint8_t no_kind = 77;

std::string trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/// The rows of findings, of all phases.
std::vector<std::string> rows_of(const CheckRun &run) {
    std::vector<std::string> rows;
    for (const std::string &line : run.report) {
        for (const char *text : {"volgnr", "keer voor", "Ontbrekende maat", "hersteld"}) {
            if (line.find(text) != std::string::npos && line.find("maatsoort") == std::string::npos) {
                rows.push_back(trimmed(line));
                break;
            }
        }
    }
    return rows;
}

std::string name_of(const SeriesRecord &series) {
    return ser_text(series.key);
}

std::string mended(const SeriesRecord &series, const std::string &reasons) {
    return str_format("%s %9d  Serie hersteld:%s", name_of(series).c_str(), int{series.size_kind},
                      reasons.c_str());
}

// ---- Finding one's way in a shop

SizeKindRecord &kind_of(Shop &shop, const SeriesRecord &series) {
    return *std::find_if(shop.size_kinds.begin(), shop.size_kinds.end(), [&](const SizeKindRecord &kind) {
        return kind.system == own_system && kind.kind == series.size_kind;
    });
}

/// The index with a sequence number.
std::uint8_t index_of(const SizeKindRecord &kind, int number) {
    for (std::uint8_t i = 1; i <= size_highest; i++) {
        if (kind.entries[i].link == number) {
            return i;
        }
    }
    return 0;
}

SizeBitmap bitmap(std::initializer_list<unsigned> sizes) {
    SizeBitmap made{};
    for (const unsigned size : sizes) {
        made.set(size);
    }
    return made;
}

/// Calls `change` for the filled entries of a series' label blocks, with the label number.
void for_labels(Shop &shop, const SeriesRecord &series,
                const std::function<void(LabelEntry &, std::int32_t)> &change) {
    for (std::int32_t block = series.first_block; block >= 0;) {
        LabelBlock &content = shop.label_blocks[static_cast<std::size_t>(block)];
        for (int slot = 0; slot < labels_per_block; slot++) {
            if (!label_is_empty(content.slots[slot])) {
                change(content.slots[slot], block * labels_per_block + slot + 1);
            }
        }
        block = content.next;
    }
}

void set_size(LabelEntry &entry, unsigned size) {
    entry.size = static_cast<std::uint16_t>(size * 100 + entry.size % 100);
}

void drop_labels(Shop &shop, const SeriesRecord &series) {
    for_labels(shop, series, [](LabelEntry &entry, std::int32_t) { entry = {}; });
}

void drop_sets(Shop &shop, const SeriesRecord &series) {
    std::erase_if(shop.price_sets, [&](const PriceSetRecord &set) { return set.key == series.key; });
}

/// A series with one size, its first, in labels and prices, and one price group that ends there.
SeriesRecord &plain_series(Shop &shop) {
    SeriesRecord &series = shop.series.front();
    const std::uint8_t first = index_of(kind_of(shop, series), 1);
    for_labels(shop, series, [&](LabelEntry &entry, std::int32_t) { set_size(entry, first); });
    for (PriceSetRecord &set : shop.price_sets) {
        if (set.key == series.key) {
            set.sizes = bitmap({first});
        }
    }
    series.sizes = bitmap({first});
    std::fill(std::begin(series.group_last), std::end(series.group_last), std::uint8_t{0});
    series.group_last[0] = first;
    return series;
}

/// Gives the groups of a series these last sizes, by their sequence numbers; 99 is a size that is none.
void set_groups(Shop &shop, SeriesRecord &series, std::initializer_list<int> numbers) {
    int group = 0;
    for (const int number : numbers) {
        series.group_last[group] = number == 99  ? std::uint8_t{93}
                                   : number == 0 ? std::uint8_t{0}
                                                 : index_of(kind_of(shop, series), number);
        series.group_price[group++] = 100;
    }
}

class Sizes : public CheckCase {
protected:
    void make_small() {
        make({.series = 3, .labels = 8, .customers = 0});
    }
    [[nodiscard]] SeriesRecord on_file(std::size_t place) const {
        SeriesRecord series;
        std::memcpy(&series, get("RVSER.TXT").data() + place * sizeof series, sizeof series);
        return series;
    }
};

using rows = std::vector<std::string>;

struct size_case {
    const char *name;
    rows (*spoil)(Shop &);  ///< gives the rows expected
    const char *alarm;      ///< null: the check passes
};

const size_case cases[] = {
    {"a number twice, a number left out",
     [](Shop &shop) {
         SizeKindRecord &kind = shop.size_kinds.front();
         kind = {kind.system, kind.kind, {}, {}, {}, {}, {}};
         for (const auto &[index, number] : {std::pair{1, 4}, {2, 2}, {50, 2}, {95, 1}}) {
             kind.entries[index].code[0] = 'A';
             kind.entries[index].link = static_cast<std::uint8_t>(number);
         }
         return rows{str_format("%9d      2  Komt 2 keer voor", kind.kind),
                     str_format("%9d      3  Ontbrekend volgnr", kind.kind)};
     },
     "Foutieve maatsoorten!"},
    {"numbers outside; an index without a code does not count",
     [](Shop &shop) {
         SizeKindRecord &kind = shop.size_kinds.front();
         kind = {kind.system, kind.kind, {}, {}, {}, {}, {}};
         kind.entries[7].link = 200;
         kind.entries[8].code[0] = kind.entries[9].code[0] = 'A';
         kind.entries[9].link = 96;
         return rows{str_format("%9d      0  Ongeldig volgnr", kind.kind),
                     str_format("%9d     96  Ongeldig volgnr", kind.kind)};
     },
     "Foutieve maatsoorten!"},
    {"a kind without sizes, and a bad one of another system",
     [](Shop &shop) {
         SizeKindRecord kind{};
         kind.system = own_system;
         kind.kind = 250;
         shop.size_kinds.push_back(kind);
         kind.system = 9;
         kind.entries[1] = {{'A', 'B', 'C'}, 96};
         shop.size_kinds.push_back(kind);
         return rows{};
     },
     nullptr},
    {"labels of a size that is none",
     [](Shop &shop) {
         const SeriesRecord &series = shop.series.front();
         rows expected;
         for_labels(shop, series, [&](LabelEntry &entry, std::int32_t number) {
             const unsigned size = 92 + expected.size() % 2;
             set_size(entry, expected.size() < 3 ? size : entry.size / 100U);
             if (expected.size() < 3) {
                 expected.push_back(str_format("%9d %9u         1  Ontbrekende maat %s %d", series.size_kind,
                                               size, name_of(series).c_str(), number));
             }
         });
         for (const std::string &text : {name_of(series), std::string()}) {
             for (const unsigned size : {92U, 93U}) {
                 expected.push_back(trimmed(str_format("%9d %9u %9u  Ontbrekende maat %s", series.size_kind,
                                                       size, 94 - size, text.c_str())));
             }
         }
         return expected;
     },
     "Foutieve/ontbrekende etiketmaten!"},
    {"sound",
     [](Shop &shop) {
         plain_series(shop);
         return rows{};
     },
     nullptr},
    {"size 0 alone is nothing",
     [](Shop &shop) {
         plain_series(shop).sizes.set(0);
         return rows{};
     },
     nullptr},
    {"sizes that are none",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         series.sizes.set(0);
         series.sizes.set(93);
         return rows{mended(series, " ongeldige maten,")};
     },
     nullptr},
    {"no size, though labels have one",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         drop_sets(shop, series);
         series.sizes = {};
         return rows{mended(series, " ontbrekende maten,")};
     },
     nullptr},
    {"no size, though prices have one",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         drop_labels(shop, series);
         series.sizes = {};
         return rows{mended(series, " ontbrekende maten,")};
     },
     nullptr},
    {"nothing tells the sizes: they become those of the kind",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         drop_labels(shop, series);
         for (PriceSetRecord &set : shop.price_sets) {
             set.sizes = set.key == series.key ? bitmap({0, 93}) : set.sizes;
         }
         series.sizes = {};
         set_groups(shop, series, {99, 1, 2});
         return rows{mended(series, " lege maatbalk, foutieve prijsgroepen,")};
     },
     nullptr},
    {"without labels and prices only sizes that are none go",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         drop_labels(shop, series);
         drop_sets(shop, series);
         series.sizes = bitmap({93});
         set_groups(shop, series, {99, 1});
         return rows{mended(series, " ongeldige maten,")};
     },
     nullptr},
    {"no price group in use",
     [](Shop &shop) {
         set_groups(shop, plain_series(shop), {0, 2});
         return rows{};
     },
     nullptr},
    {"groups end at sizes that the series lacks",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         set_groups(shop, series, {1, 2, 3});
         return rows{mended(series, " ontbrekende maten,")};
     },
     nullptr},
    {"the last group ends before the last size",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         series.sizes.set(index_of(kind_of(shop, series), 3));
         set_groups(shop, series, {1, 2, 1, 1, 1, 1, 1, 2});
         series.sizes.set(index_of(kind_of(shop, series), 2));
         return rows{mended(series, " foutieve prijsgroepen,")};
     },
     nullptr},
    {"a group that ends nowhere is the last one",
     [](Shop &shop) {
         SeriesRecord &series = plain_series(shop);
         series.sizes = bitmap({94});
         set_groups(shop, series, {1, 99, 2, 3});
         return rows{mended(series, " ongeldige maten, ontbrekende maten, foutieve prijsgroepen,")};
     },
     nullptr},
};

TEST_F(Sizes, FindingsAndTheSecondRun) {
    for (const size_case &each : cases) {
        SCOPED_TRACE(each.name);
        make_small();
        const rows expected = each.spoil(shop);
        write();
        const SeriesRecord old = on_file(0);
        const CheckRun run = check("sizes");
        EXPECT_EQ(rows_of(run), expected) << run;
        EXPECT_EQ(run.flags, each.alarm == nullptr ? "sizes" : "");
        EXPECT_EQ(date_on_file(date_offset) != 0, each.alarm == nullptr);
        EXPECT_EQ(run.questions.size(), each.alarm == nullptr ? 0U : 1U) << run;
        const SeriesRecord after = on_file(0);
        EXPECT_EQ(std::memcmp(&old, &after, sizeof old) == 0, each.alarm != nullptr || expected.empty());
        const CheckRun again = check("sizes");
        EXPECT_EQ(rows_of(again), each.alarm == nullptr ? rows{} : expected) << again;
        if (each.alarm == nullptr) {
            EXPECT_EQ(again.count("Geen fouten gevonden!"), 3) << again;
            EXPECT_EQ(audit(audit_sizes), "");
        } else {
            EXPECT_NE(run.last_output.find(each.alarm), std::string::npos);
        }
    }
}

TEST_F(Sizes, PagesOfARunWithoutFindings) {
    make_small();
    const CheckRun alone = check("sizes");
    for (const char *line : {"BESTANDSCONTROLES: CONTROLEREN MAATSOORTEN", "maatsoort volgnr  foutmelding",
                             "CONTROLEREN ETIKETMATEN",
                             "maatsoort maatindex etiketten  foutmelding      serienummer    etiketnummer",
                             "CONTROLEREN MATEN PER SERIE"}) {
        EXPECT_EQ(alone.count(line), 1) << line << "\n" << alone;
    }
    EXPECT_FALSE(alone.reports("hersteld")) << alone;
    EXPECT_EQ(alone.count("Laatste foutloze controle"), 3);
    EXPECT_TRUE(check("full sizes").report.empty());
}

TEST_F(Sizes, TablesOfMissingSizesAreBounded) {
    make({.series = 8, .labels = 300, .customers = 0});
    std::uint8_t kind = no_kind;
    for (SeriesRecord &series : shop.series) {
        int count = 0;
        for_labels(shop, series, [&](LabelEntry &, std::int32_t) { count++; });
        if (count > 100) {
            series.size_kind = kind++;
            unsigned size = 1;
            for_labels(shop, series, [&](LabelEntry &entry, std::int32_t) { set_size(entry, size++); });
        }
    }
    ASSERT_GE(kind, no_kind + 3);
    write();
    const CheckRun run = check("sizes");
    const rows found = rows_of(run);
    // A row for each of 250 labels; for each size of three series, the last with one that found no room; the
    // sizes of the run.
    EXPECT_EQ(found.size(), 250U + 100 + 100 + 51 + 250) << run;
    EXPECT_EQ(run.flags, "");
    // The scan that was ended early starts at the front again.
    EXPECT_EQ(rows_of(check("sizes sizes")).size(), 2 * found.size());
}

TEST_F(Sizes, DescriptionsOfNoSizeAreDeleted) {
    for (const bool sound : {true, false}) {
        make({.series = 2, .customers = 0}, {"size-name-stale", "size-name-stale"});
        const auto size = static_cast<std::size_t>(shop.size_names.size());
        SizeNameRecord orphan{own_system, 251, 3, {}};
        shop.size_names.push_back(orphan);
        if (!sound) {
            shop.size_kinds.front().entries[94] = {{'A', 'B', 'C'}, 96};
        }
        write();
        EXPECT_EQ(check("sizes").flags, sound ? "sizes" : "");
        const std::string names = get("RVMTOM.TXT");
        EXPECT_EQ(names.size(), (size + 1) * sizeof orphan);
        EXPECT_EQ(audit(audit_sizes).find("size description"), std::string::npos);
    }
}

TEST_F(Sizes, ARunThatDoesNotCompleteProvesNothing) {
    for (const char *words : {"break=series full sizes", "refuse sizes"}) {
        make_small();
        const CheckRun run = check(words);
        EXPECT_EQ(run.flags, "") << words;
        EXPECT_EQ(date_on_file(date_offset), 0U) << words;
    }
}

TEST_F(Sizes, DamagedNumbersNeitherCrashNorWriteElsewhere) {
    make_small();
    const SeriesRecord good = shop.series[1];
    SeriesRecord &bad = plain_series(shop);
    bad.size_kind = 0;
    drop_labels(shop, bad);
    std::fill(std::begin(bad.sizes.bytes), std::end(bad.sizes.bytes), std::uint8_t{0xFF});
    std::fill(std::begin(bad.group_last), std::end(bad.group_last), std::uint8_t{0xFF});
    write();
    EXPECT_EQ(rows_of(check("sizes")), rows{mended(bad, " ongeldige maten, lege maatbalk,")});
    EXPECT_EQ(std::memcmp(&good, get("RVSER.TXT").data() + sizeof good, sizeof good), 0);
    // Without a kind the sizes can't be told: that comes back until someone sees to it.
    EXPECT_EQ(rows_of(check("sizes")), rows{mended(bad, " lege maatbalk,")});
}

TEST_F(Sizes, KilledAtAnyMoment) {
    const char *wanted = std::getenv("RVCHK_ROUNDS");
    const int count = wanted == nullptr ? 4 : std::atoi(wanted);
    make({.series = 60, .customers = 0},
         {"size-name-stale", "size-series-unknown", "size-series-missing", "size-series-groups"});
    for (SeriesRecord &series : shop.series) {
        series.sizes.set(93);
    }
    for (int i = 0; i < count; i++) {
        write();
        check("kill-after=" + std::to_string(20000 + 7000 * i % 100000) + " sizes");
        EXPECT_EQ(check("sizes").flags, "sizes");
        EXPECT_EQ(audit(audit_sizes | audit_labels), "");
    }
}

}  // namespace
