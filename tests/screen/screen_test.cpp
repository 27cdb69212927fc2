// The screen as the operator sees it: windows, placement, messages, sizes, the fatal stop.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "support/scratch_dir.h"
#include "support/terminal.h"

namespace {

TerminalOptions probe(const std::string &scenario) {
    TerminalOptions options;
    options.program = SCREEN_PROBE;
    options.arguments = {scenario};
    return options;
}

/// Presses a key and waits for the end.
void expect_exit(Terminal &t, int status) {
    EXPECT_EQ(t.wait_exit(), status) << t.dump();
}

TEST(Screen, PlacesTextWithinItsWindowOnly) {
    Terminal t(probe("placing"));
    ASSERT_TRUE(t.wait_for("stap 1"));
    EXPECT_EQ(t.row(20), "uitkomst 0 1 0 10 9 0 0");
    EXPECT_EQ(t.cell(3, 80), "r");
    EXPECT_EQ(t.row(4).substr(70), "afgesneden");
    EXPECT_EQ(t.row(6).substr(0, 9), std::string(9, ' '));
    EXPECT_NE(t.row(6).find(" titel "), std::string::npos) << t.dump();
    EXPECT_EQ(t.cell(7, 10), "│");
    EXPECT_EQ(t.cell(7, 11), "m");
    EXPECT_EQ(t.cell(9, 38), "t") << "cut within the frame";
    EXPECT_EQ(t.cell(9, 39), "│");
    // A heading takes the accent colour, a selection is reversed in the window's own colours.
    EXPECT_NE(t.attr(8, 11).fg, t.attr(7, 11).fg);
    EXPECT_TRUE(t.attr(8, 20).reverse);
    EXPECT_EQ(t.bells(), 0);
    t.key("ENTER");
    expect_exit(t, 0);
}

TEST(Screen, ClearsWithinTheFrame) {
    Terminal t(probe("clearing"));
    ASSERT_TRUE(t.wait_for("stap 1"));
    EXPECT_EQ(t.row(4), "    │XXX               │");
    EXPECT_EQ(t.row(5), "    │XXXXXXXXXXXXXXXXXX│");
    EXPECT_EQ(t.row(6), "    │X                 │");
    EXPECT_EQ(t.row(7), "    │                  │");
    t.key("SPACE");
    t.key("SPACE");
    ASSERT_TRUE(t.wait_for("stap 3"));
    EXPECT_EQ(t.row(4) + t.row(13), "");
    t.key("SPACE");
    expect_exit(t, 0);
}

TEST(Screen, MessageLastsUntilTheNext) {
    Terminal t(probe("messages"));
    ASSERT_TRUE(t.wait_row(25, "eerste melding"));
    EXPECT_EQ(t.bells(), 1);
    t.key("SPACE");
    ASSERT_TRUE(t.wait_row(25, "kort"));
    EXPECT_EQ(t.row(25), "kort");
    t.key("SPACE");
    ASSERT_TRUE(t.wait_row(25, std::string(80, 'M')));
    EXPECT_EQ(t.bells(), 3);
    t.key("SPACE");
    ASSERT_TRUE(t.wait_gone("M"));
    EXPECT_EQ(t.bells(), 3) << "an empty message is silent";
    t.key("SPACE");
    expect_exit(t, 0);
}

TEST(Screen, ClosedWindowGivesBackWhatItHid) {
    Terminal t(probe("stack"));
    ASSERT_TRUE(t.wait_for("stap 1"));
    EXPECT_EQ(t.cell(6, 2) + t.cell(6, 39), "  ") << "nothing of the lower window shows through";
    t.key("SPACE");
    ASSERT_TRUE(t.wait_gone(" twee "));
    ASSERT_TRUE(t.wait_for(" een "));
    t.key("SPACE");
    ASSERT_TRUE(t.wait_for("stap 3"));
    for (int row = 1; row <= 25; row++) {
        EXPECT_EQ(t.row(row).substr(0, 40),
                  "onderlaag " + std::to_string(row) + (row == 24 ? std::string(28, ' ') : ""));
    }
    t.key("SPACE");
    expect_exit(t, 0);
}

TEST(Screen, WideAndLongTerminalsTakeTheirSizeAndGiveItBack) {
    Terminal t(probe("sizes"));
    ASSERT_TRUE(t.wait_row(25, "25 x 80 25 x 80"));
    for (int round = 0; round < 2; round++) {
        t.key("SPACE");
        ASSERT_TRUE(t.wait_row(25, "25 x 132 25 x 132"));
        EXPECT_EQ(t.columns(), 132);
        EXPECT_EQ(t.row(1).substr(127), "rand");
        EXPECT_EQ(t.row(2), "terminals 2") << "a description is opened once";
        t.key("SPACE");
        ASSERT_TRUE(t.wait_row(25, "25 x 80 25 x 80"));
        EXPECT_EQ(t.columns(), 80);
    }
    t.key("SPACE");
    for (const auto &[row, size] : {std::pair{43, "43 x 80 43 x 80"},
                                    {25, "25 x 132 25 x 132"},
                                    {43, "43 x 80 43 x 80"},
                                    {25, "25 x 80 25 x 80"}}) {
        ASSERT_TRUE(t.wait_row(row, size));
        t.key("SPACE");
    }
    expect_exit(t, 0);
    EXPECT_EQ(t.lines(), 25) << "the window has its size again after the end";
}

// A window that can't be resized: the real size counts where it is smaller than the mode asks for.
TEST(Screen, FollowsASmallerWindowAndKeepsToItsOwnInALargerOne) {
    const struct {
        int lines, columns;
        const char *normal, *wide;
    } windows[] = {{24, 80, "24 x 80 24 x 80", "24 x 80 24 x 80"},
                   {43, 132, "25 x 80 25 x 80", "25 x 132 25 x 132"},
                   {20, 70, "20 x 70 20 x 70", "20 x 70 20 x 70"}};
    for (const auto &window : windows) {
        TerminalOptions options = probe("sizes");
        options.lines = window.lines;
        options.columns = window.columns;
        options.resizable = false;
        Terminal t(options);
        ASSERT_TRUE(t.wait_for(window.normal));
        t.key("SPACE");
        ASSERT_TRUE(t.wait_for(window.wide));
        EXPECT_TRUE(t.wait_for("rand"));
        t.key("SPACE");
        ASSERT_TRUE(t.wait_for(window.normal));
        EXPECT_TRUE(t.wait_gone("rand"));
    }
}

// Without an alternate screen the shell goes on below the last line, in the whole of the window.
TEST(Screen, EndsOnTheLastLineWithAllOfTheWindowScrolling) {
    for (const char *term : {"linux", "vt100"}) {
        for (const int lines : {25, 43}) {
            TerminalOptions options = probe("sizes");
            options.term = term;
            options.lines = lines;
            options.resizable = false;
            Terminal t(options);
            ASSERT_TRUE(t.wait_for("25 x 80 25 x 80"));
            for (int i = 0; i < 9; i++) {
                t.key("SPACE");
            }
            expect_exit(t, 0);
            EXPECT_EQ(t.cursor().row, 25) << term;
            const std::string raw = t.raw(), region = "\033[1;" + std::to_string(lines) + "r";
            EXPECT_EQ(raw.rfind('r'), raw.rfind(region) + region.size() - 1) << term;
        }
    }
}

struct ScreenFiles : ScratchDir {};

TEST_F(ScreenFiles, MissingWideDescriptionFallsBackOnTheNormalOne) {
    namespace fs = std::filesystem;
    const fs::path only = fs::path(path) / "X";
    fs::create_directories(only);
    fs::copy_file(fs::path(RVCHK_TERMINFO) / "X" / "Xterm", only / "Xterm",
                  fs::copy_options::overwrite_existing);
    TerminalOptions options = probe("sizes");
    options.term = "xterm";
    options.terminfo = only.parent_path();
    options.columns = 132;
    Terminal t(options);
    ASSERT_TRUE(t.wait_row(25, "25 x 80 25 x 80"));
    t.key("SPACE");
    ASSERT_TRUE(t.wait_row(25, "25 x 132 25 x 132"));
    t.key("SPACE");
    ASSERT_TRUE(t.wait_row(25, "25 x 80 25 x 80"));
}

// A terminal without the wrap that ncurses reckons with, in a window wider than the screen.
TEST(Screen, AnsiTerminalInAWideWindowStaysInPlace) {
    TerminalOptions options = probe("stack");
    options.term = "ansi";
    options.lines = 43;
    options.columns = 132;
    Terminal t(options);
    ASSERT_TRUE(t.wait_for("stap 1"));
    EXPECT_EQ(t.row(2), "onderlaag 2");
    EXPECT_EQ(t.row(25), "onderlaag 25");
    EXPECT_EQ(t.row(26), "");
}

TEST(Screen, SurvivesAChangingWindow) {
    Terminal t(probe("stack"));
    ASSERT_TRUE(t.wait_for(" twee "));
    ASSERT_TRUE(t.wait_for("stap 1"));
    const std::string before = t.screen();
    // The last line stays, and what is around the cursor.
    t.resize(24, 80);
    ASSERT_TRUE(t.wait_row(24, "onderlaag 25"));
    EXPECT_TRUE(t.wait_row(1, "onderlaag 2"));
    EXPECT_TRUE(t.wait_row(7, " twee "));
    t.resize(8, 20);
    ASSERT_TRUE(t.wait_row(8, "onderlaag 25"));
    EXPECT_TRUE(t.wait_for(" twee "));
    t.resize(30, 90);
    ASSERT_TRUE(t.wait_row(25, "onderlaag 25"));
    t.resize(25, 80);
    ASSERT_TRUE(t.wait_until([&] { return t.screen() == before; }, "the screen as it was"));
}

TEST(Screen, FatalStopTellsWaitsAndEndsWithOne) {
    Terminal t(probe("fatal"));
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    EXPECT_NE(t.row(18).find("PROGRAMMA AFGEBROKEN"), std::string::npos) << t.dump();
    EXPECT_NE(t.row(19).find("│ PROEF: kan niet verder"), std::string::npos) << t.dump();
    EXPECT_NE(t.row(20).find("│ Neem contact op met de Support-groep"), std::string::npos);
    EXPECT_NE(t.row(21).find("│ <ENTER> voor vervolg"), std::string::npos);
    t.keys({"SPACE", "F1", "ESC", "CANCEL"});
    EXPECT_EQ(t.wait_exit(std::chrono::milliseconds(300)), -1) << "only Enter ends the wait";
    t.key("ENTER");
    expect_exit(t, 1);
}

TEST(Screen, FatalStopNeedsNoRoomOnTheStack) {
    Terminal t(probe("full-stack"));
    ASSERT_TRUE(t.wait_for("│ win_open : 15"));
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    t.key("ENTER");
    expect_exit(t, 1);
}

TEST(Screen, UnknownTerminalIsNamed) {
    for (const auto &[term, name] :
         {std::pair<const char *, const char *>{nullptr, "(TERM)"}, {"qq-1", "(Qq-1)"}}) {
        TerminalOptions options = probe("stack");
        options.environment["TERM"] = term == nullptr ? std::nullopt : std::optional<std::string>(term);
        Terminal t(options);
        EXPECT_TRUE(t.wait_for(std::string("Onbekende terminfo ") + name));
        EXPECT_TRUE(t.wait_for("Start opnieuw met TERM=xterm-256color"));
        expect_exit(t, 10);
    }
}

TEST(Screen, EndOfTheInputEndsTheProgram) {
    Terminal t(probe("characters"));
    ASSERT_TRUE(t.wait_for("tekens"));
    t.hang_up();
    EXPECT_NE(t.wait_exit(), -1);
}

TEST(Screen, ShowsCodePage850OnAnyLine) {
    // The second locale is not installed, but says what the line takes.
    for (const auto &[encoding, locale] : {std::pair<std::string, const char *>{"UTF-8", "C.UTF-8"},
                                           {"UTF-8", "xx_XX.utf8"},
                                           {"CP850", "C"}}) {
        TerminalOptions options = probe("characters");
        options.encoding = encoding;
        options.environment["LC_ALL"] = locale;
        Terminal t(options);
        ASSERT_TRUE(t.wait_for("tekens"));
        EXPECT_EQ(t.row(2), "café ü █¨") << encoding;
        EXPECT_EQ(t.row(3).substr(0, 27), "▒▒▒      ───│") << encoding;
        EXPECT_EQ(t.row(4), "stuur??[2Jtekens?") << encoding;
        t.type("é");
        EXPECT_TRUE(t.wait_for("toets 130")) << encoding;
        t.key("CANCEL");
        EXPECT_TRUE(t.wait_for("toets 355")) << encoding;
        t.key("INTR");
        EXPECT_TRUE(t.wait_for("toets 330")) << encoding;
        t.key("ESC");
        EXPECT_TRUE(t.wait_for("toets 27")) << encoding;
        t.type("q");
        expect_exit(t, 0);
    }
}

}  // namespace
