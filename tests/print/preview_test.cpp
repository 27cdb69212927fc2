// The preview as the operator sees it.
#include <csignal>

#include "report_fixture.h"
#include "support/terminal.h"

namespace {

struct Preview : Report {
    static TerminalOptions report(int pages, int lines, int width, const std::string &device = "device") {
        TerminalOptions options;
        options.program = PRINT_PROBE;
        options.arguments = {"preview", std::to_string(pages), std::to_string(lines), std::to_string(width),
                             device};
        return options;
    }
    /// The page is on the screen, down to its last line of text.
    static testing::AssertionResult on_page(Terminal &t, const std::string &page) {
        return t.wait_until(
            [&] {
                return t.row(1) == "p" + page + " r1." &&
                       t.row(25).find("(blad " + page + " van ") != std::string::npos;
            },
            "page " + page);
    }
    /// Leaves the preview, and the program.
    static void leave(Terminal &t, const std::string &key = "ESC") {
        t.key(key);
        ASSERT_TRUE(t.wait_for("klaar"));
        t.key("ENTER");
        EXPECT_EQ(t.wait_exit(), 0) << t.dump();
        EXPECT_TRUE(eventually([] { return job_files() == 0; }));
    }
};

TEST_F(Preview, ShowsAPageUnderItsHead) {
    Terminal t(report(2, 40, 80));
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 2)"));
    EXPECT_EQ(t.row(1), "p1 r1.") << "control characters show as points, the set-up text not at all";
    EXPECT_TRUE(t.attr(1, 1).reverse);
    EXPECT_EQ(t.row(2), "p1 r2.");
    EXPECT_FALSE(t.attr(2, 1).reverse);
    EXPECT_EQ(t.row(24), "p1 r23.");
    EXPECT_EQ(t.row(25).substr(66), "(blad 1 van 2)");
    EXPECT_EQ(t.row(25).find("Einde"), std::string::npos);
    // The head stays while the page goes on below it.
    t.key("ENTER");
    ASSERT_TRUE(
        t.wait_until([&] { return t.row(18) == "p1 r40." && t.row(19).empty(); }, "the end of the page"));
    EXPECT_EQ(t.row(1), "p1 r1.");
    EXPECT_EQ(t.row(2), "p1 r24.");
    EXPECT_EQ(t.row(19), "") << "nothing behind the end of the page";
    t.key("ENTER");
    ASSERT_TRUE(on_page(t, "2"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_row(25, "Einde overzicht"));
    EXPECT_EQ(t.row(18), "p2 r40.");
    EXPECT_TRUE(t.attr(25, 1).reverse);
    t.key("PGUP");
    ASSERT_TRUE(t.wait_row(2, "p1 r2."));
    leave(t);
    EXPECT_FALSE(file_exists("device"));
}

TEST_F(Preview, GoesByPages) {
    Terminal t(report(300, 3, 80));
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 300)"));
    const std::pair<const char *, const char *> steps[] = {
        {"END", "300"}, {"PGUP", "299"}, {"PGUP", "298"}, {"PGDN", "299"},
        {"HOME", "1"},  {"PGDN", "2"},   {"PGDN", "3"},   {"PGUP", "2"},
    };
    for (const auto &[key, page] : steps) {
        t.key(key);
        ASSERT_TRUE(on_page(t, page)) << key;
    }
    for (const char *page : {"250", "17", "300", "1"}) {
        t.key("F6");
        ASSERT_TRUE(t.wait_for("GA NAAR BLAD"));
        ASSERT_TRUE(t.wait_row(19, "blad: "));
        t.type(page);
        t.key("ENTER");
        ASSERT_TRUE(on_page(t, page));
    }
    // Given up, it stays where it is.
    t.type("S");
    ASSERT_TRUE(t.wait_for("GA NAAR BLAD"));
    t.type("9");
    t.key("ESC");
    ASSERT_TRUE(t.wait_gone("GA NAAR BLAD"));
    ASSERT_TRUE(on_page(t, "1"));
    leave(t);
}

TEST_F(Preview, OnOnePageMostKeysAreDead) {
    for (const int pages : {0, 1}) {
        Terminal t(report(pages, 5, 80, "/dev/null"));
        ASSERT_TRUE(t.wait_row(25, "(blad 1 van 1)"));
        EXPECT_NE(t.row(25).find("Einde overzicht"), std::string::npos);
        const std::string untouched = t.screen();
        // Nor can it be printed on no device.
        t.keys({"PGDN", "END", "ENTER", "F6", "PGUP", "HOME", "LEFT", "RIGHT"});
        t.type("PpIi");
        t.key("F4");
        ASSERT_TRUE(t.wait_for("Aantal Afdrukken"));
        t.key("ESC");
        EXPECT_TRUE(t.wait_until([&] { return t.screen() == untouched; }, "the untouched page"));
        leave(t);
    }
}

TEST_F(Preview, WideReportTakesAWideScreen) {
    Terminal t(report(1, 5, 132));
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 1)"));
    EXPECT_EQ(t.columns(), 132);
    EXPECT_EQ(t.row(3).substr(127), "130");
    const std::string untouched = t.screen();
    t.keys({"RIGHT", "LEFT"});
    t.type("I");
    t.key("F12");
    ASSERT_TRUE(t.wait_for("PrintMenu"));
    EXPECT_EQ(t.row(3).substr(0, 13), untouched.substr(untouched.find("kolom"), 13));
    t.type("n");
    ASSERT_TRUE(t.wait_row(2, "25 x 80, afdrukken 1, toets"));
    EXPECT_EQ(t.columns(), 80);
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 0);

    // A window that shrinks begins at the top, and a page that the end of the program takes away gives the
    // cursor back.
    TerminalOptions plain = report(1, 5, 132);
    plain.term = "linux";
    Terminal taken(plain);
    ASSERT_TRUE(taken.wait_row(25, "(blad 1 van 1)"));
    taken.resize(10, 132);
    ASSERT_TRUE(taken.wait_row(10, "(blad 1 van 1)"));
    EXPECT_TRUE(taken.wait_row(1, "p1 r1."));
    taken.send_signal(SIGTERM);
    EXPECT_EQ(taken.wait_exit(), 0);
    EXPECT_TRUE(taken.cursor().visible);
}

TEST_F(Preview, WideReportShiftsInAWindowThatStaysNarrow) {
    TerminalOptions options = report(1, 5, 200);
    options.resizable = false;
    Terminal t(options);
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 1)"));
    EXPECT_EQ(t.row(3).substr(70), "        80");
    t.key("RIGHT");
    ASSERT_TRUE(t.wait_row(3, "130"));
    EXPECT_EQ(t.row(3).substr(0, 8), "      60");
    EXPECT_EQ(t.row(1), "") << "the head shifts too";
    t.type("I");
    ASSERT_TRUE(t.wait_for("INGAVE SCROLL LENGTE"));
    t.type("60");
    t.key("ENTER");
    ASSERT_TRUE(t.wait_gone("INGAVE SCROLL LENGTE"));
    t.key("RIGHT");
    ASSERT_TRUE(t.wait_row(3, "190"));
    EXPECT_EQ(t.row(3).substr(0, 8), "     120");
    t.key("RIGHT");  // 172 is still within the report
    ASSERT_TRUE(t.wait_row(3, "200"));
    t.key("RIGHT");  // 232 is not
    t.key("LEFT");
    ASSERT_TRUE(t.wait_row(3, "190"));
    t.keys({"LEFT", "LEFT"});
    ASSERT_TRUE(t.wait_row(1, "p1 r1."));
    t.key("F12");
    ASSERT_TRUE(t.wait_for("Instellen (60)"));
    t.type("n");
    ASSERT_TRUE(t.wait_for("klaar"));
}

TEST_F(Preview, MenuShowsWhatCanBeDone) {
    Terminal t(report(2, 40, 80));
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 2)"));
    t.key("F12");
    ASSERT_TRUE(t.wait_row(22, "Niet printen"));
    EXPECT_EQ(t.row(6), "p1 r5." + std::string(48, ' ') + "┌───────PrintMenu────────┐");
    const std::pair<int, const char *> rows[] = {
        {7, "│ Vorig blad      <PgUp> │"},  {9, "│ Volgend scherm <Enter> │"},
        {11, "│────────Scrollen────────│"}, {16, "│ Instellen (52)         │"},
        {17, "│────────────────────────│"}, {19, "│ Kopregels (1)          │"},
        {20, "│─────────Einde──────────│"}, {22, "│ Niet printen           │"},
    };
    for (const auto &[row, text] : rows) {
        EXPECT_NE(t.row(row).find(text), std::string::npos) << t.row(row);
    }
    EXPECT_EQ(t.row(25).substr(66), "(blad 1 van 2)");
    // What can't be done is dim, the current item reversed, the hot letter underlined.
    EXPECT_TRUE(t.attr(7, 57).dim && !t.attr(7, 57).reverse);
    EXPECT_TRUE(t.wait_until([&] { return t.attr(8, 57).reverse; }, "the first item that is enabled"));
    EXPECT_TRUE(t.attr(9, 57).bold);
    EXPECT_TRUE(t.attr(9, 73).underline && !t.attr(9, 72).underline) << "of <Enter>";
    EXPECT_TRUE(t.attr(7, 76).underline && t.attr(7, 76).bold) << "of <PgUp>, which can't be done";
    t.keys({"LEFT", "SPACE", "DOWN", "DOWN", "DOWN", "DOWN"});
    ASSERT_TRUE(t.wait_until([&] { return t.attr(13, 57).reverse; }, "past the heading"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_row(25, "(blad 2 van 2)"));
    ASSERT_TRUE(t.wait_gone("PrintMenu"));
    t.type("a");
    ASSERT_TRUE(t.wait_for("PrintMenu"));
    t.type("a");
    ASSERT_TRUE(t.wait_for("Aantal Afdrukken"));
    t.key("ESC");
    ASSERT_TRUE(t.wait_gone("Aantal Afdrukken"));
    t.key("F12");
    ASSERT_TRUE(t.wait_for("PrintMenu"));
    t.key("ESC");
    ASSERT_TRUE(t.wait_gone("PrintMenu"));
    leave(t);
}

TEST_F(Preview, CopiesAndHeadLines) {
    Terminal t(report(1, 40, 80));
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 1)"));
    t.type("K");
    ASSERT_TRUE(t.wait_for("Kopregels"));
    t.type("4");
    t.key("ENTER");
    ASSERT_TRUE(
        t.wait_until([&] { return t.attr(4, 1).reverse && !t.attr(5, 1).reverse; }, "four head lines"));
    ASSERT_TRUE(t.wait_row(5, "p1 r4."));
    EXPECT_EQ(t.row(4), "p1 r3.");
    t.key("ENTER");
    ASSERT_TRUE(t.wait_row(5, "p1 r24."));
    EXPECT_EQ(t.row(4), "p1 r3.");
    t.key("F4");
    ASSERT_TRUE(t.wait_for("Aantal Afdrukken"));
    t.type("21");
    t.key("ENTER");
    t.key("ESC");
    ASSERT_TRUE(t.wait_gone("Aantal Afdrukken"));
    t.key("F4");
    ASSERT_TRUE(t.wait_for("Aantal Afdrukken"));
    t.type("3");
    t.key("ENTER");
    ASSERT_TRUE(t.wait_gone("Aantal Afdrukken"));
    t.type("p");
    ASSERT_TRUE(t.wait_row(2, "afdrukken 3"));
    ASSERT_TRUE(eventually([] { return job_files() == 0; }));
    const std::string text = get("device");
    EXPECT_EQ(text.size() % 3, 0U);
    EXPECT_EQ(text.substr(0, text.size() / 3), text.substr(text.size() / 3, text.size() / 3));
    EXPECT_EQ(text.rfind("SET-UPp1 r1\x01\n", 0), 0U);
}

TEST_F(Preview, LongReportPagesWithoutDelay) {
    Terminal t(report(1600, 62, 132));
    ASSERT_TRUE(t.wait_row(25, "(blad 1 van 1600)"));
    const auto start = std::chrono::steady_clock::now();
    t.key("END");
    ASSERT_TRUE(t.wait_row(25, "(blad 1600 van 1600)"));
    t.key("PGUP");
    ASSERT_TRUE(t.wait_row(25, "(blad 1599 van 1600)"));
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(time.count(), 2.0);
    leave(t);
}

}  // namespace
