// Pick lists and menu windows in a terminal.
#include "support/terminal.h"

namespace {

TerminalOptions probe(const std::vector<std::string> &arguments, int lines = 25, int columns = 80) {
    TerminalOptions options;
    options.program = MENU_PROBE;
    options.arguments = arguments;
    options.lines = lines;
    options.columns = columns;
    options.resizable = false;
    return options;
}

/// Where a window stands, as "row,column height x width".
std::string frame(const Terminal &t) {
    int top = 0;
    int left = 0;
    for (int row = 1; row <= t.lines(); row++) {
        for (int col = 1; col <= t.columns(); col++) {
            const std::string cell = t.cell(row, col);
            if (cell == "┌") {
                top = row;
                left = col;
            } else if (cell == "┘") {
                return std::to_string(top) + "," + std::to_string(left) + " " +
                       std::to_string(row - top + 1) + "x" + std::to_string(col - left + 1);
            }
        }
    }
    return "none";
}

testing::AssertionResult stands_at(Terminal &t, const std::string &wanted) {
    return t.wait_until([&] { return frame(t) == wanted; }, "frame " + wanted);
}

// -----------------------------------------------------------------------------------------------------------
// Pick lists

/// The records on the screen, "1 2 >3 4": the mark stands for the bar.
std::string records(const Terminal &t) {
    std::string found;
    for (int row = 1; row < t.lines(); row++) {
        const std::string text = t.row(row);
        const auto at = text.find("record ");
        if (at != std::string::npos) {
            const bool bar = t.attr(row, static_cast<int>(at) - 1).reverse;
            found += (found.empty() ? "" : " ") + std::string(bar ? ">" : "") +
                     std::to_string(std::atoi(text.c_str() + at + 7));
        }
    }
    return found;
}

testing::AssertionResult shows(Terminal &t, const std::string &wanted) {
    return t.wait_until([&] { return records(t) == wanted; }, wanted);
}

TEST(PickList, MovesByRowsAndPages) {
    Terminal t(probe({"pick", "11", "0", "5", "10", "8", "0", "Lijst"}));
    ASSERT_TRUE(shows(t, ">1 2 3 4"));
    EXPECT_TRUE(stands_at(t, "5,10 8x12"));
    EXPECT_NE(t.row(6).find("│ Kop"), std::string::npos);
    const std::pair<const char *, const char *> steps[] = {
        {"UP", ">1 2 3 4"},   {"DOWN", "1 >2 3 4"}, {"PGUP", ">1 2 3 4"}, {"DOWN", "1 >2 3 4"},
        {"DOWN", "1 2 >3 4"}, {"DOWN", "1 2 3 >4"}, {"DOWN", "4 >5 6 7"}, {"UP", ">4 5 6 7"},
        {"UP", ">3 4 5 6"},   {"PGDN", ">6 7 8 9"}, {"DOWN", "6 >7 8 9"}, {"PGDN", ">9 10 11"},
        {"DOWN", "9 >10 11"}, {"PGDN", "9 10 >11"}, {"PGDN", "9 10 >11"}, {"DOWN", "9 10 >11"},
        {"PGUP", ">5 6 7 8"}, {"PGUP", ">1 2 3 4"}, {"F5", ">1 2 3 4"},   {"LEFT", ">1 2 3 4"},
        {"DOWN", "1 >2 3 4"},
    };
    for (const auto &[key, wanted] : steps) {
        t.key(key);
        ASSERT_TRUE(shows(t, wanted)) << key;
    }
    EXPECT_EQ(t.row(10).find("record 4"), 13U) << "and no line is left behind";
    t.type("x");
    t.key("ENTER");
    ASSERT_TRUE(t.wait_row(1, "gekozen 2"));
    EXPECT_TRUE(t.wait_gone("Lijst"));
    // It starts again at the record where the caller stands, and there are those before it.
    t.key("ENTER");
    ASSERT_TRUE(shows(t, ">2 3 4 5"));
    t.key("UP");
    ASSERT_TRUE(shows(t, ">1 2 3 4"));
    t.keys({"PGDN", "DOWN", "F3"});
    ASSERT_TRUE(t.wait_row(1, "gekozen 5, toets 267"));
}

TEST(PickList, LeavingPicksNothing) {
    for (const char *key : {"ESC", "CANCEL"}) {
        Terminal t(probe({"pick", "3", "0", "0", "0", "0", "0", "Lijst"}));
        ASSERT_TRUE(shows(t, ">1 2 3"));
        t.keys({"DOWN", key});
        ASSERT_TRUE(t.wait_row(1, "niets"));
        EXPECT_TRUE(t.wait_gone("Lijst"));
    }
    Terminal none(probe({"pick", "0", "0", "0", "0", "0", "0", "Lijst"}));
    EXPECT_TRUE(none.wait_row(1, "niets"));
}

TEST(PickList, PlaceAndSize) {
    struct Case {
        std::vector<std::string> place;  // row, column, height, width, title
        int lines, columns;
        const char *frame, *records;
        bool heads = true;
    };
    const std::string long_title(90, 'T');
    const Case cases[] = {
        {{"0", "0", "0", "0", "L"}, 25, 80, "3,69 22x12", ">7 8"},
        {{"0", "0", "0", "0", "Een lange titel"}, 25, 80, "3,62 22x19", ">7 8"},
        {{"0", "0", "0", "0", long_title}, 25, 80, "3,1 22x80", ">7 8"},
        {{"4", "75", "6", "30", "L"}, 25, 80, "4,51 6x30", ">7 8"},
        {{"4", "2", "6", "200", "L"}, 25, 80, "4,1 6x80", ">7 8"},
        {{"24", "2", "0", "0", "L"}, 25, 80, "20,2 5x12", ">7"},
        {{"24", "2", "0", "0", "L"}, 25, 80, "20,2 5x12", ">7 8", false},
        {{"4", "2", "1", "0", "L"}, 25, 80, "4,2 5x12", ">7"},
        {{"4", "2", "99", "0", "L"}, 25, 80, "4,2 21x12", ">7 8"},
        {{"0", "0", "0", "0", "L"}, 10, 30, "3,19 7x12", ">7 8"},
        {{"20", "0", "0", "0", "L"}, 6, 20, "1,9 5x12", ">7"},
    };
    for (const Case &c : cases) {
        std::vector<std::string> arguments{"pick", "8", "6"};
        arguments.insert(arguments.end(), c.place.begin(), c.place.end());
        if (!c.heads) {
            arguments.emplace_back("noheads");
        }
        Terminal t(probe(arguments, c.lines, c.columns));
        ASSERT_TRUE(shows(t, c.records)) << c.frame;
        EXPECT_TRUE(stands_at(t, c.frame));
        // Where one record finds room every key still gets to the next.
        t.keys({"PGDN", "DOWN", "ENTER"});
        EXPECT_TRUE(t.wait_row(1, "gekozen 8"));
    }
}

// -----------------------------------------------------------------------------------------------------------
// Menu windows

TEST(MenuWindow, PlaceAndSize) {
    std::string tall;
    for (int i = 1; i <= 40; i++) {
        tall += "eregel " + std::to_string(i) + ",";
    }
    struct Case {
        std::vector<std::string> arguments;  // flags, row, column, width, items
        const char *frame;
    };
    const Case cases[] = {
        {{"0", "5", "10", "12", "eEen,eTwee"}, "5,10 4x14"},
        {{"1", "5", "10", "0", "eEen,eTweede"}, "5,10 4x10"},
        {{"1", "5", "10", "0", "eEen,hTweede"}, "5,10 4x12"},
        {{"0", "5", "10", "2", "eEen,eTwee"}, "5,10 4x7"},
        {{"0", "5", "10", "65", "eEen,eTwee"}, "5,10 4x66"},
        {{"0", "1", "0", "12", "eEen,eTwee"}, "2,1 4x14"},
        {{"0", "24", "76", "12", "eEen,eTwee"}, "2,1 4x14"},
        {{"0", "23", "70", "12", "eEen,eTwee"}, "22,67 4x14"},
        {{"5", "5", "0", "0", "eEen,eTweede"}, "5,35 4x10"},
        {{"9", "0", "10", "0", "eEen,eTweede"}, "10,10 4x10"},
        {{"13", "0", "0", "0", "eEen,eTweede"}, "10,35 4x10"},
        {{"13", "0", "0", "0", tall}, "2,34 24x12"},
        {{"1", "20", "3", "0", "eEen,eTwee,eDrie,eVier,eVijf,eZes"}, "18,3 8x8"},
    };
    for (const Case &c : cases) {
        std::vector<std::string> arguments{"menu"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        arguments.emplace_back("0");
        Terminal t(probe(arguments));
        ASSERT_TRUE(t.wait_for("Keuze"));
        EXPECT_TRUE(stands_at(t, c.frame)) << c.arguments[4];
        t.key("ESC");
        EXPECT_TRUE(t.wait_row(1, "gekozen 0, toets 355"));
    }
}

TEST(MenuWindow, Choices) {
    struct Case {
        const char *flags, *items, *first;
        std::vector<std::string> keys;
        const char *shown;
        const char *waiting = nullptr;
    };
    const Case cases[] = {
        {"1", "e&Een,e&Twee,e&Drie", "0", {"ENTER"}, "gekozen 1"},
        {"1", "e&Een,e&Twee,e&Drie", "2", {"ENTER"}, "gekozen 2"},
        {"1", "e&Een,d&Twee,e&Drie", "2", {"ENTER"}, "gekozen 1"},
        {"1", "d&Een,hKop,e&Drie", "1", {"ENTER"}, "gekozen 3"},
        {"1", "e&Een,e&Twee,e&Drie", "0", {"UP", "ENTER"}, "gekozen 3"},
        {"1", "e&Een,h,e&Drie", "0", {"DOWN", "DOWN", "DOWN", "ENTER"}, "gekozen 3"},
        {"1", "e&Een,d&Twee,e&Drie", "0", {"DOWN", "ENTER", "DOWN", "ENTER"}, "gekozen 3"},
        {"1", "e&Een,e&Twee", "0", {"LEFT", "SPACE", "F2"}, "gekozen 2"},
        {"1", "e&Een,d&Twee,e&Drie", "0", {"t", "F2", "x", "d"}, "gekozen 3"},
        {"1", "d&Een,d&Twee,hKop", "0", {"ENTER", "e", "ESC"}, "gekozen 0, toets 355"},
        {"1", "hEen,h", "0", {}, "gekozen 0"},
        {"1", "e&Een,e&.", "0", {","}, "gekozen 2"},
        {"17", "e&Een,e&Twee", "0", {"ESC", "CANCEL", "t"}, "gekozen 2"},
        // A waiting key that names an enabled item.
        {"1", "e&Een,e&Twee", "0", {}, "gekozen 2", "t"},
        {"1", "e&Een,e&Twee", "0", {}, "gekozen 1", "F1"},
        {"1", "e&Een,d&Twee", "0", {"ENTER"}, "gekozen 1", "t"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.items) + " -> " + c.shown);
        std::vector<std::string> arguments{"menu", c.flags, "5", "10", "0", c.items, c.first};
        if (c.waiting != nullptr) {
            arguments.emplace_back(c.waiting);
        }
        Terminal t(probe(arguments));
        if (!c.keys.empty()) {
            ASSERT_TRUE(t.wait_for("Keuze"));
        }
        for (const std::string &key : c.keys) {
            key.size() == 1 ? t.type(key) : t.key(key);
        }
        ASSERT_TRUE(t.wait_row(1, c.shown));
        EXPECT_EQ(t.raw().find("Keuze") == std::string::npos, c.keys.empty());
        EXPECT_TRUE(t.wait_gone("Keuze"));
        t.key("ENTER");
        ASSERT_TRUE(t.wait_row(1, *c.items == 'e' ? "klaar 256" : "klaar 0"));
        EXPECT_TRUE(t.wait_row(25, " not found !"));
    }
}

TEST(MenuWindow, TallMenuKeepsWithinTheScreen) {
    std::string items;
    for (int i = 1; i <= 40; i++) {
        items += "eregel " + std::to_string(i) + ",";
    }
    Terminal t(probe({"menu", "1", "5", "10", "0", items, "0"}));
    ASSERT_TRUE(t.wait_row(24, "regel 22"));
    EXPECT_TRUE(stands_at(t, "2,10 24x12"));
    EXPECT_EQ(t.row(1), "");
    t.key("UP");
    ASSERT_TRUE(
        t.wait_until([&] { return t.attr(24, 12).reverse && !t.attr(3, 12).reverse; }, "the last item"));
    t.keys({"DOWN", "DOWN", "ENTER"});
    EXPECT_TRUE(t.wait_row(1, "gekozen 2"));
}

}  // namespace
