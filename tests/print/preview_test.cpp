// The preview as the operator sees it.
#include <csignal>

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
        <F12>      => PrintMenu
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

}  // namespace
