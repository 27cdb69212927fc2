// The preview, pick lists and menu windows as the operator sees them.
#include "report_fixture.h"

namespace {

using Preview = Report;

TEST_F(Preview, ShowsAPageUnderItsHead) {
    // Control characters show as points, the set-up text not at all. The head stays while the page goes on.
    EXPECT_TRUE(plays(scene("preview 2 40 80 device"), R"(
                   => 1=p1 r1. | 2=p1 r2. | 24=p1 r23. | 25,67=( | 25:(blad 1 van 2) | !Einde overzicht
                   => 1,1 reverse | 2,1 -reverse
        <ENTER>    => 1=p1 r1. | 2=p1 r24. | 18=p1 r40. | 19= | 24=
        <ENTER>    => 1=p2 r1. | 2=p2 r2. | 25:(blad 2 van 2)
        <ENTER>    => 25:Einde overzicht | 18=p2 r40. | 25,1 reverse
        <PGUP>     => 1=p1 r1. | 2=p1 r2.
        <ESC>      => klaar
        <ENTER>    => exit 0
    )"));
    EXPECT_EQ(job_files(), 0);
    EXPECT_FALSE(file_exists("device"));
}

TEST_F(Preview, GoesByPagesOfALongReport) {
    // Given up, the question for a page leaves it where it is.
    EXPECT_TRUE(plays(scene("preview 1600 62 132 device"), R"(
                              => 1=p1 r1. | 25:(blad 1 van 1600)
        <END>                 => 1=p1600 r1. | 25:(blad 1600 van 1600)
        <PGUP>                => 1=p1599 r1. | 25:(blad 1599 van
        <PGUP>                => 1=p1598 r1. | 25:(blad 1598 van
        <PGDN>                => 1=p1599 r1. | 25:(blad 1599 van
        <HOME>                => 1=p1 r1. | 25:(blad 1 van
        <PGDN><PGDN><PGUP>    => 1=p2 r1. | 25:(blad 2 van
        <F6>                  => GA NAAR BLAD | 19:blad: 
        1250<ENTER>           => 1=p1250 r1. | 25:(blad 1250 van
        s                     => GA NAAR BLAD
        17<ENTER>             => 1=p17 r1. | 25:(blad 17 van
        S                     => GA NAAR BLAD
        9<ESC>                => 1=p17 r1. | 25:(blad 17 van | !GA NAAR BLAD
        <ESC>                 => klaar
    )"));
}

TEST_F(Preview, OnOnePageMostKeysAreDead) {
    for (const char *pages : {"0", "1"}) {
        Terminal t(scene(std::string("preview ") + pages + " 5 80 /dev/null"));
        ASSERT_TRUE(t.play("=> 25:(blad 1 van 1) | 25:Einde overzicht"));
        const std::string untouched = t.screen();
        // Nor can it be printed on no device.
        ASSERT_TRUE(t.play(R"(
            <PGDN><END><ENTER><F6><PGUP><HOME><LEFT><RIGHT>PpIi<F4>    => Aantal Afdrukken
            <ESC>                                                      => !Aantal Afdrukken
        )"));
        EXPECT_TRUE(t.wait_until([&] { return t.screen() == untouched; }, "the untouched page"));
        EXPECT_TRUE(t.play("<ESC> => klaar"));
    }
}

TEST_F(Preview, WideReportTakesAWideScreen) {
    Terminal t(scene("preview 1 5 132 device"));
    ASSERT_TRUE(t.play("=> 25:(blad 1 van 1) | 3,128=1 | 3,130=0"));
    EXPECT_EQ(t.columns(), 132);
    EXPECT_TRUE(t.play(R"(
        <RIGHT><LEFT>I<F12>    => PrintMenu | 3:kolom             20
        n                      => 2=25 x 80, afdrukken 1
    )"));
    EXPECT_EQ(t.columns(), 80);

    // A window that shrinks begins at the top, and a page that the end of the program takes away gives the
    // cursor back.
    TerminalOptions plain = scene("preview 1 5 132 device");
    plain.term = "linux";
    Terminal taken(plain);
    ASSERT_TRUE(taken.play("=> 25:(blad 1 van 1)"));
    taken.resize(10, 132);
    ASSERT_TRUE(taken.play("=> 10:(blad 1 van 1) | 1=p1 r1."));
    taken.send_signal(SIGTERM);
    EXPECT_EQ(taken.wait_exit(), 0);
    EXPECT_FALSE(taken.cursor().ends_with("hidden"));
}

TEST_F(Preview, WideReportShiftsInAWindowThatStaysNarrow) {
    TerminalOptions options = scene("preview 1 5 200 device");
    options.resizable = false;
    // The head shifts too. A step to 172 is still within the report, one to 232 is not.
    EXPECT_TRUE(plays(options, R"(
                               => 25:(blad 1 van 1) | 3,79=8 | 3,80=0
        <RIGHT>                => 3:130 | 3,7=6 | 3,8=0 | 1=
        I                      => INGAVE SCROLL LENGTE
        60<ENTER>              => !INGAVE SCROLL LENGTE
        <RIGHT>                => 3:190 | 3,6=1 | 3,8=0
        <RIGHT>                => 3:200
        <RIGHT><LEFT>          => !200 | 3:190 | 3,6=1
        <LEFT><LEFT>           => 1=p1 r1.
        <F12>                  => Instellen (60)
        n                      => klaar
    )"));
}

TEST_F(Preview, MenuShowsWhatCanBeDone) {
    // What can't be done is dim, the current item reversed, the hot letter underlined, in the name of a key
    // also where the item can't be done.
    EXPECT_TRUE(plays(scene("preview 2 40 80 device"), R"(
                   => 25:(blad 1 van 2)
        <F12>      => 6=p1 r5.                                                ┌───────PrintMenu────────┐
                   => 7:│ Vorig blad      <PgUp> │ | 9:│ Volgend scherm <Enter> │
                   => 11:│────────Scrollen────────│ | 16:│ Instellen (52)         │
                   => 17:│────────────────────────│ | 19:│ Kopregels (1)          │
                   => 20:│─────────Einde──────────│ | 22:│ Niet printen           │
                   => 25,67=( | 7,57 dim | 7,57 -reverse | 8,57 reverse | 9,57 bold
                   => 9,73 underline | 9,72 -underline | 7,76 underline | 7,76 bold
        <LEFT><SPACE><DOWN><DOWN><DOWN><DOWN> => 13,57 reverse
        <ENTER>    => 25:(blad 2 van 2) | !PrintMenu
        a          => PrintMenu
        a          => Aantal Afdrukken
        <ESC>      => !Aantal Afdrukken
        <F12>      => PrintMenu | 8,57 dim | 12,57 bold | 13,57 dim
        <ESC>      => !PrintMenu
        <ESC>      => klaar
    )"));
}

TEST_F(Preview, CopiesAndHeadLines) {
    EXPECT_TRUE(plays(scene("preview 1 40 80 device"), R"(
                         => 25:(blad 1 van 1)
        K                => Kopregels
        4<ENTER>         => 4,1 reverse | 5,1 -reverse | 4=p1 r3. | 5=p1 r4.
        <ENTER>          => 4=p1 r3. | 5=p1 r24.
        <F12>            => Kopregels (4)
        <ESC>            => !PrintMenu
        <F4>             => Aantal Afdrukken
        21<ENTER><ESC>   => !Aantal Afdrukken
        <F4>             => Aantal Afdrukken
        3<ENTER>         => !Aantal Afdrukken
        p                => 2:afdrukken 3
        <ENTER>          => exit 0
    )"));
    ASSERT_TRUE(all_gone());
    const std::string text = get("device");
    EXPECT_EQ(text.size() % 3, 0U);
    EXPECT_EQ(text.substr(0, text.size() / 3), text.substr(text.size() / 3, text.size() / 3));
    EXPECT_EQ(text.rfind("SET-UPp1 r1\x01\n", 0), 0U);
}

// ---- Pick lists and menu windows

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
