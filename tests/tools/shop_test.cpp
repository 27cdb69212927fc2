// Made shops: the same bytes for the same seed, and what mkshop says.
#include "tools/shop/shop.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <tuple>

#include "support/scratch_dir.h"
#include "support/shop_bytes.h"

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
    return {.series = 60, .today = date_from_str("20112013"), .seed = seed};
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
    const ShopOptions large{.series = 200, .branches = 8, .seed = 3};
    const ShopOptions tiny{.series = 5, .branches = 1, .tills = 0, .today = small().today};
    ASSERT_EQ(make_shop(large, "a"), "");
    put("a/eigen.txt", "blijft");
    ASSERT_EQ(make_shop(tiny, "a"), "");
    ASSERT_EQ(make_shop(tiny, "b"), "");
    auto a = snapshot("a");
    EXPECT_EQ(a.at("eigen.txt"), "blijft");
    a.erase("eigen.txt");
    EXPECT_EQ(a, snapshot("b"));
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
    const std::tuple<std::string, int, const char *> cases[] = {
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
    for (const auto &[arguments, wanted, says] : cases) {
        const auto [status, said] = run(arguments);
        EXPECT_EQ(status, wanted) << arguments << ": " << said;
        EXPECT_TRUE(status == 0 ? said.empty() : said.find(says) != said.npos) << arguments << ": " << said;
    }
    EXPECT_EQ(get("own/brief.txt"), "van een ander");
}

}  // namespace
