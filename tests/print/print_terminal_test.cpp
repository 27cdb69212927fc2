// Printing as the operator sees it: the printer on the terminal, breaking off, what can't be opened.
#include "report_fixture.h"
#include "support/terminal.h"

namespace {

struct PrintTerminal : Report {
    static TerminalOptions probe(const std::string &scenario) {
        TerminalOptions options;
        options.program = PRINT_PROBE;
        options.arguments = {scenario};
        return options;
    }
    static int count(const std::string &text, const std::string &part) {
        int found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            found++;
        }
        return found;
    }
};

TEST_F(PrintTerminal, OwnTerminalPassesTheCopiesToItsPrinter) {
    Terminal t(probe("own-terminal"));
    ASSERT_TRUE(t.wait_for("klaar"));
    const std::string printed = t.printed();
    EXPECT_EQ(count(printed, "regel 1 van de lijst\nregel 2 van de lijst\n\f"), 2) << printed;
    EXPECT_EQ(count(printed, "\033"), 0) << "nothing of the screen goes to the printer";
    EXPECT_EQ(t.row(3), "onderlaag");
    EXPECT_EQ(t.row(4), "afbreken kan niet") << "nothing can be asked while the printer has the terminal";
    EXPECT_EQ(t.row(5), "afbreken kan weer 0");
    EXPECT_EQ(count(t.screen(), "lijst"), 0) << t.dump();
    EXPECT_EQ(job_files(), 0);
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 0);
}

TEST_F(PrintTerminal, ReportTellsThatItWasBrokenOff) {
    Terminal t(probe("break-lines"));
    ASSERT_TRUE(t.wait_for("bezig"));
    t.key("ESC");
    ASSERT_TRUE(t.wait_for("Akkoord"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("klaar"));
    ASSERT_TRUE(eventually([] { return job_files() == 0; }));
    const std::string text = get("device");
    EXPECT_EQ(count(text,
                    "regel 1 van de lijst\n\n\n*************************\n** Printen onderbroken **\n"
                    "*************************\n\f"),
              1)
        << text;
}

TEST_F(PrintTerminal, BreakingOffBetweenCopiesLeavesNothing) {
    for (const bool own : {false, true}) {
        Terminal t(probe(own ? "break-own-terminal" : "break-copies"));
        ASSERT_TRUE(t.wait_for("voorbeeld"));
        t.key("ESC");
        ASSERT_TRUE(t.wait_for("Akkoord"));
        t.key("ENTER");
        ASSERT_TRUE(t.wait_for("klaar"));
        ASSERT_TRUE(eventually([] { return job_files() == 0; }));
        EXPECT_EQ(count(own ? t.printed() : get("device"), "regel 1 van de lijst"), 1);
    }
}

TEST_F(PrintTerminal, FilesThatCannotBeMadeAreTold) {
    for (const auto &[scenario, file] : {std::pair{"no-job-file", "Uitvoermedium <>"},
                                         std::pair{"no-directory", "Uitvoermedium <nergens/PRAA01>"}}) {
        Terminal t(probe(scenario));
        ASSERT_TRUE(t.wait_for(file));
        EXPECT_TRUE(t.wait_for("kan niet geopend worden"));
        EXPECT_TRUE(t.wait_for(" Printen "));
        t.key("ENTER");
        EXPECT_TRUE(t.wait_for(std::string(scenario) == "no-job-file" ? "geen bestand" : "klaar"));
        EXPECT_EQ(job_files(), 0);
    }
}

}  // namespace
