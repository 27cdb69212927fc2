// Made shops: the same bytes for the same seed, the layouts, and chains that hold every block once.
#include "tools/shop/shop.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <vector>

#include "base/text.h"
#include "support/rounds.h"
#include "support/scratch_dir.h"
#include "support/shop_audit.h"
#include "support/shop_bytes.h"
#include "support/store/verify.h"
#include "tools/shop/random.h"

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

testing::AssertionResult sound(const std::string &directory, unsigned today, unsigned parts = audit_all) {
    const std::vector<std::string> findings = audit_shop(directory, today, parts);
    testing::AssertionResult result(findings.empty());
    for (const std::string &finding : findings) {
        result << finding << "\n";
    }
    return result;
}

/// Shops of every mode.
std::vector<ShopOptions> modes() {
    std::vector<ShopOptions> all(8, small());
    all[0].branches = 1;
    all[0].transit = false;
    all[1].branches = 14;
    all[1].label_digits = 8;
    all[2].customers = 0;
    all[3].linked = false;
    all[3].tills = 0;
    all[4].no_decimals = true;
    all[4].label_digits = 6;
    all[5].series = 300;
    all[5].customers = 2000;
    all[6].series = 0;
    all[7].labels = 0;
    for (std::size_t i = 0; i < all.size(); i++) {
        all[i].seed = 20 + i;
    }
    return all;
}

TEST_F(ShopTest, FilesAgree) {
    std::vector<ShopOptions> all = modes();
    for (int i = 0, more = rounds(1) - 1; i < more; i++) {
        all.push_back(all[static_cast<std::size_t>(i) % 6]);
        all.back().seed = static_cast<std::uint64_t>(1000 * first_seed() + i);
        all.back().today = static_cast<day_number>(date_from_str("01011990") + i * 60);
    }
    for (const ShopOptions &options : all) {
        const std::string directory = std::to_string(options.seed);
        ASSERT_EQ(make_shop(options, directory), "");
        EXPECT_TRUE(sound(directory, options.today)) << directory;
        int pairs = 0;
        for (const auto &[name, bytes] : snapshot(directory)) {
            if (name.ends_with(".INX")) {
                pairs++;
                EXPECT_EQ(ix_verify(directory + "/" + name.substr(0, name.size() - 4)),
                          std::vector<std::string>{});
            }
        }
        EXPECT_GT(pairs, 25);
        std::filesystem::remove_all(directory);
    }
}

TEST_F(ShopTest, EveryFaultSpoilsTheShop) {
    // These leave the records and their blocks as they are.
    const std::set<std::string> unseen = {
        "label-file-tail",    "price-file-tail",     "index-series-swapped",
        "index-series-locks", "index-series-update", "index-series-cut",
        "index-ean-swapped",  "index-barcode-cut",   "journal-empty",
    };
    ShopOptions options = small();
    options.series = 40;
    options.branches = 2;
    options.tills = 0;
    ASSERT_EQ(make_shop(options, "a"), "");
    const auto clean = snapshot("a");
    std::set<std::string> names;
    for (const ShopFault &fault : shop_faults()) {
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
        options.faults = {fault.name};
        ASSERT_EQ(make_shop(options, "a"), "");
        EXPECT_NE(clean, snapshot("a"));
        EXPECT_EQ(static_cast<bool>(sound("a", options.today)), unseen.contains(fault.name)) << fault.name;
    }
}

TEST_F(ShopTest, FaultsCombine) {
    // So few codes that two faults often come upon the same one.
    ShopOptions options = small();
    options.series = 3;
    options.faults = {"ean-double", "ean-missing"};
    for (options.seed = 1; options.seed <= 10; options.seed++) {
        ASSERT_EQ(make_shop(options, "a"), "");
        EXPECT_EQ(audit_shop("a", options.today, audit_codes).size(), 2U) << options.seed;
    }
    for (std::uint64_t seed = 1; seed <= 20; seed++) {
        Random random(seed, 1);
        Shop shop;
        std::string why;
        ASSERT_TRUE(build_shop(small(seed), shop, why)) << why;
        int spoiled = 0;
        for (std::uint64_t i = 0; i < 30; i++) {
            spoiled += spoil_shop(shop, random.pick(shop_faults()).name, seed * 100 + i);
        }
        EXPECT_GT(spoiled, 20);
        EXPECT_TRUE(write_shop(shop, "a", shop_target::made, why)) << why;
        EXPECT_FALSE(sound("a", shop.today));
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
        {"a --series 1 --seed 12 --today 20112013 --fault ean-double --fault ean-missing", 1, "would undo"},
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
