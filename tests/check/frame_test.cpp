// The frame of a check: its course with and without errors, the report, the question, breaking off.
#include "check/frame/frame.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "check/frame/columns.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_series_date = 2;

struct ProbeError {
    little_uint32_t number;
    std::uint8_t carried[4];
};

std::set<unsigned> numbers_in(const char *file) {
    std::ifstream text(file);
    std::set<unsigned> numbers;
    for (unsigned number = 0; text >> number;) {
        numbers.insert(number);
    }
    return numbers;
}

void note(const std::string &what) {
    std::ofstream("verloop.txt", std::ios::app) << what << "\n";
}

/// A check with nothing of its own. It lists the numbers in `fouten.txt`; its repair takes out those below
/// 100, one round after the other. Words:
///   full           a full run            before needed own   when the report is opened
///   passes         a clean run without a report counts
///   goes-on        with no destination the question is asked all the same
///   passed         the flag stands already                   withdraws           errors take it back
///   endless        the walk ends when it is broken off
class probe_check final : public chk_check {
public:
    explicit probe_check(const std::set<std::string> &given)
        : chk_check({.flag = &ok_series,
                     .date = &SysRow19::series,
                     .withdraws = given.contains("withdraws"),
                     .report_time = given.contains("before")   ? chk_report_time::before_walk
                                    : given.contains("needed") ? chk_report_time::as_needed
                                    : given.contains("own")    ? chk_report_time::by_check
                                                               : chk_report_time::after_walk,
                     .refusal = {.ends = !given.contains("goes-on"),
                                 .keeps_flag = given.contains("passes"),
                                 .keeps_date = given.contains("passes")}}),
          words(given) {}

    const char *status() const override {
        return "proef controleren";
    }
    const char *title() const override {
        return words.contains("full") ? "proef: vol" : "proef controleren";
    }
    void open() override {
        errors.open();
        note(errors.file_name().substr(0, 4));
    }
    bool walk() override {
        const std::set<unsigned> numbers = numbers_in("fouten.txt");
        chk_phase("FASE-1: proef", static_cast<std::uint32_t>(numbers.size()));
        bool broken_off = false;
        do {
            for (const unsigned number : numbers) {
                ProbeError error{};
                error.number = number;
                errors.add(error);
                error.carried[0] = 1;  // the second takes the place of the first
                errors.add(error);
            }
            broken_off = op_interrupted();
        } while (words.contains("endless") && !broken_off);
        chk_progress(0, 0, chk_bar::close);
        return !broken_off;
    }
    bool has_errors() override {
        return !errors.empty();
    }
    void heads(bool first_page) override {
        if (first_page) {
            prt_printf("%s\n", "alleen op het eerste blad");
        }
        prt_printf("%8.8s\n", "nummer");
        chk_dashes();
    }
    void report() override {
        const bool own = words.contains("own");
        if (own && !chk_open_report()) {
            return;
        }
        errors.for_each([](const ProbeError &error) {
            chk_room(2);
            print_cell(number_cell("%8ld", error.carried[0] == 1 ? long{error.number} : 0));
            prt_newline();
        });
        if (own) {
            prt_close("");
        }
    }
    void figures() override {
        prt_printf("%s\n", "verder niets");
    }
    void repair() override {
        std::ostringstream left;
        for (const unsigned number : numbers_in("fouten.txt")) {
            if (number >= 100) {
                left << number - 100 << "\n";
            }
        }
        std::ofstream("fouten.txt") << left.str();
        note("hersteld");
    }
    void close() override {
        errors.close();
        note("gesloten");
    }

private:
    const std::set<std::string> words;
    error_list<ProbeError> errors{"probe", {{"key-1", false, {{'I', 0, 4}}}}};
};

class Frame : public CheckCase {
protected:
    void SetUp() override {
        CheckCase::SetUp();
        make({.series = 3, .customers = 0});
        shop.settings.branches = 3;
    }
    /// Runs the probe on the numbers of `errors`.
    CheckRun run(const std::string &list, const std::string &errors, const std::string &answers = "J") {
        write();
        put("fouten.txt", errors);
        put("verloop.txt");
        std::istringstream text(list);
        const std::set<std::string> words{std::istream_iterator<std::string>(text), {}};
        CheckRun run = play({.answers = answers,
                             .break_at = words.contains("endless") ? "FASE-1: proef" : "",
                             .refuses = words.contains("refuse"),
                             .page_lines = 20},
                            [&] {
                                chk_full_run = words.contains("full");
                                ok_series = words.contains("passed");
                                probe_check probe(words);
                                chk_perform(probe);
                                note(ok_series ? "goed" : "niet goed");
                            });
        EXPECT_EQ(run.status, 0) << run;
        EXPECT_FALSE(temporary_files()) << "an error list was left";
        return run;
    }
};

TEST_F(Frame, CleanRunTellsSoAndSetsTheDate) {
    shop.dates.series = date_from_str("05032013");
    const CheckRun clean = run("", "");
    EXPECT_EQ(get("verloop.txt"), "TP01\ngesloten\ngoed\n");
    EXPECT_EQ(date_on_file(at_series_date), date_today());
    const std::string title = "BESTANDSCONTROLES: PROEF CONTROLEREN";
    const std::string expected[] = {
        "Laatste foutloze controle : 05-03-13",
        "",
        ("Pakket: LINUX HERITAGE-8.60  3F    Dir.pakket: " + path).substr(0, 132),
        std::string(132, '-'),
        "Geen fouten gevonden!",
        "",
        "verder niets",
    };
    ASSERT_GE(clean.report.size(), 2 + std::size(expected)) << clean;
    EXPECT_NE(clean.report[0].find(title), std::string::npos);
    EXPECT_EQ(clean.report[0].find(shop.settings.company), 0U);
    EXPECT_NE(clean.report[0].find("blad:   1"), std::string::npos);
    EXPECT_EQ(clean.report[1], "");
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), clean.report.begin() + 2)) << clean;
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
    // Broken off.
    {"endless", "1 2 3", "", "TP01\ngesloten\nniet goed\n", false, 0},
    {"endless before", "1 2 3", "", "TP01\ngesloten\nniet goed\n", false, 0},
    {"endless passed withdraws", "1 2 3", "", "TP01\ngesloten\ngoed\n", false, 0},
};

TEST_F(Frame, CourseFollowsErrorsAnswersAndDestination) {
    for (const Outcome &outcome : outcomes) {
        const std::string name = std::string(outcome.words) + " [" + outcome.errors + "]";
        shop.dates.series = 12345;
        const CheckRun done =
            run(outcome.words, outcome.errors, *outcome.answers == '\0' ? "X" : outcome.answers);
        EXPECT_EQ(get("verloop.txt"), outcome.noted) << name;
        EXPECT_EQ(done.questions.size(), std::string(outcome.answers).size()) << name;
        EXPECT_EQ(date_on_file(at_series_date), outcome.dated ? date_today() : 12345U) << name;
        EXPECT_EQ(done.jobs, outcome.reports) << name;
    }
}

TEST_F(Frame, PagesRepeatTheHeadsOnly) {
    std::string errors;
    for (int number = 1; number <= 40; number++) {
        errors += std::to_string(number) + "\n";
    }
    shop.settings.branches = 1;
    const CheckRun paged = run("full", errors, "N");
    const std::vector<std::string> &lines = paged.report;
    EXPECT_EQ(paged.count("PROEF: VOL"), 4);
    EXPECT_EQ(paged.count("BESTANDSCONTROLES"), 0) << "a title with a colon stands alone";
    EXPECT_EQ(paged.count("  nummer"), 4);
    EXPECT_EQ(paged.count("alleen op het eerste blad"), 1);
    EXPECT_EQ(paged.count("Pakket: LINUX HERITAGE-8.60  1W"), 1);
    EXPECT_EQ(paged.count("Laatste foutloze controle : niet van toepassing."), 1);
    EXPECT_EQ(paged.count("      40"), 1);
    // Two lines of the page stay free: head, blank line, column heads, dashes, 14 numbers.
    const auto page = [&](const char *head) {
        return std::find_if(lines.begin(), lines.end(),
                            [&](const std::string &line) { return line.find(head) != std::string::npos; });
    };
    EXPECT_EQ(page("blad:   3") - page("blad:   2"), 18);
}

}  // namespace
