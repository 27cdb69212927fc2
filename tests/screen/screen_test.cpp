// The screen as the operator sees it: windows, placement, messages, sizes, the fatal stop.
#include "support/scratch_dir.h"
#include "support/terminal.h"

namespace {

namespace fs = std::filesystem;

TEST(Screen, PlacesAndClearsTextWithinItsWindowOnly) {
    Terminal t(scene("placing"));
    EXPECT_TRUE(t.play(R"(
            => 20=uitkomst 0 1 0 10 12 9 0 28 0 | 3,80=r | 6:─ titel ─
            => 7,10=│ | 7,11=m | 9,38=t | 9,39=│ | 8,20 reverse | 8,11 fg 1 | 7,11 fg 4
    )"));
    EXPECT_EQ(t.row(4).substr(70), "afgesneden");
    EXPECT_EQ(t.bells(), 0);
    EXPECT_TRUE(t.play(R"(
        x   => 7=         │XXX                         │ | 8=         │X                           │
            => 9=         │                            │ | 10:└───
        x   => 6= | 7= | 10=
        x   => exit 0
    )"));
}

TEST(Screen, ClosedWindowGivesBackWhatItHidAndMessagesLast) {
    Terminal t(scene("stack"));
    // Nothing of the lower window shows through.
    EXPECT_TRUE(t.play(R"(
        <.>   => 8: twee  | 6=│                                      │
        x     => 5: een  | ! twee 
        x     => ! een  | 5=onderlaag 5 | 8=onderlaag 8 | 12=onderlaag 12 | 14=onderlaag 14
        x     => 25=eerste melding
        x     => 25=kort
    )"));
    EXPECT_EQ(t.bells(), 2);
    EXPECT_TRUE(t.play("x => 25=" + std::string(80, 'M')));
    EXPECT_TRUE(t.play("x<.> => 25="));
    EXPECT_EQ(t.bells(), 3) << "an empty message is silent";
}

TEST(Screen, WideAndLongTerminalsTakeTheirSizeAndGiveItBack) {
    // A description is opened once.
    Terminal t(scene("sizes"));
    EXPECT_TRUE(t.play(R"(
           => 25=25 x 80 25 x 80
        x  => 25=25 x 132 25 x 132 | 1:rand | 2=terminals 2
        x  => 25=25 x 80 25 x 80
        x  => 25=25 x 132 25 x 132 | 1:rand | 2=terminals 2
        x  => 25=25 x 80 25 x 80
        x  => 43=43 x 80 43 x 80
        x  => 25=25 x 132 25 x 132
        x  => 43=43 x 80 43 x 80
        x  => 25=25 x 80 25 x 80
        x  => exit 0
    )"));
    EXPECT_EQ(t.lines(), 25) << "the window has its size again after the end";
    EXPECT_EQ(t.columns(), 80);
}

// A window that can't be resized: the real size counts where it is smaller than the mode asks for.
TEST(Screen, FollowsASmallerWindowAndKeepsToItsOwnInALargerOne) {
    const std::tuple<int, int, const char *> windows[] = {
        {24, 80, "=> 24 x 80 24 x 80 | !rand\n x => 24 x 80 24 x 80 | 1:rand\n x => !rand"},
        {43, 132, "=> 25 x 80 25 x 80 | !rand\n x => 25 x 132 25 x 132 | 1:rand\n x => !rand"},
        {20, 70, "=> 20 x 70 20 x 70 | !rand\n x => 20 x 70 20 x 70 | 1:rand\n x => !rand"}};
    for (const auto &[lines, columns, script] : windows) {
        EXPECT_TRUE(plays({.program = RVCHK_PROBE,
                           .arguments = {"sizes"},
                           .lines = lines,
                           .columns = columns,
                           .resizable = false},
                          script));
    }
}

// Without an alternate screen the shell goes on below the last line, in the whole of the window.
TEST(Screen, EndsOnTheLastLineWithAllOfTheWindowScrolling) {
    for (const char *term : {"linux", "vt100"}) {
        for (const int lines : {25, 43}) {
            Terminal t({.program = RVCHK_PROBE,
                        .arguments = {"sizes"},
                        .lines = lines,
                        .term = term,
                        .resizable = false});
            EXPECT_TRUE(t.play("=> 25 x 80 25 x 80\n xxxxxxxxx => exit 0"));
            EXPECT_EQ(t.cursor().substr(0, 3), "25,") << term;
            const std::string region = "\033[1;" + std::to_string(lines) + "r";
            EXPECT_EQ(t.raw().rfind('r'), t.raw().rfind(region) + region.size() - 1) << term;
        }
    }
}

TEST_F(ScratchDir, MissingWideDescriptionFallsBackOnTheNormalOne) {
    fs::create_directories("X");
    fs::copy_file(fs::path(RVCHK_TERMINFO) / "X" / "Xterm", "X/Xterm");
    TerminalOptions options = scene("sizes");
    options.term = "xterm";
    options.terminfo = path;
    options.columns = 132;
    Terminal t(options);
    EXPECT_TRUE(t.play("=> 25=25 x 80 25 x 80\n x => 25=25 x 132 25 x 132\n x => 25=25 x 80 25 x 80"));
}

// A terminal without the wrap that ncurses reckons with, in a window wider than the screen.
TEST(Screen, AnsiTerminalInAWideWindowStaysInPlace) {
    TerminalOptions options = scene("stack");
    options.term = "ansi";
    options.lines = 43;
    options.columns = 132;
    Terminal t(options);
    EXPECT_TRUE(t.play("=> 2=onderlaag 2 | 25=onderlaag 25 | 26="));
}

TEST(Screen, SurvivesAChangingWindow) {
    Terminal t(scene("stack"));
    ASSERT_TRUE(t.play("<.> =>  twee "));
    const std::string before = t.screen();
    // The last line stays, and what is around the cursor.
    t.resize(24, 80);
    EXPECT_TRUE(t.play("=> 24=onderlaag 25 | 1=onderlaag 2 | 7: twee "));
    t.resize(8, 20);
    EXPECT_TRUE(t.play("=> 8=onderlaag 25 |  twee "));
    t.resize(30, 90);
    EXPECT_TRUE(t.play("=> 25=onderlaag 25"));
    t.resize(25, 80);
    EXPECT_TRUE(t.wait_until([&] { return t.screen() == before; }, "the screen as it was"));
}

TEST(Screen, FatalStopTellsWaitsAndEndsWithOne) {
    Terminal t(scene("fatal"));
    EXPECT_TRUE(t.play(R"(
        => 18:PROGRAMMA AFGEBROKEN | 19:│ PROEF: kan niet verder | 21:│ <ENTER> voor vervolg
        => 20:│ Neem contact op met de Support-groep
    )"));
    // Only Enter ends the wait: the keys before it would.
    EXPECT_TRUE(t.play("<SPACE><F1><ESC><CANCEL>"));
    EXPECT_EQ(t.wait_exit(Terminal::Patience(300)), -1);
    EXPECT_TRUE(t.play("<ENTER> => exit 1"));
    Terminal full(scene("full-stack"));
    EXPECT_TRUE(full.play("=> │ win_open : 15 | <ENTER> voor vervolg\n <ENTER> => exit 1"));
}

TEST(Screen, UnknownTerminalIsNamed) {
    for (const auto &[term, name] :
         {std::pair<std::optional<std::string>, std::string>{{}, "(TERM)"}, {"qq-1", "(Qq-1)"}}) {
        EXPECT_TRUE(
            plays(scene("stack", {{"TERM", term}}),
                  "=> Onbekende terminfo " + name + " | Start opnieuw met TERM=xterm-256color | exit 10"));
    }
}

TEST(Screen, ShowsCodePage850OnAnyLine) {
    // The second locale is not installed, but says what the line takes.
    for (const auto &[encoding, locale] :
         {std::pair{"UTF-8", "C.UTF-8"}, {"UTF-8", "xx_XX.utf8"}, {"CP850", "C"}}) {
        TerminalOptions options = scene("characters", {{"LC_ALL", locale}});
        options.encoding = encoding;
        EXPECT_TRUE(plays(options, R"(
                      => 2=café ü █¨ | 3:▒▒▒      ───│ | 4=stuur??[2Jtekens?
            é         => toets 1 is 130.
            <CANCEL>  => toets 2 is 355.
            <.><INTR> => toets 3 is 330.
            <ESC>     => toets 4 is 27.
            q         => exit 0
        )")) << encoding;
    }
}

// The driver of the terminal itself, with the shell: what all scripts lean on is that a wrong one fails.
TEST(Terminal, AWrongScriptFails) {
    Terminal t({.program = "/bin/sh",
                .arguments = {"-c", "printf '\\033[2J\\033[3;5Hwel\\033[38;5;2mG\\033[m\\007'; read x"}});
    EXPECT_TRUE(t.play("=> 3=    welG | 3,7=l | 3,5 -dim | 3,8 fg 2 | 3,8 -dim | @3,9"));
    EXPECT_TRUE(t.play("<ENTER> => exit 0"));
    // The program is gone, so these end at once.
    for (const char *wrong : {"niets", "!welG", "4:welG", "3=welG", "3,5=e", "3,5 dim", "@1,1", "exit 1"}) {
        EXPECT_FALSE(t.play(std::string("=> ") + wrong)) << wrong;
    }
}

}  // namespace
