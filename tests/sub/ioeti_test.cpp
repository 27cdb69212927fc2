// The label file: labels packed and unpacked, walks along chains, chains that grow and break.
#include "sub/ioeti.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <tuple>

#include "isam/scratch_dir.h"
#include "sub/sub.h"
#include "support/shop_bytes.h"
#include "tools/shop/shop.h"

namespace {

int rounds(int usual) {
    const char *wanted = std::getenv("RVCHK_ROUNDS");
    return wanted == nullptr ? usual : std::atoi(wanted);
}

bool operator==(const eti_rec &a, const eti_rec &b) {
    const auto fields = [](const eti_rec &r) {
        return std::make_tuple(
            std::tie(r.group, r.colour, r.number, r.status, r.size_kind, r.size, r.branch, r.supplier),
            std::tie(r.date_in, r.date_status, r.date_moved, r.date_sold, r.group_value, r.price, r.amount_b),
            std::tie(r.amount_c, r.flag_e, r.digit_b, r.digit_s, r.digit_a, r.customer,
                     r.next_customer_label),
            std::tie(r.code_m, r.in_transit, r.dest_branch, r.order_number, r.reserved_for, r.is_reserved));
    };
    return fields(a) == fields(b);
}

std::string bytes_of(const LabelEntry &entry) {
    return {reinterpret_cast<const char *>(&entry), sizeof entry};
}

/// A directory with a system file, and the label file open when a test opens it.
class LabelFile : public ScratchDir {
protected:
    void SetUp() override {
        ScratchDir::SetUp();
        ASSERT_NE(std::freopen("/dev/null", "r", stdin), nullptr);  // a fatal stop waits for Enter
        unsetenv("ZUV_INTERN");
    }
    void TearDown() override {
        if (is_open) {
            eti_file(eti_action::close);
        }
        chk_eti_raw(raw_action::close);
        iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
        sys_user = 0;
        sys_slot = {};
        sys_settings = {};
        sys_country = {};
        ScratchDir::TearDown();
    }
    void open_system() {
        iotab(tab_action::open, sys_row, nullptr, 0, 0, 0);
        iotab_row(tab_action::read, row_settings, sys_settings);
        iotab_row(tab_action::read, row_country, sys_country);
        sys_user = 1;
        iotab(tab_action::read, sys_user, sys_slot, region_users);
    }
    void open_labels() {
        eti_file(eti_action::open);
        is_open = true;
    }
    /// An empty label file, with an end mark of 0.
    void make_empty() {
        put(sys_file_name, std::string(region_actions.end(), '\0'));
        put(eti_file_name);
        open_system();
        sys_settings.group_value[1] = 21;
    }
    /// A shop, with what `change` makes of it.
    template <class Change>
    void make_shop_with(int series, Change change) {
        ShopOptions options;
        options.series = series;
        options.labels = 12;
        options.today = date_from_str("20112013");
        std::string why;
        ASSERT_TRUE(build_shop(options, shop, why)) << why;
        change(shop);
        ASSERT_TRUE(write_shop(shop, ".", shop_target::made, why)) << why;
        open_system();
        open_labels();
    }
    void make_plain_shop(int series) {
        make_shop_with(series, [](Shop &) {});
    }
    static SysRow4Chain label_row() {
        SysRow4Chain row{};
        iotab_row(tab_action::read, row_label_chain, row);
        return row;
    }
    static int status_on_file() {
        return static_cast<int>(Bytes(sys_file_name).u8(2640 + 38));
    }

    Shop shop;
    bool is_open = false;
};

// ---- Labels in and out of a block

/// A record with each field anywhere in its range, often at an end of it.
eti_rec any_label(std::mt19937 &random, int status) {
    const auto pick = [&](std::uint32_t highest) {
        const std::uint32_t kind = random() % 8;
        return kind == 0   ? 0
               : kind == 1 ? highest
                           : std::uniform_int_distribution<std::uint32_t>(0, highest)(random);
    };
    const auto byte = [&](std::uint32_t highest) { return static_cast<std::uint8_t>(pick(highest)); };
    const auto half = [&](std::uint32_t highest) { return static_cast<std::uint16_t>(pick(highest)); };
    const auto word = [&](std::uint32_t highest) { return static_cast<std::int32_t>(pick(highest)); };
    eti_rec rec;
    rec.group = pick(99999);
    rec.colour = half(999);
    rec.number = half(9999);
    rec.status = static_cast<std::uint8_t>(status);
    rec.size_kind = byte(255);
    rec.size = byte(254);
    rec.branch = byte(255);
    rec.supplier = half(65535);
    rec.date_in = half(65535);
    rec.date_moved = half(65535);
    rec.price = word(429496728);
    rec.amount_b = word(429496728);
    rec.amount_c = word(429496728);
    rec.digit_a = byte(9);
    rec.digit_b = byte(9);
    rec.digit_s = byte(99);
    rec.flag_e = byte(3);
    rec.code_m = half(999);
    rec.customer = word(999999);
    rec.next_customer_label = word(0x7FFFFFFF);
    rec.order_number = word(9999999);
    switch (status) {
        case label_ordered:
            rec.date_status = half(65535);
            rec.is_reserved = byte(1);
            rec.reserved_for = rec.is_reserved != 0 ? byte(254) : std::uint8_t{255};
            rec.group_value = 21;
            break;
        case label_stock:
            rec.in_transit = byte(1);
            rec.dest_branch = rec.in_transit != 0 ? byte(254) : std::uint8_t{0};
            rec.group_value = 21;
            break;
        default:
            rec.date_sold = half(65535);
            rec.group_value = half(428);
            break;
    }
    return rec;
}

TEST_F(LabelFile, EveryLabelComesBackAsItWas) {
    make_empty();
    SysRow20 transit{};
    transit.in_use = 256;  // the whole word decides, its first byte is 0
    iotab_row(tab_action::write, row_transit, transit);
    open_labels();
    std::mt19937 random(1);
    for (int i = 0; i < rounds(20000); i++) {
        const eti_rec rec = any_label(random, i % 4 + 1);
        const int slot = i % labels_per_block;
        LabelBlock block{};
        block.key.group = rec.group;
        block.key.colour = rec.colour;
        block.key.number = rec.number;
        const LabelBlock fresh = block;
        eti_rec packed = rec;
        eti_pack(packed, block, slot);
        eti_rec back;
        eti_unpack(block, slot, back);
        ASSERT_TRUE(back == rec) << "round " << i;

        // Bytes survive too, and no other slot is touched.
        LabelBlock again = fresh;
        eti_pack(back, again, slot);
        ASSERT_EQ(bytes_of(again.slots[slot]), bytes_of(block.slots[slot])) << "round " << i;
        again.slots[slot] = {};
        again.size_kind = 0;
        ASSERT_EQ(std::memcmp(&again, &fresh, sizeof fresh), 0) << "round " << i;
    }
}

// Written by hand from the decimal places of each word.
TEST_F(LabelFile, FieldsShareWordsInDecimal) {
    make_empty();
    open_labels();
    eti_rec rec;
    rec.status = label_sold;
    rec.price = 12345;
    rec.digit_a = 6;
    rec.amount_b = 77;
    rec.digit_b = 9;
    rec.amount_c = 1999;
    rec.flag_e = 2;
    rec.code_m = 34;
    rec.customer = 567;
    rec.next_customer_label = 11;
    rec.size = 38;
    rec.digit_s = 5;
    rec.branch = 2;
    rec.supplier = 258;
    rec.date_in = 1;
    rec.date_moved = 2;
    rec.date_sold = 3;
    rec.is_reserved = 1;  // means nothing once sold
    rec.group_value = 19;
    rec.order_number = 76;
    LabelBlock block{};
    eti_pack(rec, block, 0);
    put("entry", bytes_of(block.slots[0]));
    const Bytes entry("entry");
    const std::uint32_t words[] = {123456, 779, 19993, 2034000567, 11};
    for (std::size_t i = 0; i < std::size(words); i++) {
        EXPECT_EQ(entry.u32(i * 4), words[i]) << i;
    }
    EXPECT_EQ(entry.u16(20), 3805U);
    EXPECT_EQ(entry.u8(22), 2U);
    EXPECT_EQ(entry.u8(23), 0U);
    EXPECT_EQ(entry.u16(24), 258U);
    EXPECT_EQ(entry.u16(26), 1U);
    EXPECT_EQ(entry.u16(28), 2U);
    EXPECT_EQ(entry.u16(30), 3U);
    EXPECT_EQ(entry.u32(32), 190000076U);
    block.slots[1].amount_status = 10;
    EXPECT_TRUE(label_is_empty(block.slots[1]));
    EXPECT_FALSE(chk_block_empty(block));
    block.slots[0].amount_status = 0;
    EXPECT_TRUE(chk_block_empty(block)) << "an amount alone is no label";
    block.slots[2].size = 65535;
    eti_unpack(block, 2, rec);
    EXPECT_EQ(rec.size, 255) << "an index that doesn't fit may not turn into a valid one";
}

TEST_F(LabelFile, MarkOfTransitNeedsTransit) {
    make_empty();
    open_labels();
    eti_rec rec;
    rec.status = label_stock;
    rec.in_transit = 1;
    rec.dest_branch = 4;
    LabelBlock block{};
    eti_pack(rec, block, 0);
    EXPECT_EQ(block.slots[0].extra, 0);
    eti_file(eti_action::close);
    setenv("ZUV_INTERN", "", 1);
    eti_file(eti_action::open);
    EXPECT_EXIT((dup2(2, 1), eti_pack(rec, block, 0)), testing::ExitedWithCode(1), "IOETI: errno=5");
    unsetenv("ZUV_INTERN");
}

TEST_F(LabelFile, ValueOfTheGroupComesFromRow1UntilSold) {
    make_plain_shop(20);
    for (const ArticleGroupRecord &group : shop.groups) {
        EXPECT_EQ(art_value_code(group.number), group.vat);
    }
    EXPECT_EQ(art_value_code(0), 1);
    EXPECT_EQ(art_value_code(99998), 1) << "no such group";
    LabelBlock block{};
    block.key = shop.series[0].key;
    block.slots[0].amount_status = label_stock;
    block.slots[0].order = 130000005;
    block.slots[1] = block.slots[0];
    block.slots[1].amount_status = label_corrected;
    eti_rec rec;
    eti_unpack(block, 0, rec);
    EXPECT_EQ(rec.group_value, sys_settings.group_value[art_value_code(block.key.group)]);
    eti_unpack(block, 1, rec);
    EXPECT_EQ(rec.group_value, 13);
    EXPECT_EQ(rec.order_number, 5);
}

// ---- Chains

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
        const std::vector<std::uint32_t> written = write_until_killed(shop.series[0], random() % 3000);
        const ChainCount count;
        const std::vector<std::uint32_t> &found = count.labels.at(key_bytes(shop.series[0].key));
        for (const std::uint32_t number : written) {
            ASSERT_EQ(std::count(found.begin(), found.end(), number), 1) << "label " << number;
        }
        if (status_on_file() != status_in_chain_update) {
            ASSERT_EQ(count.fault, "") << "round " << round;
        }
        eti_file(eti_action::close);
        iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
        is_open = false;
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
        eti_file(eti_action::close);
        iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
        is_open = false;
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
        eti_file(eti_action::close);
        iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
        is_open = false;
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

// ---- Blocks, keys, serials

TEST_F(LabelFile, BlocksAreReadInSequenceFromThePlaceOfTheLast) {
    put(eti_file_name, std::string(376, 'a') + std::string(376, 'b') + std::string(376, 'c') + "tail");
    LabelBlock block{};
    const auto letter = [&] { return *reinterpret_cast<const char *>(&block); };
    chk_eti_raw(raw_action::open);
    EXPECT_EQ(chk_eti_raw(raw_action::read_on, 0, block), 1);
    EXPECT_EQ(letter(), 'a');
    EXPECT_EQ(chk_eti_raw(raw_action::read, 2, block), 1);
    EXPECT_EQ(letter(), 'c');
    EXPECT_EQ(chk_eti_raw(raw_action::read_on, 0, block), 0) << "the tail is no block";
    for (const std::int32_t outside : {-1, 3, 2147483647}) {
        EXPECT_EQ(chk_eti_raw(raw_action::read, outside, block), 0) << outside;
    }
    std::memset(&block, 'x', sizeof block);
    EXPECT_EQ(chk_eti_raw(raw_action::write, 0, block), 1);
    EXPECT_EQ(chk_eti_raw(raw_action::read_on, 0, block), 1);
    EXPECT_EQ(letter(), 'b');
    EXPECT_EQ(get(eti_file_name),
              std::string(376, 'x') + std::string(376, 'b') + std::string(376, 'c') + "tail");
    EXPECT_EQ(chk_eti_raw(static_cast<raw_action>('x'), 0, block), 1);
    EXPECT_EQ(chk_eti_raw(static_cast<raw_action>('A'), 0, block), 1);
}

TEST_F(LabelFile, HighestBlockFollowsTheDigits) {
    const std::pair<int, std::int32_t> digits[] = {{6, 99999},  {7, 999999}, {8, 2999999},
                                                   {0, 999999}, {9, 999999}, {255, 999999}};
    for (const auto &[count, highest] : digits) {
        sys_country.label_digits = static_cast<std::uint8_t>(count);
        EXPECT_EQ(eti_max_block(), highest) << count;
    }
}

TEST_F(LabelFile, SerialsRunFrom1000) {
    make_empty();
    const std::pair<std::int32_t, std::int32_t> serials[] = {
        {0, 1000}, {1000, 1001}, {5, 6}, {9999998, 9999999}, {9999999, 1000}, {-3, 1000}, {2147483647, 1000}};
    for (const auto &[stored, next] : serials) {
        SysRow5 row{};
        row.last_serial = stored;
        std::memset(row.unused_4, 'u', sizeof row.unused_4);
        iotab_row(tab_action::write, row_serial, row);
        EXPECT_EQ(eti_next_serial(), next) << stored;
        iotab_row(tab_action::read, row_serial, row);
        EXPECT_EQ(row.last_serial, next) << stored;
        EXPECT_EQ(row.unused_4[59], 'u');
    }
}

TEST(SeriesKeys, RangesTextsAndStamps) {
    const struct {
        std::uint32_t group;
        unsigned colour;
        unsigned number;
        bool valid;
        const char *text;
    } keys[] = {
        {1, 1, 1, true, "1.1.1         "},
        {99999, 999, 9999, true, "99999.999.9999"},
        {0, 1, 1, false, "0.1.1         "},
        {1, 0, 1, false, "1.0.1         "},
        {1, 1, 0, false, "1.1.0         "},
        {100000, 1, 1, false, "100000.1.1    "},
        {1, 1000, 1, false, "1.1000.1      "},
        {1, 1, 10000, false, "1.1.10000     "},
        {4294967295, 65535, 65535, false, "4294967295.655"},
    };
    for (const auto &key : keys) {
        EXPECT_EQ(chk_key_valid(key.group, key.colour, key.number), key.valid) << key.text;
        EXPECT_EQ(ser_text(key.group, key.colour, key.number), key.text);
    }
    EXPECT_EQ(stamp_of_day(day_1980), 0);
    EXPECT_EQ(stamp_of_day(date_from_str("02012000")), (20 * 365 + 5 + 1) * 86400);
    EXPECT_EQ(day_of_stamp(86399), day_1980);
    EXPECT_EQ(day_of_stamp(86400), day_1980 + 1);
    for (unsigned day = day_1980; day < day_1980 + 24855; day++) {
        ASSERT_EQ(day_of_stamp(stamp_of_day(static_cast<day_number>(day))), day);
    }
}

TEST_F(LabelFile, SeriesOfABlockIsLookedUp) {
    make_plain_shop(20);
    chk_files.rvser = IXOPEN("RVSER", ix_shared);
    LabelBlock block{};
    EXPECT_TRUE(chk_key_empty(block));
    EXPECT_FALSE(chk_ser_exists(block));
    block.key = shop.series[7].key;
    EXPECT_FALSE(chk_key_empty(block));
    EXPECT_TRUE(chk_ser_exists(block));
    block.key.colour = 998;
    EXPECT_FALSE(chk_ser_exists(block));
    IXCLOSE(chk_files.rvser);
    chk_files.rvser = nullptr;
}

}  // namespace
