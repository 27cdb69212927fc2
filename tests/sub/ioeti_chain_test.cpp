// Labels along the chains of their series: walks, chains that grow, and chains that are broken.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <random>

#include "label_file.h"
#include "data/ioeti.h"

namespace {

/// All chains, read from the bytes: the labels of each series in order; what is wrong with them.
struct ChainCount {
    std::map<std::string, std::vector<std::uint32_t>> labels;  ///< by key
    std::map<std::string, std::vector<std::int32_t>> blocks;
    std::string fault;
    std::int32_t free = 0;

    void follow(const Bytes &file, const std::string &key, std::int32_t block, std::vector<int> &seen) {
        for (; block != -1; block = file.i32(static_cast<std::size_t>(block) * 376 + 12)) {
            const std::size_t at = static_cast<std::size_t>(block) * 376;
            if (block < 0 || at + 376 > file.size() || file.data.substr(at, 8) != key ||
                seen[at / 376]++ > 0) {
                fault += "chain broken at block " + std::to_string(block) + "\n";
                return;
            }
            blocks[key].push_back(block);
            for (std::size_t slot = 0; slot < 10; slot++) {
                if (file.u32(at + 16 + slot * 36 + 8) % 10 != 0) {
                    labels[key].push_back(static_cast<std::uint32_t>(at / 376 * 10 + slot + 1));
                }
            }
        }
    }
    /// `others`: chains of series that are not in the series file.
    explicit ChainCount(const std::map<std::string, std::int32_t> &others = {}) {
        const Bytes file("RVETI.TXT");
        const Bytes system("RVSYS.TXT");
        std::vector<int> seen(file.size() / 376);
        if (std::filesystem::exists("RVSER.TXT")) {
            const Bytes series("RVSER.TXT");
            for (std::size_t at = 0; at < series.size(); at += 200) {
                follow(file, series.data.substr(at, 8), series.i32(at + 176), seen);
            }
        }
        for (const auto &[key, block] : others) {
            follow(file, key, block, seen);
        }
        const std::int32_t end = system.i32(192 + 4);
        if (static_cast<std::size_t>(end) * 376 != file.size()) {
            fault += "end mark " + std::to_string(end) + "\n";
            return;
        }
        for (std::int32_t block = system.i32(192); block != end && fault.empty(); free++) {
            const std::size_t at = static_cast<std::size_t>(block) * 376;
            if (block < 0 || block > end || !file.zero(at, 12) || seen[at / 376]++ > 0) {
                fault += "free chain broken at block " + std::to_string(block) + "\n";
                return;
            }
            block = file.i32(at + 12);
        }
        if (free != system.i32(192 + 8)) {
            fault += "free count\n";
        }
        for (std::size_t block = 0; block < seen.size(); block++) {
            if (seen[block] != 1) {
                fault += "block " + std::to_string(block) + " is on no chain\n";
            }
        }
    }
};

std::string key_bytes(const SeriesKey &key) {
    return {reinterpret_cast<const char *>(&key), sizeof key};
}

/// Numbers of the labels of a chain, as a walk finds them.
std::vector<std::uint32_t> walk(std::int32_t block) {
    std::vector<std::uint32_t> found;
    eti_rec rec;
    for (int more = eti_file(eti_action::first, block, rec); more != 0;
         more = eti_file(eti_action::next, block, rec)) {
        found.push_back(static_cast<std::uint32_t>(block));
    }
    return found;
}

TEST_F(LabelFile, WalksFindTheLabelsOfEverySeries) {
    make_plain_shop(80);
    const ChainCount count;
    ASSERT_EQ(count.fault, "");
    for (const SeriesRecord &series : shop.series) {
        const std::string key = key_bytes(series.key);
        const auto labels = count.labels.find(key);
        const std::vector<std::uint32_t> expected =
            labels == count.labels.end() ? std::vector<std::uint32_t>{} : labels->second;
        EXPECT_EQ(walk(series.first_block), expected) << ser_text(series.key);
        std::map<int, std::uint32_t> kinds;
        for (int status = 1; status <= 4; status++) {
            std::int32_t number = series.first_block;
            eti_rec rec;
            for (int more = eti_next_kind(eti_action::first, number, rec, status); more != 0;
                 more = eti_next_kind(eti_action::next, number, rec, status)) {
                kinds[status]++;
            }
        }
        EXPECT_EQ(kinds[label_ordered], series.ordered);
        EXPECT_EQ(kinds[label_stock], series.stock);
        EXPECT_EQ(kinds[label_sold], series.sold);
        EXPECT_EQ(kinds[label_corrected], series.corrected);
    }
}

TEST_F(LabelFile, ReadByNumberTellsFilledFromEmpty) {
    make_plain_shop(20);
    const Bytes file("RVETI.TXT");
    const auto last = static_cast<std::int32_t>(file.size() / 376 * 10);
    for (std::int32_t number = 1; number <= last; number++) {
        const std::size_t at = static_cast<std::size_t>(number - 1) / 10 * 376;
        const unsigned status = file.u32(at + 16 + static_cast<std::size_t>(number - 1) % 10 * 36 + 8) % 10;
        std::int32_t wanted = number;
        eti_rec rec;
        ASSERT_EQ(eti_file(eti_action::read, wanted, rec), status != 0 ? 1 : 0) << number;
        ASSERT_EQ(rec.status, status) << number;
        ASSERT_EQ(rec.group, file.u32(at)) << number;
    }
    eti_rec rec;
    for (std::int32_t number : {0, -5, last + 1, 10 * 999999 + 11, 2147483647}) {
        rec.status = label_sold;
        EXPECT_EQ(eti_file(eti_action::read, number, rec), 0) << number;
        EXPECT_EQ(rec.status, label_empty) << number;
        EXPECT_EQ(eti_file(eti_action::next, number, rec), 0) << "nothing to go on from";
    }
    std::int32_t none = -1;
    EXPECT_EQ(eti_file(eti_action::first, none, rec), 0);
    EXPECT_EQ(eti_file(eti_action::next, none, rec), 0);
}

TEST_F(LabelFile, NewFileGrowsFromBlock0) {
    make_empty();
    open_labels();
    SysRow4Chain counted_wrong{};
    counted_wrong.free_count = 5;
    iotab_row(tab_action::write, row_label_chain, counted_wrong);
    eti_rec rec;
    rec.group = 12;
    rec.colour = 3;
    rec.number = 4;
    rec.size_kind = 7;
    rec.status = label_stock;
    for (std::int32_t n = 1; n <= 25; n++) {
        std::int32_t number = 0;
        rec.order_number = n;
        ASSERT_EQ(eti_file(eti_action::write, number, rec), 1);
        EXPECT_EQ(number, n) << "ten a block, block after block";
    }
    EXPECT_EQ(label_row().free_head, 3);
    EXPECT_EQ(label_row().end_mark, 3);
    EXPECT_EQ(label_row().free_count, 0);
    SeriesKey key{};
    key.group = 12;
    key.colour = 3;
    key.number = 4;
    const ChainCount count({{key_bytes(key), 0}});
    EXPECT_EQ(count.fault, "");
    EXPECT_EQ(count.labels.at(key_bytes(key)).size(), 25U);
    EXPECT_EQ(Bytes("RVETI.TXT").u16(376 + 8), 7U);
    EXPECT_EQ(status_on_file(), status_working);

    // Another series does not get into this chain, whatever the current block is.
    std::int32_t number = 0;
    rec.colour = 5;
    eti_file(eti_action::write, number, rec);
    EXPECT_EQ(number, 31);
    EXPECT_EQ(walk(0).size(), 25U);

    // A label that is gone leaves a place, and only the current label can go.
    number = 0;
    eti_file(eti_action::first, number, rec);
    std::int32_t other = 2;
    EXPECT_EQ(eti_file(eti_action::remove, other, rec), 1);
    EXPECT_EQ(eti_file(eti_action::remove, number, rec), 0);
    EXPECT_TRUE(Bytes("RVETI.TXT").zero(16, 36));
    std::int32_t place = 0;
    eti_file(eti_action::first, place, rec);
    EXPECT_EQ(place, 2);
    place = 0;
    eti_file(eti_action::write, place, rec);
    EXPECT_EQ(place, 1);
}

// A full shop: the free blocks go first, each to one series, then the file grows.
TEST_F(LabelFile, ChainsTakeFreeBlocksThenNewOnes) {
    make_plain_shop(30);
    const ChainCount start;
    ASSERT_EQ(start.fault, "");
    ASSERT_GT(start.free, 0);
    std::mt19937 random(5);
    std::map<std::string, std::vector<std::uint32_t>> expected = start.labels;
    const auto end = static_cast<std::size_t>(label_row().end_mark);
    std::size_t written = 0;
    for (; static_cast<std::size_t>(label_row().end_mark) < end + 3; written++) {
        const SeriesRecord &series = shop.series[random() % shop.series.size()];
        std::int32_t number = series.first_block;
        eti_rec rec;
        if (eti_file(eti_action::first, number, rec) == 0) {
            continue;
        }
        number = 0;
        rec.customer = 0;
        ASSERT_EQ(eti_file(eti_action::write, number, rec), 1);
        expected[key_bytes(series.key)].push_back(static_cast<std::uint32_t>(number));
    }
    const ChainCount after;
    EXPECT_EQ(after.fault, "");
    EXPECT_EQ(after.free, 0);
    for (auto &[key, numbers] : expected) {
        std::vector<std::uint32_t> found = after.labels.at(key);
        std::sort(numbers.begin(), numbers.end());
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, numbers);
    }
    EXPECT_GT(written, 30U);
    EXPECT_EQ(status_on_file(), status_working);
}

/// Labels that another process has written to the first series until it was killed, as it told of them.
std::vector<std::uint32_t> write_until_killed(const SeriesRecord &series, unsigned microseconds) {
    int told[2];
    EXPECT_EQ(pipe(told), 0);
    const pid_t child = fork();
    if (child == 0) {
        for (;;) {
            std::int32_t number = series.first_block;
            eti_rec rec;
            eti_file(eti_action::first, number, rec);
            number = 0;
            rec.customer = 0;
            eti_file(eti_action::write, number, rec);
            if (write(told[1], &number, sizeof number) != sizeof number) {
                _exit(1);
            }
        }
    }
    close(told[1]);
    std::vector<std::uint32_t> numbers;
    std::uint32_t number = 0;
    EXPECT_EQ(read(told[0], &number, sizeof number), static_cast<ssize_t>(sizeof number));
    numbers.push_back(number);
    usleep(microseconds);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    while (read(told[0], &number, sizeof number) == static_cast<ssize_t>(sizeof number)) {
        numbers.push_back(number);
    }
    close(told[0]);
    return numbers;
}

// A chain that is not whole is announced by the mark in the user slot, and no label that was written is lost.
TEST_F(LabelFile, DeathInAChainUpdateLeavesItsMark) {
    std::mt19937 random(9);
    for (int round = 0; round < rounds(20); round++) {
        make_plain_shop(4);
        const std::vector<std::uint32_t> written =
            write_until_killed(shop.series[0], static_cast<unsigned>(random() % 3000));
        const ChainCount count;
        const std::vector<std::uint32_t> &found = count.labels.at(key_bytes(shop.series[0].key));
        for (const std::uint32_t number : written) {
            ASSERT_EQ(std::count(found.begin(), found.end(), number), 1) << "label " << number;
        }
        if (status_on_file() != status_in_chain_update) {
            ASSERT_EQ(count.fault, "") << "round " << round;
        }
        close_shop();
    }
}

TEST_F(LabelFile, WriteByNumberChangesThatLabelOnly) {
    make_plain_shop(20);
    const std::string old = get("RVETI.TXT");
    const std::vector<std::uint32_t> chain = walk(shop.series[3].first_block);
    std::int32_t number = shop.series[1].first_block;
    eti_rec rec;
    eti_file(eti_action::first, number, rec);
    for (const std::uint32_t label : chain) {
        std::int32_t wanted = static_cast<std::int32_t>(label);
        ASSERT_EQ(eti_file(eti_action::read, wanted, rec), 1);
        std::int32_t elsewhere = shop.series[1].first_block;
        eti_rec unused;
        eti_file(eti_action::first, elsewhere, unused);
        rec.branch = 77;
        ASSERT_EQ(eti_file(eti_action::write, wanted, rec), 1);
    }
    std::string after = get("RVETI.TXT");
    for (const std::uint32_t label : chain) {
        const std::size_t at = (label - 1) / 10 * 376 + 16 + (label - 1) % 10 * 36;
        EXPECT_EQ(after[at + 22], 77);
        after[at + 22] = old[at + 22];
    }
    EXPECT_EQ(after, old);
}

// ---- Chains that lead nowhere

struct Broken {
    const char *name;
    void (*spoil)(Shop &shop);
    const char *text;
};

LabelBlock &first_block_of(Shop &shop) {
    return shop.label_blocks[static_cast<std::size_t>(shop.series[0].first_block)];
}

const Broken broken[] = {
    {"above the bound", [](Shop &shop) { first_block_of(shop).next = 1000000; },
     "IOETI\\(0\\): a=[FN],f=[0-9]+,r=1000000 -> Ongeldige etiketketting"},
    {"below 0", [](Shop &shop) { first_block_of(shop).next = -7; },
     "IOETI\\([0-9]+\\): a=[FN],f=[0-9]+,r=-7 -> Foutieve etiketketting"},
    {"behind the file",
     [](Shop &shop) { first_block_of(shop).next = static_cast<std::int32_t>(shop.label_blocks.size()); },
     "IOETI\\(0\\): a=[FN],f=[0-9]+,r=[0-9]+ -> Buiten bestand"},
    {"in a loop", [](Shop &shop) { first_block_of(shop).next = shop.series[0].first_block; },
     "IOETI\\(0\\): a=[FN],f=[0-9]+,r=[0-9]+ -> Ongeldige etiketketting"},
    {"starts below 0", [](Shop &shop) { shop.series[0].first_block = -2; },
     "IOETI\\([0-9]+\\): a=F,f=[0-9]+,r=-2 -> Foutieve etiketketting"},
    {"starts behind the file", [](Shop &shop) { shop.series[0].first_block = 999999; },
     "IOETI\\(0\\): a=F,f=[0-9]+,r=999999 -> Buiten bestand"},
};

TEST_F(LabelFile, BrokenChainsStopTheProgram) {
    for (const Broken &chain : broken) {
        make_shop_with(10, chain.spoil);
        const std::int32_t first = shop.series[0].first_block;
        EXPECT_EXIT((dup2(2, 1), walk(first)), testing::ExitedWithCode(1), chain.text) << chain.name;
        EXPECT_EQ(status_on_file(), status_chains_suspect) << chain.name;
        close_shop();
    }
}

/// Each leaves the files as they were, but for the mark in the user slot.
TEST_F(LabelFile, BrokenFreeChainGivesNoBlock) {
    const Broken heads[] = {
        {"behind the end", [](Shop &s) { s.label_chain.free_head = s.label_chain.end_mark + 1; }, nullptr},
        {"below 0", [](Shop &s) { s.label_chain.free_head = -1; }, nullptr},
        {"block of a series", [](Shop &s) { s.label_chain.free_head = s.series[2].first_block; }, nullptr},
        {"next below 0",
         [](Shop &s) { s.label_blocks[static_cast<std::size_t>(s.label_chain.free_head)].next = -1; },
         nullptr},
        {"no number left",
         [](Shop &s) {
             s.label_chain.free_head = 1000000;
             s.label_chain.end_mark = 1000000;
         },
         nullptr},
    };
    for (const Broken &head : heads) {
        make_shop_with(10, head.spoil);
        const std::string labels = get("RVETI.TXT");
        std::int32_t number = shop.series[0].first_block;
        eti_rec rec;
        eti_file(eti_action::first, number, rec);
        EXPECT_EXIT((dup2(2, 1), eti_file(eti_action::new_block, number, rec)), testing::ExitedWithCode(1),
                    "a=I.*Ongeldige etiketketting")
            << head.name;
        EXPECT_EQ(get("RVETI.TXT"), labels) << head.name;
        EXPECT_EQ(label_row().free_head, shop.label_chain.free_head) << head.name;
        EXPECT_EQ(status_on_file(), status_chains_suspect) << head.name;
        close_shop();
    }
}

TEST_F(LabelFile, WrongUseIsAnInternalError) {
    make_empty();
    std::int32_t number = 1;
    eti_rec rec;
    const auto stops = [](const char *text) { return std::string("IOETI: ") + text; };
    EXPECT_EXIT((dup2(2, 1), eti_file(eti_action::read, number, rec)), testing::ExitedWithCode(1),
                stops("errno=2"));
    open_labels();
    EXPECT_EXIT((dup2(2, 1), eti_file(eti_action::open)), testing::ExitedWithCode(1), stops("errno=3"));
    EXPECT_EXIT((dup2(2, 1), eti_file(eti_action::lock_read, number, rec)), testing::ExitedWithCode(1),
                stops("errno=1"));
    EXPECT_EXIT((dup2(2, 1), eti_next_kind(eti_action::write, number, rec, 1)), testing::ExitedWithCode(1),
                stops("errno=4"));
    EXPECT_EQ(eti_file(static_cast<eti_action>('?'), number, rec), 0);
    eti_file(eti_action::close);
    std::filesystem::remove(eti_file_name);
    EXPECT_EXIT((dup2(2, 1), eti_file(eti_action::open)), testing::ExitedWithCode(1),
                "IOETI: Open niet gelukt \\(file=RVETI.TXT, errno=2\\)");
    is_open = false;
}

}  // namespace
