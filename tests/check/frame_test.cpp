// The frame of a check: the head of its report, and its pages.
#include "check/frame/frame.h"

#include <algorithm>
#include <cctype>
#include <fstream>

#include "report/report.h"
#include "support/check_case.h"

namespace {

using Frame = CheckCase;

/// A check that always has an error, and prints its report itself.
struct Probe : chk_check {
    explicit Probe(chk_report_time time) : chk_check({.report_time = time}) {}
    const char *status() const override {
        return "proef: vol";
    }
    const char *title() const override {
        return status();
    }
    bool walk() override {
        return true;
    }
    bool has_errors() override {
        return true;
    }
    void report() override {
        chk_open_report();
        chk_room(1);
        prt_close("");
    }
    void close() override {
        std::ofstream("gesloten.txt");
    }
};

TEST_F(Frame, ReportOfACleanRun) {
    make({.series = 3, .branches = 3, .customers = 0});
    shop.dates.series = date_from_str("05032013");
    write();
    const CheckRun clean = check("series");
    EXPECT_EQ(clean.report.at(0).find(shop.settings.company), 0U);
    EXPECT_TRUE(clean.reports("BESTANDSCONTROLES: CONTROLEREN SERIES") && clean.reports("blad:   1"));
    EXPECT_TRUE(clean.shows({
        "",
        "Laatste foutloze controle : 05-03-13",
        "",
        ("Pakket: LINUX HERITAGE-8.60  3F    Dir.pakket: " + path).substr(0, 132),
        std::string(132, '-'),
        "Geen fouten gevonden!",
    })) << clean;
    const auto probe = [](bool refuses, chk_report_time time) {
        return play({.answers = "N", .refuses = refuses}, [time] {
            Probe check(time);
            chk_perform(check);
        });
    };
    probe(true, chk_report_time::before_walk);
    EXPECT_TRUE(file_exists("gesloten.txt")) << "whatever way it ends";
    const CheckRun titled = probe(false, chk_report_time::by_check);
    EXPECT_TRUE(titled.reports("PROEF: VOL")) << titled;
    EXPECT_FALSE(titled.reports("BESTANDSCONTROLES")) << "a title with a colon stands alone";
}

TEST_F(Frame, PagesRepeatTheHeadsOnly) {
    make({.series = 60, .branches = 1, .transit = false});
    for (SeriesRecord &series : shop.series) {
        series.stock += 1;
    }
    write();
    const CheckRun paged = play({.answers = "N", .page_lines = 20}, chk_series);
    EXPECT_EQ(paged.count("BESTANDSCONTROLES: CONTROLEREN SERIES"), 6) << paged;
    EXPECT_EQ(paged.count("serienummer  "), 6);
    EXPECT_EQ(paged.count("Pakket: LINUX HERITAGE-8.60  1W"), 1);
    EXPECT_EQ(paged.count("Laatste foutloze controle : niet van toepassing."), 1);
    EXPECT_TRUE(paged.reports("Aantal series: 60"));
    // Behind five series, or fewer at the end of a page, stands a line of dashes.
    int lines = 0;
    for (const std::string &line : paged.report) {
        lines = line.find(" | ") != std::string::npos && std::isdigit(line[0]) != 0 ? lines + 1 : 0;
        EXPECT_LE(lines, 5) << line;
    }
    // Three lines of the page stay free: head, blank line, heads of two lines, dashes, 12 series in groups.
    const auto page = [&](const char *head) {
        return std::find_if(paged.report.begin(), paged.report.end(),
                            [&](const std::string &line) { return line.find(head) != std::string::npos; });
    };
    EXPECT_EQ(page("blad:   3") - page("blad:   2"), 18);
}

}  // namespace
