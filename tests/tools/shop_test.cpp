// Made shops: the same bytes for the same seed, the layouts, and chains that hold every block once.
#include "tools/shop/shop.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <map>
#include <set>

#include "../isam/scratch_dir.h"
#include "isam/text.h"
#include "shop_bytes.h"

namespace {

namespace fs = std::filesystem;

/// All files of a directory by relative name.
std::map<std::string, std::string> snapshot(const std::string &directory) {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            files[fs::relative(entry.path(), directory)] = Bytes(entry.path()).data;
        }
    }
    return files;
}

ShopOptions small(std::uint64_t seed = 1) {
    ShopOptions options;
    options.series = 60;
    options.seed = seed;
    options.today = date_from_str("20112013");
    return options;
}

using ShopTest = ScratchDir;

TEST_F(ShopTest, SameSeedSameBytes) {
    ASSERT_EQ(make_shop(small(7), "a"), "");
    ASSERT_EQ(make_shop(small(7), "b"), "");
    ASSERT_EQ(make_shop(small(8), "c"), "");
    const auto a = snapshot("a");
    const auto c = snapshot("c");
    EXPECT_EQ(a, snapshot("b"));
    EXPECT_NE(a.at("RVETI.TXT"), c.at("RVETI.TXT"));

    // A fault changes nothing but what it spoils.
    ShopOptions spoiled = small(7);
    spoiled.faults = {"label-free-count"};
    ASSERT_EQ(make_shop(spoiled, "d"), "");
    const auto d = snapshot("d");
    for (const auto &[name, bytes] : a) {
        EXPECT_EQ(name == "RVSYS.TXT", bytes != d.at(name)) << name;
    }
}

TEST_F(ShopTest, MadeAgainLeavesNothingOfTheLastShop) {
    ShopOptions large = small(3);
    large.series = 200;
    large.branches = 8;
    ASSERT_EQ(make_shop(large, "a"), "");
    put("a/eigen.txt", "blijft");
    ShopOptions tiny = small(3);
    tiny.series = 5;
    tiny.branches = 1;
    tiny.tills = 0;
    ASSERT_EQ(make_shop(tiny, "a"), "");
    ASSERT_EQ(make_shop(tiny, "b"), "");
    auto a = snapshot("a");
    EXPECT_EQ(a.at("eigen.txt"), "blijft");
    a.erase("eigen.txt");
    EXPECT_EQ(a, snapshot("b"));
}

TEST_F(ShopTest, SystemFile) {
    ShopOptions options = small();
    options.label_digits = 8;
    options.checked = 6;
    ASSERT_EQ(make_shop(options, "a"), "");
    const Bytes file("a/RVSYS.TXT");
    const auto row = [](std::size_t n) { return (n - 1) * 64; };
    ASSERT_EQ(file.size(), 111468U + 64 * 99);
    EXPECT_NE(file.text(row(1), 30), "");
    EXPECT_EQ(file.u8(row(1) + 30) & 3, 3U);
    EXPECT_EQ(file.u8(row(1) + 39), 3U);
    EXPECT_EQ(file.data.substr(row(10) + 58, 5), "8.60 ");
    EXPECT_EQ(file.u8(row(10) + 63), 0U);
    EXPECT_EQ(file.data.substr(row(15), 6), "EURNLD");
    EXPECT_EQ(file.u8(row(15) + 6), 8U);
    for (const std::size_t offset : {0, 2, 4, 6, 8, 10, 12, 22, 24, 30, 32, 34, 38}) {
        EXPECT_EQ(file.u16(row(19) + offset), options.today - 6U) << offset;
    }
    EXPECT_NE(file.i32(row(20)), 0);
    EXPECT_EQ(file.data.substr(14880, 3), "EUR");
    EXPECT_EQ(file.u8(14883), 2U);
    EXPECT_EQ(file.text(18444 + 9 * 20, 20), "zwart");
    EXPECT_EQ(file.text(44760, 20), "damesschoenen");
    EXPECT_EQ(file.data.substr(46902, 3), "NLD");

    char name[19] = {};
    file.data.copy(name, 18, 2640);
    UNSCRAMBLE(name);
    EXPECT_STREQ(name, "Beheer");
    EXPECT_EQ(file.u16(2640 + 18), 1U);
    EXPECT_EQ(file.u8(2640 + 38), 0U);
}

TEST_F(ShopTest, Branches) {
    ShopOptions options = small();
    options.branches = 9;
    ASSERT_EQ(make_shop(options, "a"), "");
    const Bytes file("a/RVFILGEG.TXT");
    ASSERT_EQ(file.size(), 612U * 10);
    EXPECT_TRUE(file.zero(0, 32));
    std::set<std::string> names;
    int with_tills = 0;
    for (std::size_t branch = 0; branch < 9; branch++) {
        const std::size_t at = (branch + 1) * 612;
        char name[33] = {};
        file.data.copy(name, 32, at);
        UNSCRAMBLE(name);
        EXPECT_GE(name[0], 'A') << branch;
        names.insert(name);
        EXPECT_EQ(file.u8(at + 599), branch + 1);
        with_tills += file.u8(at + 308) >= 2;
        for (unsigned till = 1; till < 100; till++) {
            const std::string lists = "a/KAS0" + std::to_string(branch + 1) + (till < 10 ? "0" : "") +
                                      std::to_string(till) + ".SYS";
            EXPECT_EQ(file.bit(at + 309, till), fs::exists(lists)) << lists;
        }
    }
    EXPECT_EQ(names.size(), 9U);
    EXPECT_GT(with_tills, 0);
}

/// A chained file: where its row stands, its block size, the place of the next field, and the heads of its
/// chains.
struct ChainedFile {
    const char *name;
    std::size_t row;
    std::size_t block;
    std::size_t next;
};

/// Walks all chains and the free chain; true when each block lies on exactly one, with the right key.
testing::AssertionResult every_block_once(const ChainedFile &chained,
                                          const std::vector<std::pair<std::string, std::int32_t>> &heads) {
    const Bytes system("RVSYS.TXT");
    const Bytes file(chained.name);
    const std::size_t row = (chained.row - 1) * 64;
    const std::int32_t end = system.i32(row + 4);
    if (file.size() != static_cast<std::size_t>(end) * chained.block) {
        return testing::AssertionFailure() << "end mark " << end << " of " << file.size() << " bytes";
    }
    std::set<std::int32_t> seen;
    const auto walk = [&](std::int32_t block, std::int32_t stop, const std::string &key) {
        for (; block != stop;
             block = file.i32(static_cast<std::size_t>(block) * chained.block + chained.next)) {
            if (block < 0 || block >= end || !seen.insert(block).second ||
                file.data.substr(static_cast<std::size_t>(block) * chained.block, key.size()) != key) {
                return block;
            }
        }
        return std::int32_t{-2};
    };
    for (const auto &[key, head] : heads) {
        const std::int32_t wrong = head < 0 ? -3 : walk(head, -1, key);
        if (wrong != -2) {
            return testing::AssertionFailure() << "chain from " << head << " at " << wrong;
        }
    }
    const std::size_t used = seen.size();
    const std::int32_t wrong = walk(system.i32(row), end, std::string(8, '\0'));
    if (wrong != -2 || seen.size() != static_cast<std::size_t>(end)) {
        return testing::AssertionFailure()
               << "free chain at " << wrong << ", " << end - seen.size() << " lost";
    }
    if (chained.row == 4 && system.i32(row + 8) != static_cast<std::int32_t>(seen.size() - used)) {
        return testing::AssertionFailure() << "free count";
    }
    return testing::AssertionSuccess();
}

/// Records of an indexed file, live ones only: those that an index leads to stand in its data half one
/// behind the other.
template <typename Record, typename Head>
std::vector<std::pair<std::string, std::int32_t>> heads_of(const std::vector<Record> &records,
                                                           std::size_t key, Head head) {
    std::vector<std::pair<std::string, std::int32_t>> heads;
    for (const Record &record : records) {
        heads.emplace_back(std::string(reinterpret_cast<const char *>(&record), key), record.*head);
    }
    return heads;
}

TEST_F(ShopTest, ChainsHoldEveryBlockOnce) {
    for (const std::uint64_t seed : {1, 2, 3}) {
        Shop shop;
        std::string why;
        ASSERT_TRUE(build_shop(small(seed), shop, why) && write_shop(shop, ".", shop_target::any, why))
            << why;
        EXPECT_TRUE(every_block_once({"RVETI.TXT", 4, 376, 12},
                                     heads_of(shop.series, 8, &SeriesRecord::first_block)));
        EXPECT_TRUE(every_block_once({"RVIPG.TXT", 9, 40, 36},
                                     heads_of(shop.price_sets, 12, &PriceSetRecord::chain)));
        EXPECT_TRUE(every_block_once({"RVBAPAR.TXT", 12, 432, 424},
                                     heads_of(shop.criteria, 8, &CriteriaRecord::chain)));
    }
}

TEST_F(ShopTest, JournalsFollowTheOrderOfTheirCodes) {
    ASSERT_EQ(make_shop(small(), "a"), "");
    struct Rule {
        std::size_t bytes;
        const char *after;
    };
    const std::map<char, Rule> rules = {
        {'O', {120, " DSEBLF"}}, {'M', {24, "ODTSEBLF"}}, {'D', {128, "MTSEBLF"}},
        {'T', {61, "OMDT"}},     {'S', {12, "DTSEB"}},    {'E', {13, "S"}},
        {'B', {13, "SE"}},       {'L', {4, "SEBLF"}},     {'F', {8, "LF"}},
    };
    int journals = 0;
    std::set<std::uint32_t> orders;
    for (const auto &[name, bytes] : snapshot("a")) {
        if (name.find(".JRN") == std::string::npos) {
            continue;
        }
        journals++;
        const Bytes journal("a/" + name);
        char last = ' ';
        std::size_t at = 0;
        while (at < journal.size()) {
            const char code = journal.data[at++];
            ASSERT_TRUE(rules.contains(code)) << name << " " << at;
            const Rule &rule = rules.at(code);
            EXPECT_NE(std::string(rule.after).find(last), std::string::npos) << name << " " << last << code;
            if (code == 'O') {
                EXPECT_EQ(std::to_string(journal.u16(at + 4)) + journal.data[at + 23], name.substr(0, 5));
                EXPECT_GE(journal.u32(at + 64), 1000U);
                EXPECT_TRUE(orders.insert(journal.u32(at + 64)).second);
            }
            last = code;
            at += rule.bytes;
        }
        EXPECT_EQ(at, journal.size());
    }
    EXPECT_GT(journals, 5);
}

TEST_F(ShopTest, EveryFaultChangesTheShop) {
    Shop clean;
    std::string why;
    ASSERT_TRUE(build_shop(small(), clean, why) && write_shop(clean, "clean", shop_target::made, why)) << why;
    const auto clean_files = snapshot("clean");
    std::set<std::string> names;
    for (const ShopFault &fault : shop_faults()) {
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
        Shop spoiled;
        ShopOptions options = small();
        options.faults = {fault.name};
        ASSERT_TRUE(build_shop(options, spoiled, why)) << fault.name << ": " << why;
        ASSERT_TRUE(write_shop(spoiled, "spoiled", shop_target::made, why)) << why;
        EXPECT_NE(clean_files, snapshot("spoiled")) << fault.name;
    }
}

/// Runs mkshop; its exit status and what it says.
std::pair<int, std::string> run(const std::string &arguments) {
    FILE *pipe = popen((MKSHOP " " + arguments + " 2>&1").c_str(), "r");
    std::string said;
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;) {
        said += static_cast<char>(c);
    }
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, said};
}

TEST_F(ShopTest, CommandLine) {
    fs::create_directories("own");
    put("own/brief.txt", "van een ander");
    put("plain");
    struct Case {
        const char *arguments;
        int status;
        const char *says;
    };
    const Case cases[] = {
        {"a --series 5 --today 20112013", 0, ""},
        {"a --series 6", 0, ""},
        {"", 1, "one directory"},
        {"a b", 1, "one directory"},
        {"a --series", 1, "requires an argument"},
        {"a --series twaalf", 1, "wants a number"},
        {"a --series 99999999999999999999", 1, "wants a number"},
        {"a --series -3", 1, "below 0"},
        {"a --series 200001", 1, "must lie between"},
        {"a --branches 0", 1, "must lie between"},
        {"a --digits 5", 1, "must lie between"},
        {"a --today 31022013", 1, "DDMMYYYY"},
        {"a --today 01011960", 1, "1990 to 2040"},
        {"a --fault kapot", 1, "no fault is named"},
        {"a --branches 1 --series 0 --fault series-count", 1, "nothing in this shop"},
        {"a --digits 6 --series 100001", 1, "too many"},
        {"own", 1, "not from a made shop"},
        {"own --force --series 5", 0, ""},
        {"plain", 1, "cannot be read"},
        {"no/where", 1, "cannot be made"},
    };
    for (const Case &each : cases) {
        const auto [status, said] = run(each.arguments);
        EXPECT_EQ(status, each.status) << each.arguments << ": " << said;
        EXPECT_NE(said.find(each.says), std::string::npos) << each.arguments << ": " << said;
        EXPECT_EQ(said.empty(), each.status == 0) << each.arguments << ": " << said;
    }
    EXPECT_EQ(get("own/brief.txt"), "van een ander");
}

TEST_F(ShopTest, FullDiskIsTold) {
    // A file size limit stands in for the full disk.
    const auto limited = run("--help >/dev/null; trap '' XFSZ; ulimit -f 100; " MKSHOP " b --series 500");
    EXPECT_EQ(limited.first, 1);
    EXPECT_NE(limited.second.find("cannot be written"), std::string::npos) << limited.second;
}

}  // namespace
