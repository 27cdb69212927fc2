// Pick lists and menu windows in a terminal.
#include "report_fixture.h"

namespace {

TerminalOptions in_window(const std::string &line, int lines = 25, int columns = 80) {
    TerminalOptions options = scene(line);
    options.lines = lines;
    options.columns = columns;
    options.resizable = false;
    return options;
}

/// Items of a menu that does not fit.
std::string many() {
    std::string items;
    for (int i = 1; i <= 40; i++) {
        items += "eregel-" + std::to_string(i) + ",";
    }
    return items;
}

TEST(PickList, MovesByRowsAndPages) {
    // A second run begins where the caller stands, and there are records before it.
    EXPECT_TRUE(plays(in_window("pick 11 0 5 10 8 0 Lijst"), R"(
                                    => 5,10=┌ | 12,22=┘ | 6:│ Kop
                                    => 7:record 1. | 10:record 4. | 7,12 reverse
        <UP><DOWN>                  => 8,12 reverse | 7:record 1.
        <PGUP>                      => 7,12 reverse | 8,12 -reverse
        <DOWN><DOWN><DOWN>          => 7:record 1. | 10,12 reverse
        <DOWN>                      => 7:record 4. | 8,12 reverse
        <UP><UP>                    => 7:record 3. | 7,12 reverse
        <PGDN>                      => 7:record 6. | 7,12 reverse
        <DOWN><PGDN>                => 7:record 9. | 7,12 reverse | 9:record 11. | 10:│           │
        <DOWN><PGDN><PGDN><DOWN>    => 7:record 9. | 9,12 reverse
        <PGUP>                      => 7:record 5. | 7,12 reverse
        <PGUP><F5><LEFT><DOWN>      => 7:record 1. | 10:record 4. | 8,12 reverse
        x<ENTER>                    => 1=gekozen 2 | !Lijst
        <ENTER>                     => 7:record 2. | 7,12 reverse
        <UP>                        => 7:record 1. | 7,12 reverse
        <PGDN><DOWN><ESC>           => 1:niets 5 | !Lijst
    )"));
    EXPECT_TRUE(plays(in_window("pick 0 0 0 0 0 0 Lijst"), "=> 1=niets 1 | !Lijst"));
}

TEST(PickList, PlaceAndSize) {
    const struct {
        std::string place;  // row, column, height, width, title
        const char *shown;
        int lines = 25, columns = 80;
    } cases[] = {
        {"0 0 0 0 L", "3,68=┌ | 24,80=┘ | record 8."},
        {"0 0 0 0 Een-lange-titel", "3,62=┌ | 24,80=┘ | record 8."},
        {"0 0 0 0 " + std::string(90, 'T'), "3,1=┌ | 24,80=┘ | record 8."},
        {"4 75 6 30 L", "4,51=┌ | 9,80=┘ | record 8."},
        {"4 2 6 200 L", "4,1=┌ | 9,80=┘ | record 8."},
        {"24 2 0 0 L", "20,2=┌ | 24,14=┘ | !record 8."},
        {"24 2 0 0 -", "20,2=┌ | 24,14=┘ | record 8."},
        {"4 2 1 0 L", "4,2=┌ | 8,14=┘ | !record 8."},
        {"4 2 99 0 L", "4,2=┌ | 24,14=┘ | record 8."},
        {"0 0 0 0 L", "3,18=┌ | 9,30=┘ | record 8.", 10, 30},
        {"20 0 0 0 L", "1,8=┌ | 5,20=┘ | !record 8.", 6, 20},
    };
    for (const auto &c : cases) {
        // Where one record finds room every key still gets to the next.
        EXPECT_TRUE(
            plays(in_window("pick 8 6 " + c.place, c.lines, c.columns),
                  std::string("=> record 7. | ") + c.shown + "\n <PGDN><DOWN><ENTER> => 1=gekozen 8"));
    }
}

TEST(MenuWindow, PlaceAndSize) {
    const std::pair<std::string, const char *> cases[] = {
        {"0 5 10 12 0 eEen,eTwee", "5,10=┌ | 8,23=┘"},
        {"1 5 10 0 0 eEen,eTweede", "5,10=┌ | 8,19=┘"},
        {"1 5 10 0 0 eEen,hTweede", "5,10=┌ | 8,21=┘"},
        {"0 5 10 2 0 eEen,eTwee", "5,10=┌ | 8,16=┘"},
        {"0 5 10 65 0 eEen,eTwee", "5,10=┌ | 8,75=┘"},
        {"0 1 0 12 0 eEen,eTwee", "2,1=┌ | 5,14=┘"},
        {"0 24 76 12 0 eEen,eTwee", "2,1=┌ | 5,14=┘"},
        {"0 23 70 12 0 eEen,eTwee", "22,67=┌ | 25,80=┘"},
        {"5 5 0 0 0 eEen,eTweede", "5,35=┌ | 8,44=┘"},
        {"9 0 10 0 0 eEen,eTweede", "10,10=┌ | 13,19=┘"},
        {"13 0 0 0 0 eEen,eTweede", "10,35=┌ | 13,44=┘"},
        {"13 0 0 0 0 " + many(), "2,34=┌ | 25,45=┘"},
        {"1 20 3 0 0 eEen,eTwee,eDrie,eVier,eVijf,eZes", "18,3=┌ | 25,10=┘"},
    };
    for (const auto &[arguments, corners] : cases) {
        EXPECT_TRUE(plays(in_window("menu-window " + arguments),
                          std::string("=> Keuze | ") + corners + "\n <ESC> => 1=gekozen 0, toets 355"));
    }
    EXPECT_TRUE(plays(in_window("menu-window 1 5 10 0 0 " + many()), R"(
                               => 2,10=┌ | 25,21=┘ | 1= | 24:regel-22 | 3,12 reverse
        <UP>                   => 24,12 reverse | 3,12 -reverse
        <DOWN><DOWN><ENTER>    => 1:gekozen 2,
    )"));
}

TEST(MenuWindow, Choices) {
    const struct {
        const char *items, *keys, *result;
        const char *flags = "1";
    } cases[] = {
        {"0 e&Een,e&Twee,e&Drie", "<ENTER>", "1"},
        {"2 e&Een,e&Twee,e&Drie", "<ENTER>", "2"},
        {"2 e&Een,d&Twee,e&Drie", "<ENTER>", "1"},
        {"1 d&Een,hKop,e&Drie", "<ENTER>", "3"},
        {"0 e&Een,e&Twee,e&Drie", "<UP><ENTER>", "3"},
        {"0 e&Een,h,e&Drie", "<DOWN><DOWN><DOWN><ENTER>", "3"},
        {"0 e&Een,d&Twee,e&Drie", "<DOWN><ENTER><DOWN><ENTER>", "3"},
        {"0 e&Een,e&Twee,e&Drie", "<LEFT><SPACE><F3>", "3"},
        {"0 e&Een,e&Twee,d&Drie", "d<F3>xt", "2"},
        {"0 d&Een,d&Twee,hKop", "<ENTER>e<ESC>", "0, toets 355"},
        {"0 e&Een,e&.", ",", "2"},
        {"0 e&Een,e&Twee", "<ESC><CANCEL>t", "2", "17"},
        {"0 e&Een,d&Twee t", "<ENTER>", "1"},
        // A waiting key that names an enabled item, or no item at all: the menu never shows.
        {"0 e&Een,e&Twee t", nullptr, "2"},
        {"0 e&Een,e&Twee F1", nullptr, "1"},
        {"0 hEen,h", nullptr, "0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.items) + " " + c.flags);
        Terminal t(in_window(std::string("menu-window ") + c.flags + " 5 10 0 " + c.items));
        if (c.keys != nullptr) {
            ASSERT_TRUE(t.play(std::string("=> Keuze\n") + c.keys));
        }
        EXPECT_TRUE(t.play(std::string("=> gekozen ") + c.result + " | !Keuze\n <ENTER> => stand " +
                           (c.items[2] == 'e' ? "256" : "0") + " | 25:not found !"));
        EXPECT_EQ(t.raw().find("Keuze") == std::string::npos, c.keys == nullptr) << c.items;
    }
}

}  // namespace
