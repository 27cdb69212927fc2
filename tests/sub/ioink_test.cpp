// The price store against a plain map of prices by series, supplier, size and day.
#include "data/ioink.h"

#include <map>
#include <random>

#include "data/iomaat.h"
#include "label_file.h"

namespace {

constexpr unsigned first_day = 40000;
constexpr int days = 25;  // the last of them stands for the far future
constexpr int series_count = 2;
constexpr int suppliers = 2;

using prices = std::pair<int, int>;  // gross, net
int told = 0;                        ///< notices
using size_prices = std::map<unsigned, prices>;

std::uint16_t day_at(int day) {
    return static_cast<std::uint16_t>(day == days - 1 ? 60000 : first_day + static_cast<unsigned>(day));
}

class PriceStore : public LabelFile {
protected:
    std::vector<unsigned> sizes;  ///< those of the view, in its order

    void SetUp() override {
        LabelFile::SetUp();
        make_shop_with(2, [](Shop &made) {
            // Seven sizes, whose order is not that of their indexes.
            SizeKindRecord kind{};
            kind.system = made.settings.size_system;
            kind.kind = 1;
            for (unsigned place : {1U, 2U, 3U, 4U, 5U, 6U, 7U}) {
                SizeEntry &entry = kind.entries[place * 37 % 96];
                std::memcpy(entry.code, "4  ", 3);
                entry.link = static_cast<std::uint8_t>(place);
            }
            made.size_kinds = {kind};
            made.price_sets.clear();
            made.price_blocks.clear();
            made.price_chain = {};
        });
        chk_files.rvmaat = IXOPEN("RVMAAT", ix_shared);
        size_view(session_sizes, sys_settings.size_system, 1);
        for (unsigned place = 1; place <= 7; place++) {
            sizes.push_back(place * 37 % 96);
        }
        ink_open(ink_mode::write);
    }
    void TearDown() override {
        ink_close();
        LabelFile::TearDown();
    }

    PriceSetRecord new_set(int series, int supplier, int begin, unsigned end) {
        PriceSetRecord set{};
        set.key = shop.series[static_cast<std::size_t>(series)].key;
        set.supplier = static_cast<std::uint16_t>(supplier + 10);
        set.begin_date = day_at(begin);
        set.end_date = static_cast<std::uint16_t>(end);
        set.factor = 10000;
        set.size_kind = 1;
        std::memcpy(set.currency, "EUR", 3);
        set.chain = -1;
        return set;
    }
    static void put_set(PriceSetRecord &set, const size_prices &wanted, bool quiet = true) {
        ink_clear();
        for (const auto &[size, price] : wanted) {
            ink_working.set(size, price.first, price.second);
        }
        const ink_prices before = ink_working;
        ink_set_put(set, quiet);
        ASSERT_EQ(std::memcmp(&before, &ink_working, sizeof before), 0);
    }
    static size_prices loaded() {
        size_prices found;
        for (unsigned size = 0; size <= size_highest; size++) {
            if (ink_working.has(size)) {
                found[size] = {ink_working.gross_of(size), ink_working.net_of(size)};
            }
        }
        return found;
    }
    size_prices stored_prices(int series, int supplier, int day) {
        PriceSetRecord set = new_set(series, supplier, 0, 0);
        if (!ink_read_valid(set.key, set.supplier, day_at(day), set)) {
            return {};
        }
        ink_set_load(set);
        return loaded();
    }
    /// Each block stands on one chain, and the sets say what their blocks hold.
    void expect_sound() const {
        const std::string faults = "\n" + audit(audit_prices);
        EXPECT_TRUE(faults.find("\nRVIPG") == faults.npos && faults.find("\nprice") == faults.npos) << faults;
    }
};

TEST_F(PriceStore, AnswersAsAMapOfDaysWould) {
    std::mt19937 random(static_cast<unsigned>(first_seed()));
    const auto below = [&](unsigned bound) { return static_cast<int>(random() % bound); };
    std::map<std::tuple<int, int, int>, size_prices> model;  // by series, supplier, day
    const auto compare = [&](int series, int supplier) {
        for (int day = 0; day < days; day++) {
            ASSERT_EQ(stored_prices(series, supplier, day), (model[{series, supplier, day}]))
                << "series " << series << " supplier " << supplier << " day " << day;
        }
    };
    const auto fill = [&](const PriceSetRecord &period, int series, int supplier, const size_prices &with) {
        for (int day = 0; day < days; day++) {
            if (day_at(day) >= period.begin_date && day_at(day) <= period.end_date) {
                model[{series, supplier, day}] = with;
            }
        }
    };
    for (int round = 0, count = rounds(1500); round < count; round++) {
        const int series = below(series_count);
        const int supplier = below(suppliers);
        int begin = below(days - 1);
        int end = begin + below(below(3) == 0 ? days : 4);
        PriceSetRecord set =
            new_set(series, supplier, begin, end >= days - 1 ? price_open_ended : first_day + unsigned(end));
        PriceSetRecord old{};
        const bool old_found = ink_read_valid(set.key, set.supplier, day_at(below(days)), old);
        const int kind = below(8);
        if (old_found && kind == 0) {
            ASSERT_EQ(ink_set_delete(old), 1);
            ASSERT_EQ(old.chain, -1);
            fill(old, series, supplier, {});
        } else {
            // A replacement keeps its chain; often it stays within its old period, at times in it all.
            if (old_found && kind < 5) {
                set.chain = old.chain;
                if (kind < 3) {
                    set.begin_date = old.begin_date;
                    set.end_date = kind == 1 ? old.end_date.value()
                                             : static_cast<std::uint16_t>(
                                                   old.begin_date + (old.end_date - old.begin_date) / 2);
                }
                fill(old, series, supplier, {});
            }
            size_prices wanted;
            const int shape = below(6);  // none, one price for all, or some with few different prices
            for (unsigned size : sizes) {
                if (shape == 1 || (shape > 1 && below(3) != 0)) {
                    wanted[size] = {shape == 1 ? 5 : 1 + below(2), 1 + below(shape == 2 ? 5 : 1)};
                }
            }
            fill(set, series, supplier, wanted);
            size_prices given = wanted;
            if (below(4) == 0) {
                given[90] = {7, 7};  // a size that the kind has not
            }
            put_set(set, given, round % 50 != 0);
            ASSERT_EQ(set.chain == -1, wanted.empty());
        }
        compare(series, supplier);
        if (round % 10 == 0) {
            expect_sound();
        }
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    for (int i = 0; i < series_count * suppliers; i++) {
        compare(i / suppliers, i % suppliers);
    }
    expect_sound();
    EXPECT_EQ(status_on_file(), status_working);
}

TEST_F(PriceStore, SizesWithOnePriceSideBySideShareABlock) {
    PriceSetRecord set = new_set(0, 0, 0, price_open_ended);
    // The fourth size is absent: the third and the fifth stand side by side then.
    const size_prices wanted = {{sizes[0], {5, 4}}, {sizes[1], {5, 4}}, {sizes[2], {6, 4}},
                                {sizes[4], {6, 4}}, {sizes[5], {5, 4}}, {sizes[6], {5, 3}}};
    put_set(set, wanted, false);
    EXPECT_EQ(Bytes(ink_block_file).size(), 4 * 40U);
    EXPECT_EQ(stored_prices(0, 0, days - 1), wanted);

    // What stands in a block is taken as it is, but a gross price of 0 leaves the size present.
    PriceBlock block{};
    ASSERT_EQ(ink_block_read(set.chain, block, ink_report::fatal), 1);
    block.gross = 0;
    block.net = 0;
    block.sizes.set(0);
    ink_block_write(set.chain, block);
    set.sizes.set(0);
    isam_operator.tell = [](op_notice, const std::vector<std::string> &lines) {
        EXPECT_EQ(lines.front(), "Prijsgroepenbestand: maatbitmaps kloppen niet");
        told++;
    };
    ink_set_load(set);
    EXPECT_EQ(told, 0);
    set.sizes.set(sizes[3]);
    ink_set_load(set);
    EXPECT_EQ(told, 1);
    isam_operator.tell = nullptr;
    EXPECT_EQ(loaded().at(sizes[0]), (prices{1, 0}));
    EXPECT_FALSE(ink_working.has(0));
    ink_working.set(sizes[0], 0, -3);
    EXPECT_EQ(loaded().at(sizes[0]), (prices{1, 1}));
}

TEST_F(PriceStore, AWalkEndsInADamagedIndex) {
    for (const int end : {10, 20}) {
        PriceSetRecord set = new_set(0, 0, end - 5, first_day + unsigned(end));
        put_set(set, {{sizes[0], {5, 4}}});
    }
    // The entry of the second set leads to a record that stands before the first.
    std::string bytes = get("RVIPA.TXT");
    const little_uint16_t end_date = first_day;
    std::memcpy(&bytes[sizeof(PriceSetRecord) + 10], &end_date, sizeof end_date);
    put("RVIPA.TXT", bytes);
    PriceSetRecord set = new_set(0, 0, 0, 0);
    int steps = 0;
    for (bool found = ink_read(ink_action::first, set, 4); found;
         found = ink_read(ink_action::next, set, 4)) {
        ASSERT_LT(++steps, 3);
    }
    EXPECT_EQ(steps, 1);
}

TEST_F(PriceStore, ABlockInUseIsNeverTaken) {
    PriceSetRecord set = new_set(0, 0, 0, price_open_ended);
    put_set(set, {{sizes[0], {5, 4}}});
    PriceBlock looped{};
    ASSERT_EQ(ink_block_read(set.chain, looped, ink_report::fatal), 1);
    looped.next = set.chain;
    ink_block_write(set.chain, looped);
    ink_set_load(set);
    EXPECT_EQ(loaded(), (size_prices{{sizes[0], {5, 4}}}));
    SysRow4Chain row{};
    iotab_row(tab_action::lock_read, row_price_chain, row);
    for (const std::int32_t head : {0, 7}) {
        row.free_head = head;
        EXPECT_EXIT(ink_block_alloc(row), testing::ExitedWithCode(1), "");
    }
    // Nor is a free one that leads out of the file.
    PriceBlock block{};
    for (const std::int32_t next : {-1, row.end_mark + 1}) {
        block.next = next;
        ink_block_write(0, block);
        row.free_head = 0;
        EXPECT_EXIT(ink_block_alloc(row), testing::ExitedWithCode(1), "");
    }
    iotab_row(tab_action::unlock, row_price_chain, row);
    EXPECT_EQ(status_on_file(), status_prices_suspect);
}

}  // namespace
