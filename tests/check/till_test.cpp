// A till at work beside a check run: a second process, on the same files, by the same modules. What it wrote
// and did not delete itself is there when all is done, and no block stands on two chains.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <random>
#include <thread>
#include <tuple>

#include "check/check.h"
#include "check/customers/customers.h"
#include "check/session/session.h"
#include "data/data.h"
#include "support/check_case.h"
#include "support/other_process.h"

namespace {

constexpr int most_series = 150;
constexpr int most_labels = 60;  // of a series
constexpr int most_customers = 150;
constexpr std::uint32_t first_customer = 900001;
constexpr std::uint16_t first_number = 9001;  // series numbers that the shop does not use

/// What the till has done. It is the till's alone until that has ended.
struct ledger {
    std::atomic<bool> stop;
    struct {
        bool present;
        int labels;
        std::int32_t numbers[most_labels];
        std::int32_t amounts[most_labels];
        std::uint32_t customers[most_labels];  ///< 0: not sold
        std::int32_t gross;                    ///< 0: no price set
    } series[most_series];
    bool customers[most_customers];
};
ledger *book = nullptr;

class Till {
public:
    Till(const Shop &made, unsigned seed) : shop(made), random(seed) {}

    [[noreturn]] void work() {
        open();
        for (int i = 0; i < 12; i++) {
            make_series(i);
        }
        while (!book->stop) {
            step();
            usleep(static_cast<useconds_t>(random() % 600));
        }
        close();
        std::_Exit(0);
    }

    /// True when all is there that the book tells of.
    bool look() {
        open();
        for (int i = 0; i < most_series; i++) {
            look_at_series(i);
        }
        for (int i = 0; i < most_customers; i++) {
            if (IXREAD(customers, &customer_of(i)) != book->customers[i]) {
                miss("customer", i, 0);
            }
        }
        close();
        return missing == 0;
    }

private:
    void open() {
        ix_lock_wait = [](ICB *) { usleep(2000); };
        iotab(tab_action::open, sys_row, nullptr, 0, 0, 0);
        iotab_row(tab_action::read, row_settings, sys_settings);
        iotab_row(tab_action::read, row_country, sys_country);
        chk_session_open();
        customers = IXOPEN("RVKLT", ix_shared);
        ink_open(ink_mode::write);
        eti_file(eti_action::open);
        model = shop.series[0];
        model.supplier = shop.suppliers[0].number;
        size_view(session_sizes, sys_settings.size_system, model.size_kind);
        size = 1;
        while (!model.sizes.test(size) || !session_sizes->has(size)) {
            size++;
        }
    }
    void close() {
        eti_file(eti_action::close);
        ink_close();
        IXCLOSE(customers);
        chk_session_close();
    }
    void miss(const char *what, int index, int detail) {
        std::fprintf(stderr, "%s %d, %d\n", what, index, detail);
        missing++;
    }
    /// What the till's own work needs is as the till left it, or the till stops.
    static void demand(bool holds, const char *what, int index) {
        if (!holds) {
            std::fprintf(stderr, "%s %d\n", what, index);
            std::_Exit(3);
        }
    }
    CustomerRecord &customer_of(int index) {
        buyer = {};
        buyer.number = first_customer + static_cast<std::uint32_t>(index);
        return buyer;
    }
    [[nodiscard]] SeriesKey key_of(int index) const {
        SeriesKey key = model.key;
        key.number = static_cast<std::uint16_t>(first_number + index);
        return key;
    }

    void add_label(int index, SeriesRecord &series) {
        auto &line = book->series[index];
        std::int32_t number = series.first_block;
        eti_rec label;
        eti_file(eti_action::first, number, label);
        label = {};
        label.group = series.key.group;
        label.colour = series.key.colour;
        label.number = series.key.number;
        label.status = label_stock;
        label.size_kind = series.size_kind;
        label.size = static_cast<std::uint8_t>(size);
        label.supplier = series.supplier;
        label.date_in = label.date_moved = static_cast<std::uint16_t>(shop.today - 10);
        label.price = 4995;
        label.amount_b = static_cast<std::int32_t>(random() % 100000) + 1;
        label.amount_c = 4995;
        number = 0;
        eti_file(eti_action::write, number, label);
        if (series.first_block < 0) {
            series.first_block = (number - 1) / labels_per_block;
        }
        series.stock = series.stock + 1;
        line.numbers[line.labels] = number;
        line.amounts[line.labels] = label.amount_b;
        line.customers[line.labels] = 0;
        line.labels++;
    }

    void make_series(int index) {
        SeriesRecord series{};
        series.key = key_of(index);
        demand(!IXREADLOCK(chk_files.rvser, &series), "a series that was not made:", index);
        series = model;
        series.key = key_of(index);
        series.ordered = series.stock = series.sold = series.corrected = 0;
        series.last_delivery = static_cast<std::uint16_t>(shop.today - 10);
        series.last_sale = 0;
        series.first_block = -1;
        series.stamp = stamp_of_day(static_cast<day_number>(shop.today - 20));
        add_label(index, series);
        IXWRITE(chk_files.rvser, &series);
        book->series[index].present = true;
        put_price(index);
    }

    SeriesRecord locked_series(int index) {
        SeriesRecord series{};
        series.key = key_of(index);
        demand(IXREADLOCK(chk_files.rvser, &series), "gone is series", index);
        return series;
    }

    void grow(int index) {
        SeriesRecord series = locked_series(index);
        for (int more = 1 + static_cast<int>(random() % 12); more > 0; more--) {
            if (book->series[index].labels < most_labels) {
                add_label(index, series);
            }
        }
        IXREWRITE(chk_files.rvser, &series);
    }

    void sell(int index) {
        auto &line = book->series[index];
        const auto at = static_cast<std::size_t>(random() % static_cast<unsigned>(line.labels));
        if (line.customers[at] != 0) {
            return;
        }
        SeriesRecord series = locked_series(index);
        const int who = static_cast<int>(random() % most_customers);
        CustomerRecord &customer = customer_of(who);
        if (!IXREADLOCK(customers, &customer)) {
            customer_of(who);
            std::strcpy(customer.name, "Kassaklant");
            std::memcpy(customer.country, "NLD", 3);
            std::memset(customer.marks, ' ', sizeof customer.marks);
            customer.stamp = 1;
        }
        eti_rec label;
        std::int32_t number = line.numbers[at];
        demand(eti_file(eti_action::read, number, label) != 0, "gone is label", number);
        label.status = label_sold;
        label.date_sold = label.date_moved = shop.today;
        label.customer = static_cast<std::int32_t>(customer.number);
        label.next_customer_label = static_cast<std::int32_t>(customer.first_label);
        eti_file(eti_action::write, number, label);
        customer.first_label = static_cast<std::uint32_t>(number);
        IXWRITE(customers, &customer);
        book->customers[who] = true;
        series.stock = series.stock - 1;
        series.sold = series.sold + 1;
        series.last_sale = shop.today;
        series.last_delivery = shop.today;
        line.customers[at] = customer.number;
        IXREWRITE(chk_files.rvser, &series);
    }

    void put_price(int index) {
        PriceSetRecord set{};
        if (!ink_read_valid(key_of(index), model.supplier, shop.today, set)) {
            set = {};
            set.key = key_of(index);
            set.supplier = model.supplier;
            set.begin_date = day_1980;
            set.end_date = price_open_ended;
            set.factor = 10000;
            set.size_kind = model.size_kind;
            std::memcpy(set.currency, shop.suppliers[0].currency, sizeof set.currency);
            set.chain = -1;
        }
        const auto gross = static_cast<std::int32_t>(random() % 100000) + 1;
        ink_clear();
        for (unsigned i = 1; i <= size_highest; i++) {
            if (model.sizes.test(i) && session_sizes->has(i)) {
                ink_working.set(i, i == size ? gross : gross + static_cast<int>(random() % 3), gross);
            }
        }
        ink_set_put(set, true);
        book->series[index].gross = gross;
    }

    /// Deletes a series without sales: its prices, its record, its blocks.
    void drop(int index) {
        auto &line = book->series[index];
        if (std::any_of(line.customers, line.customers + line.labels, [](auto who) { return who != 0; })) {
            return;
        }
        SeriesRecord series = locked_series(index);
        PriceSetRecord set{};
        if (ink_read_valid(key_of(index), model.supplier, shop.today, set)) {
            ink_set_delete(set);
        }
        SysRow4Chain chain{};
        iotab_row(tab_action::lock_read, row_label_chain, chain);
        chk_eti_raw(raw_action::open);
        for (std::int32_t block = series.first_block; block != -1;) {
            LabelBlock content;
            chk_eti_raw(raw_action::read, block, content);
            const std::int32_t next = content.next;
            content = {};
            content.next = chain.free_head;
            chk_eti_raw(raw_action::write, block, content);
            chain.free_head = block;
            chain.free_count += 1;
            block = next;
        }
        chk_eti_raw(raw_action::close);
        IXDELETE(chk_files.rvser, &series);
        iotab_row(tab_action::write, row_label_chain, chain);
        line = {};
    }

    void step() {
        const int index = static_cast<int>(random() % most_series);
        auto &line = book->series[index];
        if (!line.present) {
            make_series(index);
            return;
        }
        const unsigned what = random() % 8;
        what == 0 ? drop(index) : what < 3 ? put_price(index) : what < 5 ? sell(index) : grow(index);
    }

    void look_at_series(int index) {
        const auto &line = book->series[index];
        SeriesRecord series{};
        series.key = key_of(index);
        const bool there = IXREAD(chk_files.rvser, &series);
        if (there != line.present) {
            miss("series", index, line.present);
        }
        if (!there || !line.present) {
            return;
        }
        int sold = 0;
        for (int i = 0; i < line.labels; i++) {
            eti_rec label;
            std::int32_t number = line.numbers[i];
            eti_file(eti_action::read, number, label);
            sold += line.customers[i] != 0 ? 1 : 0;
            if (label.number != series.key.number || label.amount_b != line.amounts[i] ||
                label.status != (line.customers[i] != 0 ? label_sold : label_stock) ||
                static_cast<std::uint32_t>(label.customer) != line.customers[i]) {
                miss("label", index, number);
            }
        }
        if (series.sold != static_cast<std::uint32_t>(sold) ||
            series.stock != static_cast<std::uint32_t>(line.labels - sold)) {
            miss("count", index, line.labels);
        }
        PriceSetRecord set{};
        if (!ink_read_valid(series.key, model.supplier, shop.today, set)) {
            miss("price set", index, line.gross);
            return;
        }
        ink_set_load(set);
        if (ink_working.gross_of(size) != line.gross) {
            miss("price", index, line.gross);
        }
    }

    const Shop &shop;
    std::mt19937 random;
    ICB *customers = nullptr;
    CustomerRecord buyer{};
    SeriesRecord model{};
    unsigned size = 1;
    int missing = 0;
};

using TillBeside = CheckCase;

TEST_F(TillBeside, LosesNothingToACheckRun) {
    book = static_cast<ledger *>(
        mmap(nullptr, sizeof *book, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(book, MAP_FAILED);
    const std::vector<std::vector<std::string>> damages = {
        {},
        {"label-chain-cut", "label-orphan-known", "price-block-lost", "customer-chain-cut"},
        {"label-chain-free", "price-chain-free", "price-label-none"},
    };
    for (int round = first_seed() - 1, end = round + rounds(2); round < end; round++) {
        SCOPED_TRACE(round);
        new (book) ledger{};
        make({.series = 150, .labels = 20, .seed = static_cast<std::uint64_t>(round) + 1},
             damages[static_cast<std::size_t>(round) % damages.size()]);
        const pid_t till = fork();
        if (till == 0) {
            Till(shop, static_cast<unsigned>(round)).work();
        }
        usleep(100000);
        check("11 12 13", "JJJJJJJJN");
        book->stop = true;
        int status = 0;
        waitpid(till, &status, 0);
        EXPECT_EQ(status, 0) << "the till stopped";
        CheckRun last;
        for (int again = 0; again < 4 && last.flags.find("labels series prices") != 0; again++) {
            last = check("11 12 13", "JJJJJJJJN");
        }
        EXPECT_TRUE(elsewhere([&] { return Till(shop, 0).look(); }));
        EXPECT_EQ(audit(audit_labels | audit_prices | audit_customers), "") << last;
        if (HasFailure()) {
            break;
        }
    }
    munmap(book, sizeof *book);
}

// The other program changes a count, and a check that has seen the row before meets that under its lock. It
// looks again at the loop that it has found, and mends it.
TEST_F(TillBeside, MovesNoEndMarkThatWasDamagedBefore) {
    constexpr std::uint32_t far_away = 2000000000;
    const std::tuple<int, std::string, const char *, std::size_t> chains[] = {
        {row_label_chain, "labels", eti_file_name, sizeof(LabelBlock)},
        {row_price_chain, "prices", "RVIPG.TXT", sizeof(PriceBlock)}};
    for (const auto &[number, name, file, block_bytes] : chains) {
        SCOPED_TRACE(name);
        make({.series = 5}, {name.substr(0, name.size() - 1) + "-chain-loop"});
        const std::size_t row = (static_cast<std::size_t>(number) - 1) * sizeof(SysRow4Chain);
        const int fd = ::open("RVSYS.TXT", O_RDWR | O_CLOEXEC);
        ASSERT_TRUE(fd >= 0 && file_write_at(fd, &far_away, sizeof far_away, static_cast<off_t>(row + 4)));
        ASSERT_TRUE(file_lock(lock_action::exclusive, fd, static_cast<off_t>(row), sizeof(SysRow4Chain)));
        std::thread other([&] {
            usleep(300000);
            file_write_at(fd, "\x07", 1, static_cast<off_t>(row + 8));
            file_lock(lock_action::unlock, fd, static_cast<off_t>(row), sizeof(SysRow4Chain));
        });
        check(name, "N");
        other.join();
        ::close(fd);
        EXPECT_EQ(Bytes("RVSYS.TXT").u32(row + 4), Bytes(file).size() / block_bytes);
        EXPECT_EQ(check("full " + name).flags, name);
    }
}

}  // namespace
