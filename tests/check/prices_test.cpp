// The price check: its report, and the prices that it gives to labels.
#include <algorithm>
#include <csignal>
#include <map>
#include <set>

#include "base/dates.h"
#include "base/strformat.h"
#include "check/check.h"
#include "check/label_prices/price_rate.h"
#include "data/ioink_internal.h"
#include "data/serieskey.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_price_date = 4;
constexpr std::size_t block_bytes = 40;

class Prices : public CheckCase {
protected:
    PriceBlock &block(std::int32_t number) {
        return shop.price_blocks[static_cast<std::size_t>(number)];
    }
    bool dated() const {
        return date_on_file(at_price_date) == date_today();
    }
};

TEST_F(Prices, LinesOfTheReport) {
    make({.series = 30});
    PriceSetRecord &set = shop.price_sets.front();
    set.key = {99999, 999, 9999};
    set.supplier = 65535;
    set.end_date = date_from_str("31122013");
    const std::int32_t chain = set.chain;
    std::size_t other = 1;
    while (shop.price_sets[other].chain < 0 || shop.price_sets[other].end_date != price_open_ended) {
        other++;
    }
    block(shop.price_sets[other].chain).next = 1234567;
    write();
    const CheckRun run = check("prices full", "N");
    EXPECT_EQ(run.flags, "");
    EXPECT_TRUE(run.reports("serienummer             lvnr dat.tm prijsblok       P/N foutmelding")) << run;
    EXPECT_TRUE(run.reports("99999.999.9999         65535 311213                     serie NIET aanwezig"))
        << run;
    EXPECT_TRUE(run.reports(
        str_format("          1234567 %8dP prijsblok buiten bestand", int{shop.price_sets[other].chain})))
        << run;
    EXPECT_FALSE(run.reports("ETIKETPRIJZEN"));  // the labels wait for a check that has passed
    // No is no: the chains are as they were.
    EXPECT_EQ(Bytes("RVIPG.TXT").u32(static_cast<std::size_t>(chain) * block_bytes),
              block(chain).key.group.value());
}

// A series takes the supplier of its prices, and none when there are several, or no prices.
TEST_F(Prices, TheOnlySupplierIsPreferred) {
    make({.series = 120});
    for (SeriesRecord &series : shop.series) {
        series.supplier = 0;
    }
    write();
    const CheckRun run = check("prices", "J");
    std::map<std::size_t, int> series;  // by the number of their suppliers
    for (const SeriesRecord &each : records<SeriesRecord>("RVSER.TXT")) {
        std::set<unsigned> suppliers;
        for (const PriceSetRecord &set : shop.price_sets) {
            set.key == each.key ? void(suppliers.insert(set.supplier)) : void();
        }
        EXPECT_EQ(each.supplier, suppliers.size() == 1 ? *suppliers.begin() : 0U);
        series[std::min<std::size_t>(suppliers.size(), 2)]++;
    }
    EXPECT_GT(series[1], 0);
    EXPECT_GT(series[2], 0);
    EXPECT_EQ(run.count("Geen voorkeursleverancier"), series[2]);
}

// ---- Prices for labels

TEST(PriceRate, ShortestDecimalThatGivesThePrice) {
    struct rate_case {
        std::int32_t label, purchase;
        std::uint32_t factor;
        bool whole, labels_whole;
        double rate;
    };
    const rate_case cases[] = {
        {5, 1, 10000, false, false, 5},                 // 4.5 to 5.5
        {120, 3, 10000, false, false, 40},              // 39.83 to 40.17
        {1, 1, 2000, false, false, 5},                  // 2.5 to 7.5
        {12345, 9876, 12500, false, false, 1},          // 0.99996 to 1.00004
        {20000000, 1000, 10000, false, false, 20000},   // 19999.9995 to 20000.0005: more than four digits
        {1234567, 100, 10000, false, false, 12345.67},  // 12345.665 to 12345.675
        {1, 2000000000, 10000, true, false, 0},         // too small for ten decimals
        {7, 7, 0, false, false, 1},                     // no factor: 0.93 to 1.07
        {0, 0, 10000, false, false, 1},                 // as 1 and 1: 0.5 to 1.5
    };
    for (const rate_case &each : cases) {
        const price_units units{each.whole, false, each.labels_whole};
        EXPECT_EQ(rate_between(each.label, each.purchase, each.factor, units), each.rate)
            << each.label << " for " << each.purchase;
    }
}

/// A shop with one series of two labels, and no prices but those that a test makes.
class LabelPrices : public Prices {
protected:
    static constexpr day_number day_in = 41000;
    static constexpr day_number day_moved = 41010;
    std::vector<std::pair<LabelEntry *, LabelParts>> labels;
    std::vector<unsigned> sizes;
    SupplierRecord *supplier = nullptr;

    void make_bare(bool no_decimals, int label_count = 2, int usual = 12) {
        make({.series = 1, .labels = usual, .no_decimals = no_decimals});
        shop.price_sets.clear();
        shop.price_blocks.clear();
        shop.price_chain = {};
        shop.rates.clear();
        supplier = &shop.suppliers.front();
        supplier->rate = 0;
        for (unsigned size = 1; size <= 95; size++) {
            if (shop.series.front().sizes.test(size)) {
                sizes.push_back(size);
            }
        }
        int left = label_count;
        labels.clear();
        for (LabelBlock &each : shop.label_blocks) {
            for (LabelEntry &slot : each.slots) {
                LabelParts parts = label_split(slot);
                if (each.key.group != 0 && left > 0 && parts.status != 0) {
                    left--;
                    parts.status = label_stock;
                    parts.extra = 0;
                    parts.date_third = 0;
                    parts.supplier = supplier->number;
                    parts.date_in = day_in;
                    parts.date_moved = day_moved;
                    parts.size = static_cast<int>(sizes[labels.size() % sizes.size()]);
                    labels.emplace_back(&slot, parts);
                } else {
                    slot = {};
                }
            }
        }
    }
    void add_set(const char *currency, std::uint32_t factor, unsigned size, std::int32_t net) {
        PriceSetRecord set{};
        set.key = shop.series.front().key;
        set.supplier = supplier->number;
        set.begin_date = day_in - 5;
        set.end_date = price_open_ended;
        set.factor = factor;
        std::memcpy(set.currency, currency, 3);
        set.sizes.set(size);
        set.chain = static_cast<std::int32_t>(shop.price_blocks.size());
        PriceBlock made{};
        made.key = set.key;
        made.supplier = set.supplier;
        made.end_date = set.end_date;
        made.sizes = set.sizes;
        std::memcpy(made.currency, currency, 3);
        made.gross = net + 1;
        made.net = net;
        made.next = -1;
        shop.price_sets.push_back(set);
        shop.price_blocks.push_back(made);
        const auto end = static_cast<std::int32_t>(shop.price_blocks.size());
        shop.price_chain.free_head = end;
        shop.price_chain.end_mark = end;
    }
    void write_labels() {
        for (const auto &[slot, parts] : labels) {
            *slot = label_join(parts);
        }
        write();
    }
    CheckRun run() {
        write_labels();
        return check("prices", "J");
    }
    /// Net price on file for the size of a label; 0 for none. Gross must be the same, when it was given.
    unsigned price_on_file(std::size_t label) {
        const Bytes file("RVIPG.TXT");
        for (std::size_t at = 0; at + block_bytes <= file.size(); at += block_bytes) {
            if (file.u32(at) != 0 && file.bit(at + 12, static_cast<unsigned>(labels[label].second.size))) {
                EXPECT_EQ(file.u32(at + 28), file.u32(at + 32));
                return file.u32(at + 32);
            }
        }
        return 0;
    }
};

// The rate of the supplier, of the day, or none; by hand.
TEST_F(LabelPrices, AtTheRateOfTheDay) {
    struct day_case {
        const char *currency;
        bool home_whole;
        std::uint32_t fixed;
        std::uint16_t unit;
        std::uint32_t factor;
        std::uint32_t label;
        unsigned price;
    };
    const day_case cases[] = {
        {"EUR", false, 0, 0, 10000, 12345, 12345},     // no rate: 1.0
        {"USD", false, 9000, 1, 10000, 9000, 10000},   // fixed 0.9
        {"USD", false, 9000, 0, 10000, 8000, 10000},   // no unit: 0.8 of the day before
        {"USD", false, 0, 1, 12500, 8000, 8000},       // no value: the same, by a factor
        {"JPY", false, 75, 1, 10000, 1500, 2000},      // 15.00 at 0.0075
        {"EUR", true, 403399, 1, 10000, 4034, 10000},  // 4034 at 40.3399: 100.0003
        {"JPY", true, 5000, 1, 10000, 500, 1000},      // no decimals on either side
        {"XXX", false, 0, 0, 10000, 777, 777},         // in no table
        {"GBP", false, 0, 0, 10000, 1000, 2000},       // no value on its day: today's 0.5
        {"CHF", false, 0, 0, 10000, 1000, 1000},       // nor today: 1.0
        {"USD", false, 9000, 1, 0, 9000, 10000},       // no factor
        {"EUR", false, 0, 0, 10000, 0, 1},             // a label without a price has 1
    };
    for (const day_case &each : cases) {
        make_bare(each.home_whole, 1);
        std::memcpy(supplier->currency, each.currency, 3);
        supplier->rate = each.fixed;
        supplier->rate_unit = each.unit;
        supplier->factor = each.factor;
        shop.rates = {
            {{'U', 'S', 'D'}, 0, 5000, 1, day_moved - 9}, {{'U', 'S', 'D'}, 0, 8000, 1, day_moved - 1},
            {{'U', 'S', 'D'}, 0, 7000, 0, day_moved},  // without a unit it is none
            {{'U', 'S', 'D'}, 0, 6000, 1, day_moved + 1}, {{'G', 'B', 'P'}, 0, 8000, 1, day_moved - 1},
            {{'G', 'B', 'P'}, 0, 0, 1, day_moved},        {{'G', 'B', 'P'}, 0, 5000, 1, day_moved + 1},
            {{'C', 'H', 'F'}, 0, 0, 1, day_moved},
        };
        labels[0].second.price = each.label;
        const CheckRun first = run();
        SCOPED_TRACE(testing::Message() << each.currency << " " << each.label << "\n" << first);
        EXPECT_EQ(price_on_file(0), each.price);
        EXPECT_EQ(date_on_file(at_price_date), 0U);
        const Bytes set("RVIPA.TXT");  // of that one day, as its blocks say
        EXPECT_EQ(set.u16(10), day_in);
        EXPECT_EQ(set.u16(32), day_in);
        EXPECT_EQ(set.u32(12), each.factor);
        EXPECT_EQ(set.text(29, 3), each.currency);
        EXPECT_EQ(set.u8(16), shop.series.front().size_kind);
        check("prices", "J");
        EXPECT_TRUE(dated());
        EXPECT_EQ(audit(audit_prices), "");
    }
}

// At the rate of the label that came with it: 6000 for 5000 is 1.2, so 7200 is 6000.
TEST_F(LabelPrices, AtTheRateOfACompanion) {
    struct companion_case {
        const char *currency;
        bool home_whole;
        std::int32_t net;  ///< of the companion
        std::uint32_t other_price, price;
        unsigned bought_for;
        int other_status = label_stock, status = label_stock;
        int moved_later = 0, in_later = 0;  ///< the companion
    };
    const companion_case cases[] = {
        {"EUR", false, 5000, 6000, 7200, 6000},
        {"JPY", false, 2000, 1500, 3000, 4000},  // 0.0075
        {"USD", true, 1000, 403, 806, 2000},     // 40.3
        {"JPY", true, 1000, 500, 250, 500},      // 0.5
        {"EUR", false, 5000, 6000, 7200, 6000, label_sold},
        {"EUR", false, 5000, 6000, 7200, 7200, label_stock, label_stock, 1},
        {"EUR", false, 5000, 6000, 7200, 7200, label_stock, label_stock, 0, 1},
        {"EUR", false, 5000, 6000, 7200, 7200, label_ordered},
        {"EUR", false, 5000, 6000, 7200, 6000, label_ordered, label_ordered, 1},
    };
    for (const companion_case &each : cases) {
        make_bare(each.home_whole);
        add_set(each.currency, 10000, sizes[0], each.net);
        LabelParts &other = labels[0].second;
        other.price = each.other_price;
        other.status = each.other_status;
        other.date_moved = static_cast<day_number>(day_moved + each.moved_later);
        other.date_in = static_cast<day_number>(day_in + each.in_later);
        labels[1].second.price = each.price;
        labels[1].second.status = each.status;
        const CheckRun first = run();
        EXPECT_EQ(price_on_file(1), each.bought_for) << "case " << &each - cases << "\n" << first;
        EXPECT_EQ(Bytes("RVIPA.TXT").u8(16), shop.series.front().size_kind);  // it had none
        EXPECT_EQ(audit(audit_prices), "");
    }
}

// A program that dies between the deletion of a set and the writing of the one that replaces it.
TEST_F(LabelPrices, AKillWhileASetIsReplacedCostsNoPrice) {
    make_bare(false);
    add_set("EUR", 10000, sizes[0], 5000);
    labels[0].second.price = 6000;
    labels[1].second.price = 7200;
    const auto on_file = [] {
        std::multiset<std::string> found;
        for (const PriceSetRecord &set : records<PriceSetRecord>("RVIPA.TXT")) {
            found.emplace(reinterpret_cast<const char *>(&set), offsetof(PriceSetRecord, chain));
        }
        const std::string blocks = get("RVIPG.TXT");
        for (std::size_t at = 0; at < blocks.size(); at += block_bytes) {
            if (blocks.substr(at, 12) != std::string(12, '\0')) {
                found.insert(blocks.substr(at, offsetof(PriceBlock, next)));
            }
        }
        return found;
    };
    const long writes = run().writes;
    const std::multiset<std::string> whole = on_file();
    EXPECT_EQ(whole.size(), 3U);
    for (long n = 0; n < writes; n++) {
        SCOPED_TRACE(n);
        write();
        EXPECT_EQ(run_check("kill-at=" + std::to_string(n) + " prices", "J").status, 128 + SIGKILL);
        if (n % 2 == 1) {
            run_check("kill-at=" + std::to_string(n / 2) + " prices", "J");
        }
        check("prices", "J");
        EXPECT_TRUE(on_file() == whole);
        EXPECT_EQ(audit(audit_prices), "");
        EXPECT_FALSE(file_exists("RVIPA.PUT"));
    }
}

// A note gives its set back for the days that have none by now; a label without a price gets 9600, or 8000 by
// its companion.
TEST_F(LabelPrices, ANoteThatWasLeftCountsForTheDaysThatAreStillFree) {
    struct note_case {
        const char *what;
        void (*change)(put_note &note);
        int other_begins;  ///< days after the labels came in; the first of another set
        unsigned price;
        bool during = false;  ///< the note is left while this run walks through the series
    };
    constexpr int none = 99;
    const note_case cases[] = {
        {"as it was left", [](put_note &) {}, none, 6000},
        {"left a moment ago", [](put_note &) {}, none, 6000, true},
        {"a kind that does not exist", [](put_note &note) { note.set.size_kind = 200; }, none, 6000},
        {"a set from a later day on", [](put_note &) {}, 1, 6000},
        {"a set of all its days", [](put_note &) {}, -5, 8000},
        {"a series that is gone", [](put_note &note) { note.set.key.number = 9999; }, none, 9600},
        {"no days", [](put_note &note) { note.set.end_date = day_in - 6; }, none, 9600},
    };
    for (const note_case &each : cases) {
        SCOPED_TRACE(each.what);
        make_bare(false);
        std::memcpy(supplier->currency, "EUR", 3);
        supplier->factor = 10000;
        shop.series.front().supplier = 0;
        labels[0].second.price = 6000;
        labels[1].second.price = 9600;
        add_set("EUR", 10000, sizes[0], 5000);
        put_note note{shop.price_sets.front(), shop.series.front().size_kind, {}};
        note.prices.set(sizes[0], 5000, 5000);
        note.prices.set(sizes[1], 6000, 6000);
        each.change(note);
        if (each.other_begins == none) {
            shop.price_sets.clear();
            shop.price_blocks.clear();
            shop.price_chain = {};
        } else {
            shop.price_sets.front().begin_date = static_cast<std::uint16_t>(day_in + each.other_begins);
        }
        put(each.during ? "note" : "RVIPA.PUT", {reinterpret_cast<const char *>(&note), sizeof note});
        write_labels();
        play({}, [] {
            isam_operator.progress = [](int, std::uint32_t, std::uint32_t, const char *phase) {
                if (phase != nullptr && phase == std::string("series verwerkt") && file_exists("note")) {
                    std::filesystem::rename("note", "RVIPA.PUT");
                }
            };
            chk_prices();
        });
        EXPECT_EQ(price_on_file(1), each.price);
        EXPECT_EQ(records<SeriesRecord>("RVSER.TXT").front().supplier, 0U) << "of two it may be either";
        EXPECT_FALSE(file_exists("RVIPA.PUT"));
        EXPECT_EQ(audit(audit_prices), "");
        put("RVIPA.PUT", "x");  // no note
        check("prices", "J");
        EXPECT_FALSE(file_exists("RVIPA.PUT"));
    }
}

// The report has the codes of the set's own kind.
TEST_F(LabelPrices, AKindOfTheSetThatIsNotThatOfItsSeries) {
    make_bare(false);
    add_set("EUR", 10000, sizes[0], 5000);
    const unsigned other = shop.series.front().size_kind == 1 ? 2 : 1;
    shop.price_sets.front().size_kind = static_cast<std::uint8_t>(other);
    std::memcpy(kind_of(other).entries[sizes[1]].code, "ZZZ", 3);
    kind_of(other).entries[sizes[1]].link = 95;
    EXPECT_EQ(run().count(" ZZZ"), 1);
}

// A size that the kind has not gets its line in each run, and no price; no set is harmed by it.
TEST_F(LabelPrices, ASizeOutsideTheKind) {
    make_bare(false);
    add_set("EUR", 10000, sizes[0], 5000);
    labels[1].second.size = 94;
    labels[1].second.date_in = day_in - 100;
    for (int i = 0; i < 2; i++) {
        const CheckRun again = i == 0 ? run() : check("prices", "J");
        EXPECT_TRUE(again.shows(
            {"Bij de volgende series zijn ontbrekende etiketprijzen. Deze worden indien mogelijk opnieuw "
             "gegenereerd.",
             "U dient zelf te controleren of de prijzen van deze series juist zijn!", std::string(132, '-'),
             "serienr        lvnr dat.tm maten",
             str_format("%-14.14s  101 231211 ", ser_text(shop.series.front().key).c_str())}));
        EXPECT_EQ(again.count("ontbrekende etiketprijzen"), 1) << again;
        EXPECT_EQ(again.flags, "prices");
        EXPECT_EQ(date_on_file(at_price_date), 0U);
        EXPECT_EQ(Bytes("RVIPG.TXT").size(), block_bytes);
    }
}

TEST_F(LabelPrices, ReportHasTwentySizesInALine) {
    constexpr int count = 25;
    make_bare(false, count, 30);
    ASSERT_EQ(labels.size(), std::size_t{count});
    SizeKindRecord &kind = kind_of(shop.series.front().size_kind);
    std::fill(std::begin(kind.entries), std::end(kind.entries), SizeEntry{});
    std::string lines[2] = {"", std::string(27, ' ')};
    for (int size = 1; size <= count; size++) {
        const std::string code = str_format("M%02d", size);
        std::memcpy(kind.entries[size].code, code.data(), code.size());
        kind.entries[size].link = static_cast<std::uint8_t>(size);
        shop.series.front().sizes.set(static_cast<unsigned>(size));
        labels[static_cast<std::size_t>(size) - 1].second.size = size;
        lines[size > 20 ? 1 : 0] += code + " ";
    }
    const CheckRun first = run();
    EXPECT_TRUE(first.reports(lines[0]) && first.reports(lines[1])) << first;
}

// Days, in no order, with a label each of three sizes: first in the chain those of the third size, which
// costs twice as much, then those of the first, then those of the second, which has no price. Four days of
// five have a set of their own, with a price of 5000 for a label of 5000. Each label of the second size takes
// the first label that came with it. So many are listed, not walked.
TEST_F(LabelPrices, ForManyLabelsOfOneSeries) {
    constexpr int days = 101;
    constexpr int without_set = days / 5 + 1;
    make_bare(false, 3 * days, 500);
    ASSERT_EQ(labels.size(), 3U * days);
    supplier->rate = 20000;  // a label without companion: half its price
    supplier->factor = 10000;
    supplier->rate_unit = 1;
    std::memcpy(supplier->currency, "EUR", 3);
    const auto day_of = [](int n) { return static_cast<day_number>(30000 + n * 37 % days); };
    for (int i = 0; i < 3 * days; i++) {
        LabelParts &label = labels[static_cast<std::size_t>(i)].second;
        label.size = static_cast<int>(sizes[i < days ? 2 : i < 2 * days ? 0 : 1]);
        label.date_in = day_of(i % days);
        label.price = i < days ? 10000 : 5000;
        label.status = i % days == 1 ? label_ordered : label_stock;
    }
    for (int day = 0; day < days; day++) {
        if (day % 5 != 0) {
            add_set("EUR", 10000, sizes[0], 5000);
            PriceSetRecord &set = shop.price_sets.back();
            set.begin_date = set.end_date = shop.price_blocks.back().end_date = day_of(day);
            set.sizes.set(sizes[2]);
            shop.price_blocks.back().sizes = set.sizes;
        }
    }
    EXPECT_EQ(run().flags, "prices");
    const Bytes file("RVIPG.TXT");
    std::map<std::pair<unsigned, unsigned>, int> prices;  // place of the size, price
    for (std::size_t at = 0; at + block_bytes <= file.size(); at += block_bytes) {
        for (unsigned size = 0; size < 3; size++) {
            prices[{size, file.u32(at + 32)}] += file.u32(at) != 0 && file.bit(at + 12, sizes[size]) ? 1 : 0;
        }
    }
    EXPECT_EQ((prices[{0, 2500}]), without_set);
    EXPECT_EQ((prices[{1, 2500}]), days);
    EXPECT_EQ((prices[{2, 5000}]), days);
    EXPECT_EQ(audit(audit_prices), "");
}

}  // namespace
