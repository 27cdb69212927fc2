// Keys, prompts, boxes, help and the menu as the operator meets them.
#include <iterator>
#include <random>
#include <sstream>

#include "support/rounds.h"
#include "support/terminal.h"

namespace {

TEST(Keys, QueueWaitingNamesAndReplay) {
    EXPECT_TRUE(plays(scene("keys"), R"(
                  => 2=2 voor 1 | 3=wacht 0 | 8=x.
                  => 4=F1 . | 5=F12. | 6=SH_TAB. | 7=RGHT.
        xp<^S><^Q>q => 10=p dan q | 11=esc 1 herhaalt 0 | 12=923
        x         => exit 0
    )"));
}

TEST(Keys, MacroCommandByKeyAndByMenu) {
    EXPECT_TRUE(plays(scene("edit 6l 5 ''"), R"(
        <.><F2>r    => 5=         123___
        <F2><INS>   => 5=         123___ | 25=opnemen
        <F2><DEL>   => 25=verwijderen
        <ENTER>     => 15=[123] changed
    )"));
    EXPECT_TRUE(plays(scene("edit 6l 5 ''"), "<.><F2>i => 5=         123___"))
        << "an interrupt loses no key that is read at the same moment";
}

TEST(Field, FaultsOfTheFormatStopTheProgram) {
    const std::pair<const char *, const char *> rows[] = {
        {"256s '' ''", "r=5, c=10, cs=256s --> Lengte > 255 tekens"},
        {"4.2l '' ''", "cs=4.2l --> precision alleen bij f, C, S en X"},
        {"'' '' ''", "cs= --> ongeldige vartype"},
        {"5q '' ''", "cs=5q --> ongeldige vartype"},
        {"5s[abc,E '' ''", "cs=5s[abc,E --> [ zonder ]"},
        {"4d,P 0 10000:20000", "cs=4d,P --> ongeldig bereik"},
        {"8D '' 1:29220", "ongeldig bereik"},
        {"3s abcd ''", "cs=3s --> STRING fout"},
    };
    for (const auto &[arguments, message] : rows) {
        EXPECT_TRUE(plays(scene(std::string("edit ") + arguments),
                          std::string("=> PROGRAMMA AFGEBROKEN | ") + message + "\nx<ENTER> => exit 1"));
    }
}

TEST(Field, QuitEndsTheProgramAtTheFirstPosition) {
    EXPECT_TRUE(plays(scene("edit 6s abc ''"), R"(
        <.>x<.><QUIT>        => 25=Ongeldige toets
        <HOME><.><QUIT>      => EXIT-toets gebruikt
        <ENTER>              => exit 1
    )"));
}

TEST(Field, AmountWithoutCents) {
    EXPECT_TRUE(plays(scene("edit 8B,ZP 1234 ''", {{"KPOS", ""}}), "<.>12.<ENTER> => 15=[12] changed"));
}

TEST(Field, BytesOfAnotherCharacterSetPassUnchanged) {
    TerminalOptions options = scene("edit 20.6S \202bcdefghi ''", {{"LC_ALL", "C"}});
    options.encoding = "CP850";
    // This terminal has no arrow of one byte.
    EXPECT_TRUE(plays(options, R"(
                       => 5:ébcdef
        <RIGHT>ü<END>  => 5=        <defghi
        <ENTER>        => 15=[éücdefghi............] changed
    )"));
}

TEST(Help, ExplainsTheFormat) {
    // The format, keys that are allowed, and inner rows 2 to 10.
    const std::tuple<const char *, const char *, const char *> pages[] = {
        {"3d,P", "",
         "Er wordt ingave van een getal  verwacht/U mag  3  posities vullen//Alle cijfers  toegestaan/////"
         "Bereik : 1 t/m 999/"},
        {"6.2f,EZPN", "up tab cancel function",
         "Er wordt ingave van een getal  verwacht/U moet  6  posities vullen , waarvan   2  cijfers na de "
         "komma//Alle cijfers  toegestaan//De volgende functietoetsen zijn toe te passen :/"
         "Cursor Up, Tab, CANCEL/F5, F12/Bereik : -99.99 t/m 999.99/"},
        {"1c[+*C],EIAU", "",
         "Er wordt ingave van een tekst  verwacht/U moet  1  posities vullen//* + C   toegestaan//////"},
        {"1c[^.,]", "",
         "Er wordt ingave van een tekst  verwacht/U mag  1  posities vullen//, .   niet toegestaan//////"},
        {"10D", "",
         "Er wordt ingave van een datum  verwacht/U mag  10  posities vullen   (DDMMJJ)//Alle cijfers  "
         "toegestaan//////"},
        {"b", "", "Er wordt ingave Ja of Nee  verwacht/U moet  1  posities vullen//J, N  toegestaan//////"},
        {"4x", "",
         "Er wordt ingave van een hexadecimale waarde  verwacht/U mag  4  posities vullen//Hexadecimale "
         "tekens  toegestaan//////"},
    };
    for (const auto &[format, allow, text] : pages) {
        SCOPED_TRACE(format);
        Terminal t(
            scene(std::string("edit ") + format + (format[1] == 'D' ? " 01032026 '" : " 0 '") + allow + "'"));
        ASSERT_TRUE(t.play("<.><HELP><.> => 9: Ingave HELP-informatie "));
        std::string shown;
        for (int row = 11; row < 20; row++) {
            const std::string line = t.row(row);
            const std::size_t start = line.find("│") + 4;
            std::string inner = line.substr(start, line.rfind("│") - start);
            shown += inner.substr(0, inner.find_last_not_of(' ') + 1) + "/";
        }
        EXPECT_EQ(shown, text);
        EXPECT_TRUE(t.play(R"(
            x                 => 25=Ongeldige ingave
            <ENTER>           => !HELP | 15=
            <F1><.><ENTER>    => !HELP
        )"));
    }
}

TEST(Prompts, QuestionsWithAndWithoutPreset) {
    // On the last line the question comes back when a message goes, that of the field and that of its help.
    EXPECT_TRUE(plays(scene("questions"), R"(
        <.><ENTER>   => 3= Akkoord? (J/N) _ | 25=<> Ingave verplicht
        j<ENTER>     => 4= Met ja? (J/N) J | 16=uitkomst 1
        <ENTER>      => 5= Akkoord? (J/N) N | 17=uitkomst 1
        +<ENTER>     => 6= Zeker? (J/N) J | 18=uitkomst 1
        <CANCEL>     => 19=uitkomst 0 cancel
                     => 25= Een vraag waar een melding over heen komt? (J/N) N
        x            => !Een vraag
        <LEFT>       => 25= Een vraag waar een melding over heen komt? (J/N) N
        <F1>x<ENTER> => !Een vraag
        <LEFT>       => 25= Een vraag waar een melding over heen komt? (J/N) N
        x            => !Een vraag
        <F1>         => 25= Een vraag waar een melding over heen komt? (J/N) N
    )"));
}

TEST(Prompts, BoxesOfTextsQuestionsAndMessages) {
    Terminal t(scene("boxes"));
    EXPECT_TRUE(t.play(R"(
        <.><F5><.> => 10=                        ┌─────────── titel ────────────┐
                   => 11=                        │ eerste regel                 │
                   => 12=                        │ tweede                       │
                   => 13=                        │ <ENTER> voor vervolg         │
                   => 14=                        └──────────────────────────────┘ | 15= | 25=
        <ENTER>    => 12=                        │ Alleen een vraag? (J/N) _    │
        n<ENTER>   => 11=                        │ Bestand is vol               │
                   => 12=                        │ Toch doorgaan? (J/N) J       │
    )"));
    EXPECT_EQ(t.bells(), 0);
    // The last box stands for no time at all: nothing of it is left. Its line is cut at 76 characters.
    EXPECT_TRUE(t.play(R"(
        <ENTER>    => 16=uitkomst 1 | 17=uitkomst 0 | 18=uitkomst 1 | 1=toetsen bewaard | !xxx
        <.>x<.>    => 20=                           ┌────────────────────────┐
                   => 21=                           │ een regel              │
                   => 22=                           │ <ENTER> voor vervolg   │
                   => 23=                           └────────────────────────┘
    )"));
    EXPECT_NE(t.raw().find(std::string(76, 'x')), std::string::npos);
    EXPECT_EQ(t.raw().find(std::string(77, 'x')), std::string::npos);
    const int bells = t.bells();
    EXPECT_TRUE(t.play(R"(
        <ENTER><.> => 20=                           │ fout                   │
                   => 21=                           │ met twee regels        │
    )"));
    EXPECT_EQ(t.bells(), bells + 1);
    EXPECT_TRUE(t.play("<ENTER><.> => 19: waarschuwing "));
    EXPECT_EQ(t.row(21), "│ " + std::string(77, 'w') + "│");
    EXPECT_EQ(t.bells(), bells + 2);
    EXPECT_TRUE(t.play("<ENTER> => 13=                            │ Even geduld a.u.b.  │"));
}

TEST(Prompts, BreakingOffALongCheck) {
    EXPECT_TRUE(plays(scene("long-check"), R"(
                         => lange controle
        abc              => 25=Alleen <CANCEL> voor onderbreken
        <CANCEL><CANCEL> =>  Onderbreken  | Akkoord? (J/N) J | 25=
        n<ENTER>         => !Akkoord
        <ESC>            => Akkoord? (J/N) J
        <ENTER>          => gestopt | vergeten
    )"));
}

TEST(Prompts, ProgressBars) {
    Terminal t(scene("bars"));
    // Never back, never beyond the end; the next one begins anew.
    EXPECT_TRUE(t.play(R"(
        <.>   => 22: voortgang  | 23,41=▒ | 23,40 reverse | 23,41 -reverse
    )"));
    EXPECT_TRUE(t.cursor().ends_with("hidden"));
    EXPECT_TRUE(t.play(R"(
        x<.>  => 22: voortgang  | 23,79 reverse | 23,80 -reverse
        x<.>  => 23= | 25,37=o | 25,44=n | 25,45=▒ | 25,40 reverse | 25,41 -reverse
        x<.>  => 25=
    )"));
    EXPECT_FALSE(t.cursor().ends_with("hidden"));
    EXPECT_TRUE(t.play("x<.> => 22: tweede  | 23,40 reverse | 23,41 -reverse"));
}

TEST(Menu, ChoosesByNumberAndByArrows) {
    // The selection goes over the width of the menu. The next round starts where the last ended.
    Terminal t(scene("menu"));
    EXPECT_TRUE(t.play(R"(
                      => 1=statusregel | 2= | 3= VOLLEDIGE ÉÉN | 4= 11 Series/etiketten | 7=
                      => 5= 12 Één klant met een tekst die niet in | 6= 13 Niet beschikbaar
                      => 8= TWEEDE | 9= 21 Laatste | 24= Uw keuze 11
                      => 4,2 reverse | 4,39 reverse | 3,2 underline | 3,2 fg 6
        <UP>          => 24= Uw keuze 21
        <DOWN><DOWN>  => 24= Uw keuze 12 | 4,2 -reverse
        <TAB>         => 24= Uw keuze 21
        <TAB>         => 24= Uw keuze 11
        14            => 24= Uw keuze 11 | 25=Ongeldige keuze
        13            => 25=Keuze niet beschikbaar | 6,2 reverse
        <ENTER><.>    => 25=Keuze niet beschikbaar | 20=gedraaid
        12            => 24= Uw keuze 12 | 20=gedraaid twee
        <BACKSPACE><ENTER> => 20=gedraaid twee twee
    )"));
}

TEST(Menu, ExplanationInformationAndOneWithoutEntriesOrTitle) {
    EXPECT_TRUE(plays(scene("menu"), R"(
        <.><F1>  => 16: keuzemogelijkheden  | 17:│ 11-21   Nummer van menukeuze
                 => 18:│ Up      Naar vorige menukeuze | 19:│ Dn      Naar volgende menukeuze
                 => 20:│ Tab     Naar eerste menukeuze van volgende rubriek | 22:│ <ENTER> voor vervolg
        <ENTER>  => 24= Uw keuze 11
        <F10>    =>  informatie  | <ENTER> voor vervolg
        <ENTER><CANCEL> => 23=Geen menubevoegdheden | 24=<ENTER> voor vervolg
        <ENTER>  => 3=  1 Zonder titel | 24= Uw keuze 1
        1        => 20=gedraaid enige
        x        => MENUHDL: errno=101
    )"));
}

TEST(Signals, LeaveAtOnceUnlessHeldOff) {
    Terminal t(scene("leaving"));
    ASSERT_TRUE(t.play("=> bijwerken"));
    t.send_signal(SIGTERM);
    EXPECT_TRUE(t.play("<.>x => exit 0")) << "goes on while an update is under way";
    EXPECT_NE(t.raw().find("bijgewerkt 1"), std::string::npos);
    EXPECT_NE(t.raw().find("netjes geeindigd"), std::string::npos);
    EXPECT_EQ(t.raw().find("wachten"), std::string::npos);
    Terminal fatal(scene("edit 5q '' ''"));
    ASSERT_TRUE(fatal.play("=> <ENTER> voor vervolg"));
    fatal.send_signal(SIGTERM);
    EXPECT_EQ(fatal.wait_exit(), 1) << "a fatal stop stays one";
}

TEST(Signals, StopAndContinueKeepTheScreen) {
    Terminal t(scene("edit 6s abc ''"));
    ASSERT_TRUE(t.play("<.>xy<.>"));
    t.resize(30, 100);
    t.send_signal(SIGTSTP);
    // Here nobody could continue it, so it goes on by itself; until it paints again it throws keys away.
    const auto painting_again = [&t] {
        const std::size_t stopped = t.raw().find("\033[?1049l");
        return stopped != std::string::npos && t.raw().find("\033[?1049h", stopped) != std::string::npos;
    };
    ASSERT_TRUE(t.wait_until(painting_again, "a stop"));
    t.send_signal(SIGCONT);
    EXPECT_TRUE(t.play(R"(
        <.>z<^A>  => 5=         xyz___ | 25=Ongeldige toets
        <ENTER>   => 15=[xyz....] changed
    )"));
}

/// Keys at random, by the ten thousand, into fields, questions, the menu, help and information: the program
/// lives, and the screen is whole afterwards. They differ with the seed.
TEST(RandomKeys, NeitherCrashNorBreakTheScreen) {
    std::mt19937 random(static_cast<unsigned>(first_seed()));
    std::istringstream words(
        "ENTER ENTER ENTER UP DOWN LEFT RIGHT HOME END INS DEL CANCEL HELP F1 F10 BACKSPACE "
        "TAB SHTAB F11 F12 ESC PGUP PGDN ^W ^H");
    const std::vector<std::string> names{std::istream_iterator<std::string>(words), {}};
    const std::string typed = "0123456789-+,.jnJNabcABC\\ ", signals("\003\021\023\030\032\034");
    Terminal t(scene("anything"));
    for (int i = 0, end = rounds(20000); i < end; i++) {
        if (i % 500 == 0) {
            ASSERT_TRUE(t.play("<.>")) << "after " << i << " keys";
        }
        const unsigned choice = random() % 8;
        // Bytes that are no text: halves of characters, control codes other than the signals.
        const char byte = static_cast<char>(random() % 256);
        if (choice < 3) {
            t.key(names[random() % names.size()]);
        } else if (choice < 7) {
            t.type(typed.substr(random() % typed.size(), 1));
        } else if (signals.find(byte) == std::string::npos) {
            t.send({&byte, 1});
        }
    }
    for (const char *seen :
         {"HELP-informatie", "keuzemogelijkheden", " informatie ", "Vraag? (J/N)", "Uw keuze"}) {
        EXPECT_NE(t.raw().find(seen), std::string::npos) << "the keys never came to " << seen;
    }
    // Out of whatever stands there, to the last field of the round.
    const auto last_field = [&t] {
        return t.cursor().starts_with("23,") && t.row(24).find("voor vervolg") == std::string::npos &&
               t.row(22).find("┘") == std::string::npos;
    };
    int tries = 0;
    do {
        ASSERT_TRUE(t.play("<HOME><HOME><ENTER><ESC><.>"));
    } while (++tries < 200 && !last_field());
    EXPECT_TRUE(t.play("<HOME>stop => 1=bovenaan | 23=    stop\n<ENTER> => exit 0"));
}

TEST(EndOfInput, EndsWithStatusOne) {
    const std::string probe = RVCHK_PROBE;
    for (const std::string &command :
         {probe + " menu </dev/null; exit $?", "printf '12' | " + probe + " edit 6s abc ''; exit $?"}) {
        Terminal t({.program = "/bin/sh", .arguments = {"-c", command}});
        EXPECT_EQ(t.wait_exit(), 1) << command;
    }
}

}  // namespace
