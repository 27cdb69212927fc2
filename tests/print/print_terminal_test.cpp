// Printing as the operator sees it: the printer on the terminal, breaking off, what can't be opened.
#include "report_fixture.h"

namespace {

using PrintTerminal = Report;

TEST_F(PrintTerminal, OwnTerminalPassesTheCopiesToItsPrinter) {
    // Nothing can be asked while the printer has the terminal.
    Terminal t(scene("copies -"));
    EXPECT_TRUE(t.play("=> 4=afbreken kan niet | 5=afbreken kan weer | klaar | !lijst"));
    EXPECT_EQ(count(t.printed(), "regel 1 van de lijst\nregel 2 van de lijst\n\f"), 3) << t.printed();
    EXPECT_EQ(count(t.printed(), "\033"), 0) << "nothing of the screen goes to the printer";
    EXPECT_EQ(job_files(), 0);
}

TEST_F(PrintTerminal, BreakingOffIsToldInTheReportAndStopsTheCopies) {
    const struct {
        const char *line, *shown, *end;
    } cases[] = {
        {"break-lines", "bezig",
         "\n\n\n*************************\n** Printen onderbroken **\n*************************\n\f"},
        {"copies device", "voorbeeld", "\n\f"},
        {"copies", "voorbeeld", "\n\f"},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.line);
        file_delete("device");
        Terminal t(scene(each.line));
        EXPECT_TRUE(t.play(std::string("=> ") + each.shown + "\n <ESC> => Akkoord\n <ENTER> => klaar"));
        ASSERT_TRUE(all_gone());
        const std::string text = get("device") + t.printed();
        EXPECT_EQ(count(text, "regel 1 van de lijst"), 1);
        EXPECT_EQ(count(text, std::string("regel 2 van de lijst") + each.end), 1) << text;
    }
}

TEST_F(PrintTerminal, FilesThatCannotBeMadeAreTold) {
    EXPECT_TRUE(plays(scene("not-to-be-made"), R"(
                   => Uitvoermedium <nergens/PRAA01> | kan niet geopend worden |  Printen
        <ENTER>    => Uitvoermedium <> | kan niet geopend worden
        <ENTER>    => geen bestand
    )"));
    EXPECT_EQ(job_files(), 0);
}

}  // namespace
