// The frame of a check: its course with and without errors, the report, the question, breaking off; error
// lists and bit maps.
#include "check/frame/frame.h"

#include <algorithm>
#include <sstream>

#include "support/scratch_dir.h"
#include "support/shop_bytes.h"
#include "support/terminal.h"
#include "tools/shop/shop.h"

namespace {

constexpr unsigned at_series_date = 18 * 64 + 2;

class Frame : public ScratchDir {
protected:
    void SetUp() override {
        ScratchDir::SetUp();
        ShopOptions options;
        options.series = 3;
        options.customers = 0;
        std::string why;
        ASSERT_TRUE(build_shop(options, shop, why)) << why;
        shop.settings.branches = 3;
    }
    void write(const std::string &errors) {
        std::string why;
        ASSERT_TRUE(write_shop(shop, ".", shop_target::any, why)) << why;
        put("fouten.txt", errors);
        put("rapport.txt");
        put("uitkomst.txt");
    }
    static TerminalOptions probe(const std::string &words) {
        TerminalOptions options;
        options.program = FRAME_PROBE;
        std::istringstream list(words);
        for (std::string word; list >> word;) {
            options.arguments.push_back(word);
        }
        return options;
    }
    /// Runs the probe, typing each answer at a question. Gives what it noted.
    static std::string run(const std::string &words, const std::string &answers = "") {
        Terminal t(probe(words));
        for (std::size_t round = 0; round < answers.size(); round++) {
            // The report is out before the question, so the question of the round before is not meant.
            EXPECT_TRUE(t.wait_until([&] { return round == 0 || reports() > static_cast<int>(round); },
                                     "the report of this round"));
            EXPECT_TRUE(t.wait_row(23, "Er zijn fouten gevonden. Automatisch herstellen? (J/N)"));
            if (answers[round] != '.') {
                t.type(answers.substr(round, 1));
            }
            t.key("ENTER");
        }
        EXPECT_EQ(t.wait_exit(), 0) << t.dump();
        EXPECT_FALSE(temporary_files()) << "an error list was left";
        return get("uitkomst.txt");
    }
    static bool temporary_files() {
        std::string pattern = "TP*";
        return FILES_PRESENT(pattern) != 0;
    }
    static unsigned date_on_file() {
        return Bytes(sys_file_name).u16(at_series_date);
    }
    /// The lines of all reports, without the form feeds.
    static std::vector<std::string> report_lines() {
        std::vector<std::string> lines;
        std::istringstream text(get("rapport.txt"));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line[0] == '\f' ? line.substr(1) : line);
        }
        return lines;
    }
    static int reports() {
        const std::vector<std::string> lines = report_lines();
        return static_cast<int>(std::count(lines.begin(), lines.end(), "EINDE"));
    }
    Shop shop;
};

TEST_F(Frame, CleanRunTellsSoAndSetsTheDate) {
    shop.dates.series = date_from_str("05032013");
    write("");
    EXPECT_EQ(run(""), "TP01\ngesloten\ngoed\n");
    EXPECT_EQ(date_on_file(), date_today());
    const std::vector<std::string> lines = report_lines();
    ASSERT_EQ(lines.size(), 10U) << get("rapport.txt");
    const std::string title = "BESTANDSCONTROLES: PROEF CONTROLEREN";
    EXPECT_NE(lines[0].find(title), std::string::npos);
    EXPECT_EQ(lines[0].find(shop.settings.company), 0U);
    EXPECT_NE(lines[0].find("blad:   1"), std::string::npos);
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "Laatste foutloze controle : 05-03-13");
    EXPECT_EQ(lines[3], "");
    EXPECT_EQ(lines[4].substr(0, 133),
              ("Pakket: LINUX HERITAGE-8.60  3F    Dir.pakket: " + path).substr(0, 132));
    EXPECT_EQ(lines[5], std::string(132, '-'));
    EXPECT_EQ(lines[6], "Geen fouten gevonden!");
    EXPECT_EQ(lines[7], "");
    EXPECT_EQ(lines[8], "verder niets");
}

struct Outcome {
    const char *words;
    const char *errors;
    const char *answers;
    const char *noted;
    bool dated;
    int reports;
};

const Outcome outcomes[] = {
    {"full", "", "", "TP01\ngesloten\ngoed\n", true, 0},
    {"before full", "", "", "TP01\ngesloten\ngoed\n", true, 0},
    {"before", "", "", "TP01\ngesloten\ngoed\n", true, 1},
    {"needed", "", "", "TP01\ngesloten\ngoed\n", true, 1},
    {"needed full refuse", "", "", "TP01\ngesloten\ngoed\n", true, 0},
    {"own", "", "", "TP01\ngesloten\ngoed\n", true, 0},
    // The default answer, and <N>, leave everything as it is.
    {"full", "5 7", ".", "TP01\ngesloten\nniet goed\n", false, 1},
    {"own", "5 7", "N", "TP01\ngesloten\nniet goed\n", false, 1},
    {"passed", "5", "N", "TP01\ngesloten\ngoed\n", false, 1},
    {"passed withdraws", "5", "N", "TP01\ngesloten\nniet goed\n", false, 1},
    // A repair is followed by a run, which alone may set the date.
    {"full", "5", "J", "TP01\nhersteld\ngesloten\nTP01\ngesloten\ngoed\n", true, 1},
    {"before", "5 205", "JJJ",
     "TP01\nhersteld\ngesloten\nTP01\nhersteld\ngesloten\nTP01\nhersteld\ngesloten\nTP01\ngesloten\ngoed\n",
     true, 4},
    {"", "105", "JN", "TP01\nhersteld\ngesloten\nTP01\ngesloten\nniet goed\n", false, 2},
    // No destination was chosen.
    {"refuse", "", "", "TP01\ngesloten\nniet goed\n", false, 0},
    {"refuse", "5", "", "TP01\ngesloten\nniet goed\n", false, 0},
    {"refuse before", "5", "", "TP01\ngesloten\nniet goed\n", false, 0},
    {"refuse passed", "5", "", "TP01\ngesloten\ngoed\n", false, 0},
    {"refuse goes-on", "5", "N", "TP01\ngesloten\nniet goed\n", false, 0},
    {"refuse passes", "", "", "TP01\ngesloten\ngoed\n", true, 0},
};

TEST_F(Frame, CourseFollowsErrorsAnswersAndDestination) {
    for (const Outcome &outcome : outcomes) {
        const std::string name = std::string(outcome.words) + " [" + outcome.errors + "]";
        shop.dates.series = 0;
        write(outcome.errors);
        EXPECT_EQ(run(outcome.words, outcome.answers), outcome.noted) << name;
        EXPECT_EQ(date_on_file(), outcome.dated ? date_today() : 0U) << name;
        EXPECT_EQ(reports(), outcome.reports) << name;
    }
}

TEST_F(Frame, PagesRepeatTheHeadsOnly) {
    std::string errors;
    for (int number = 1; number <= 40; number++) {
        errors += std::to_string(number) + "\n";
    }
    shop.settings.branches = 1;
    write(errors);
    run("full", "N");
    const std::vector<std::string> lines = report_lines();
    const auto count = [&](const std::string &text) {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string &line) { return line.find(text) != std::string::npos; });
    };
    EXPECT_EQ(count("PROEF: VOL"), 4);
    EXPECT_EQ(count("BESTANDSCONTROLES"), 0) << "a title with a colon stands alone";
    EXPECT_EQ(count("  nummer"), 4);
    EXPECT_EQ(count("alleen op het eerste blad"), 1);
    EXPECT_EQ(count("Pakket: LINUX HERITAGE-8.60  1W"), 1);
    EXPECT_EQ(count("Laatste foutloze controle : niet van toepassing."), 1);
    EXPECT_EQ(count("      40"), 1);
    // Two lines of the page stay free: head, blank line, column heads, dashes, 14 numbers.
    const auto second = std::find_if(lines.begin() + 1, lines.end(), [](const std::string &line) {
        return line.find("blad:   2") != std::string::npos;
    });
    const auto third = std::find_if(second + 1, lines.end(), [](const std::string &line) {
        return line.find("blad:   3") != std::string::npos;
    });
    EXPECT_EQ(third - second, 18);
}

TEST_F(Frame, BreakingOffLeavesFlagAndDate) {
    shop.dates.series = 12345;
    for (const char *words : {"endless", "endless before", "endless passed withdraws"}) {
        write("1 2 3");
        Terminal t(probe(words));
        ASSERT_TRUE(t.wait_for("FASE-1: proef"));
        EXPECT_TRUE(t.wait_row(1, "BESTANDSCONTROLES * Proef controleren"));
        t.key("CANCEL");
        ASSERT_TRUE(t.wait_for("Onderbreken"));
        t.type("N");
        t.key("ENTER");
        ASSERT_TRUE(t.wait_gone("Onderbreken"));
        ASSERT_TRUE(t.wait_for("FASE-1: proef"));
        t.key("CANCEL");
        ASSERT_TRUE(t.wait_for("Onderbreken"));
        t.type("J");
        t.key("ENTER");
        EXPECT_EQ(t.wait_exit(), 0) << t.dump();
        const bool passed = std::string(words).find("passed") != std::string::npos;
        EXPECT_EQ(get("uitkomst.txt"), std::string("TP01\ngesloten\n") + (passed ? "goed\n" : "niet goed\n"));
        EXPECT_EQ(date_on_file(), 12345U);
        EXPECT_EQ(get("rapport.txt"), "");
        EXPECT_FALSE(temporary_files());
    }
}

// ---- Parts that need no screen

struct Finding {
    little_uint32_t group;
    little_int32_t block;
    std::uint8_t code;
    std::uint8_t repaired;
    std::uint8_t carried[2];
};

using Lists = ScratchDir;

TEST_F(Lists, ErrorsComeInKeyOrderOncePerKey) {
    error_list<Finding> list(
        "proef", {{"key-1", false, {{'I', 0, 4}, {'I', 8, 1}, {'I', 4, 4}}}, {"key-2", true, {{'I', 8, 1}}}});
    list.open();
    EXPECT_EQ(list.file_name().substr(0, 4), "TP01") << "no user slot counts as the first";
    EXPECT_EQ(list.file_name().size(), 8U);
    EXPECT_TRUE(list.empty());
    const auto add = [&](std::uint32_t group, std::uint8_t code, std::int32_t block, std::uint8_t repaired) {
        Finding finding{};
        finding.group = group;
        finding.code = code;
        finding.block = block;
        finding.repaired = repaired;
        list.add(finding);
    };
    add(300, 1, 5, 0);
    add(2, 4, -1, 0);
    add(2, 4, 70000, 0);
    add(2, 1, 9, 0);
    add(300, 1, 5, 7);  // the same key
    EXPECT_FALSE(list.empty());
    std::string order;
    list.for_each([&](Finding &finding) {
        order += std::to_string(finding.group) + "/" + std::to_string(finding.code) + "/" +
                 std::to_string(finding.block) + "/" + std::to_string(finding.repaired) + " ";
        finding.repaired = 1;
        list.update(finding);
    });
    EXPECT_EQ(order, "2/1/9/0 2/4/70000/0 2/4/-1/0 300/1/5/7 ");
    Finding finding{};
    finding.group = 2;
    finding.code = 4;
    int of_key = 0;
    for (bool more = list.first(finding, 2); more; more = list.next(finding, 2)) {
        EXPECT_EQ(finding.repaired, 1);
        of_key++;
    }
    EXPECT_EQ(of_key, 2);

    const std::string name = list.file_name();
    ASSERT_TRUE(file_exists((name + ".INX").c_str()) && file_exists((name + ".TXT").c_str()));
    list.open("TMPEAN");
    EXPECT_TRUE(list.empty()) << "opened again is empty again";
    EXPECT_FALSE(file_exists((name + ".INX").c_str()) || file_exists((name + ".TXT").c_str()));
    list.close();
    EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(Lists, BitMapHoldsItsBitsAndNoOther) {
    constexpr int blocks = 20;
    chk_bits_open(blocks / 8 + 1);
    for (const int bit : {0, 7, 8, 19, 23}) {
        EXPECT_FALSE(chk_bit_test(bit)) << bit;
        EXPECT_TRUE(chk_bit_set(bit)) << bit;
        EXPECT_FALSE(chk_bit_set(bit)) << bit;
    }
    for (int bit = 0; bit < 24; bit++) {
        EXPECT_EQ(chk_bit_test(bit), bit == 0 || bit == 7 || bit == 8 || bit == 19 || bit == 23) << bit;
    }
    for (const std::int64_t bit : {std::int64_t{-1}, std::int64_t{24}, std::int64_t{1} << 40}) {
        EXPECT_TRUE(chk_bit_test(bit));
        EXPECT_FALSE(chk_bit_set(bit)) << "outside counts as seen before";
    }
    chk_bits_open(3);
    EXPECT_FALSE(chk_bit_test(8)) << "a new map is clear";
    chk_bits_close();
}

}  // namespace
