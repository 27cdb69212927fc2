// Keys, prompts, boxes, help and the menu as the operator meets them.
#include "dialogue.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <random>

#include "support/rounds.h"

namespace {

using Arguments = std::vector<std::string>;

Dialogue editing(const char *format, const char *value, const char *allow = "") {
    return Dialogue(Arguments{"edit", format, value, allow});
}

/// Rows from `first` on, one after another with a '/' after each.
void expect_rows(const Terminal &t, int first, std::string_view rows) {
    for (int row = first; !rows.empty(); row++) {
        const std::size_t end = rows.find('/');
        EXPECT_EQ(t.row(row), rows.substr(0, end)) << "row " << row << "\n" << t.dump();
        rows.remove_prefix(end + 1);
    }
}

TEST(Keys, MaskSlotsQueueReplay) {
    Dialogue d(Arguments{"keys"});
    ASSERT_TRUE(d.wait_mark());
    d.press("p<^S><^Q>q");
    ASSERT_TRUE(d.wait_for("tweede"));
    ASSERT_TRUE(d.settle());
    expect_rows(d, 1,
                "esc bij cancel 1/esc zonder cancel 1/f1 bij help 1/buiten het masker 0/letter als uitgang 0/"
                "zacht maar niet toegestaan 0/zacht 1/zacht gewist 0/hersteld 1/laatste eerst 50049/"
                "afgebroken 270/herhaald 545556/wacht 0/eerste 112/tweede 113/F1 |/F12|/SH_TAB|/RGHT|/x|/");
}

TEST(Keys, MacroCommandByKeyAndByMenu) {
    Dialogue d = editing("6l", "5");
    d.press("<F2>r");
    ASSERT_TRUE(d.wait_row(5, "123___"));
    d.press("<F2><INS>");
    ASSERT_TRUE(d.wait_row(25, "opnemen"));
    EXPECT_EQ(d.row(5), "         123___") << "the command typed nothing";
    d.press("<F2><DEL>");
    ASSERT_TRUE(d.wait_row(25, "verwijderen"));
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(15), "[123] changed enter");
}

TEST(Keys, InterruptLosesNoKeyReadAtTheSameMoment) {
    Dialogue d = editing("6l", "5");
    d.press("<F2>i");
    EXPECT_TRUE(d.wait_row(5, "123___"));
}

struct FatalFormat {
    const char *format;
    const char *value;
    const char *message;
    const char *lower, *upper;
};

TEST(Field, FaultsOfTheFormatStopTheProgram) {
    const FatalFormat rows[] = {
        {"256s", "", "r=5, c=10, cs=256s --> Lengte > 255 tekens", "0", "-1"},
        {"4.2l", "", "cs=4.2l --> precision alleen bij f, C, S en X", "0", "-1"},
        {"6.2B", "", "precision alleen bij f, C, S en X", "0", "-1"},
        {"", "", "cs= --> ongeldige vartype", "0", "-1"},
        {"5q", "", "cs=5q --> ongeldige vartype", "0", "-1"},
        {"5s[abc,E", "", "cs=5s[abc,E --> [ zonder ]", "0", "-1"},
        {"4d,P", "0", "cs=4d,P --> ongeldig bereik", "10000", "20000"},
        {"8D", "", "ongeldig bereik", "1", "29220"},
        {"3s", "abcd", "cs=3s --> STRING fout", "0", "-1"},
    };
    for (const FatalFormat &row : rows) {
        SCOPED_TRACE(row.format);
        Dialogue d(Arguments{"edit", row.format, row.value, "", row.lower, row.upper});
        ASSERT_TRUE(d.wait_for(row.message));
        EXPECT_TRUE(d.wait_for("PROGRAMMA AFGEBROKEN"));
        d.press("x<ENTER>");
        EXPECT_EQ(d.wait_exit(), 1);
    }
}

TEST(Field, QuitEndsTheProgramAtTheFirstPosition) {
    Dialogue d = editing("6s", "abc");
    ASSERT_TRUE(d.settle("x"));
    d.key("QUIT");
    ASSERT_TRUE(d.settle());
    EXPECT_EQ(d.row(25), "Ongeldige toets") << "behind it, it is a character that means nothing";
    ASSERT_TRUE(d.settle("<HOME>"));
    d.key("QUIT");
    ASSERT_TRUE(d.wait_for("EXIT-toets gebruikt"));
    d.key("ENTER");
    EXPECT_EQ(d.wait_exit(), 1);
}

TEST(Field, AmountWithoutCents) {
    TerminalOptions options = dialogue_options({"edit", "8B,ZP", "1234", ""});
    options.environment["KPOS"] = "";
    Dialogue d(options);
    ASSERT_TRUE(d.settle("12.<ENTER>"));
    EXPECT_EQ(d.row(15), "[12] changed enter");
}

TEST(Field, BytesOfAnotherCharacterSetPassUnchanged) {
    TerminalOptions options = dialogue_options({"edit", "20.6S",
                                                "\x82"
                                                "bcdefghi",
                                                ""});
    options.environment["LC_ALL"] = "C";
    options.encoding = "CP850";
    Dialogue d(options);
    ASSERT_TRUE(d.wait_row(5, "ébcdef"));
    ASSERT_TRUE(d.settle("<RIGHT>ü<END>"));
    EXPECT_EQ(d.row(5), "        <defghi") << "this terminal has no arrow of one byte";
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(15), "[éücdefghi............] changed enter");
}

struct HelpPage {
    const char *format;
    const char *allow;
    std::string text;  // inner rows 2 to 10
};

TEST(Help, ExplainsTheFormat) {
    const std::string expects = "Er wordt ingave van een ", digits = "Alle cijfers  toegestaan/";
    const std::string must = "U moet  1  posities vullen//";
    const HelpPage pages[] = {
        {"3d,P", "",
         expects + "getal  verwacht/U mag  3  posities vullen//" + digits + "////Bereik : 1 t/m 999/"},
        {"6.2f,EZPN", "up tab cancel",
         expects + "getal  verwacht/U moet  6  posities vullen , waarvan   2  cijfers na de komma//" +
             digits +
             "/De volgende functietoetsen zijn toe te passen :/Cursor Up, Tab, CANCEL//"
             "Bereik : -99.99 t/m 999.99/"},
        {"1c[+*C],EIAU", "", expects + "tekst  verwacht/" + must + "* + C   toegestaan//////"},
        {"1c[^.,]", "", expects + "tekst  verwacht/U mag  1  posities vullen//, .   niet toegestaan//////"},
        {"10D", "", expects + "datum  verwacht/U mag  10  posities vullen   (DDMMJJ)//" + digits + "/////"},
        {"b", "", "Er wordt ingave Ja of Nee  verwacht/" + must + "J, N  toegestaan//////"},
        {"4x", "",
         expects + "hexadecimale waarde  verwacht/U mag  4  posities vullen//"
                   "Hexadecimale tekens  toegestaan//////"},
    };
    for (const HelpPage &page : pages) {
        SCOPED_TRACE(page.format);
        Dialogue d = editing(page.format, page.format[1] == 'D' ? "01032026" : "0", page.allow);
        ASSERT_TRUE(d.settle("<HELP>"));
        EXPECT_NE(d.row(9).find(" Ingave HELP-informatie "), std::string::npos) << d.dump();
        std::string text;
        for (int row = 11; row < 20; row++) {
            const std::string line = d.row(row);
            const auto start = line.find("│");
            ASSERT_NE(start, std::string::npos) << d.dump();
            std::string inner = line.substr(start + 4, line.rfind("│") - start - 4);
            inner.erase(inner.find_last_not_of(' ') + 1);
            text += inner + "/";
        }
        EXPECT_EQ(text, page.text);
        EXPECT_EQ(d.cursor().row, 21);
        ASSERT_TRUE(d.settle("x"));
        EXPECT_EQ(d.row(25), "Ongeldige ingave");
        ASSERT_TRUE(d.settle("<ENTER>"));
        EXPECT_EQ(d.row(15), "") << "the field goes on";
        ASSERT_TRUE(d.settle("<F1><ENTER>"));
        ASSERT_TRUE(d.settle("<ENTER>"));
    }
}

TEST(Prompts, QuestionsWithAndWithoutPreset) {
    Dialogue d(Arguments{"questions"});
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(3), " Akkoord? (J/N) _");
    EXPECT_EQ(d.row(25), "<> Ingave verplicht");
    ASSERT_TRUE(d.settle("j<ENTER>"));
    EXPECT_EQ(d.row(4), " Met ja? (J/N) J");
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(5), " Akkoord? (J/N) N");
    ASSERT_TRUE(d.settle("+<ENTER>"));
    EXPECT_EQ(d.row(6), " Zeker? (J/N) J");
    ASSERT_TRUE(d.settle("<CANCEL>"));
    expect_rows(d, 16, "uitkomst 1 enter/uitkomst 1 enter/uitkomst 1 enter/uitkomst 0 cancel/");
    // On the last line the question comes back when a message goes, that of the field and that of its help.
    const std::string question = " Een vraag waar een melding over heen komt? (J/N) ";
    EXPECT_EQ(d.row(25), question + "N");
    for (const auto &[wrong, right] : {std::pair{"x", "<LEFT>"}, {"<F1>x<ENTER>", "<LEFT>"}, {"x", "<F1>"}}) {
        ASSERT_TRUE(d.settle(wrong));
        EXPECT_EQ(d.row(25).find(question), std::string::npos);
        ASSERT_TRUE(d.settle(right));
        EXPECT_EQ(d.row(25), question + "N");
    }
}

TEST(Prompts, FlashBoxes) {
    Dialogue d(Arguments{"flashes"});
    ASSERT_TRUE(d.settle("<F5>"));
    EXPECT_EQ(d.row(10), std::string(24, ' ') + "┌─────────── titel ────────────┐") << d.dump();
    const std::string left(24, ' ');
    expect_rows(d, 11,
                left + "│ eerste regel                 │/" + left + "│ tweede                       │/" +
                    left + "│ <ENTER> voor vervolg         │/" + left + "└──────────────────────────────┘//");
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(12), "                        │ Alleen een vraag? (J/N) _    │") << d.dump();
    ASSERT_TRUE(d.settle("n<ENTER>"));
    EXPECT_EQ(d.row(11), "                        │ Bestand is vol               │") << d.dump();
    EXPECT_EQ(d.row(12), "                        │ Toch doorgaan? (J/N) J       │");
    ASSERT_TRUE(d.settle("<ENTER>"));
    ASSERT_TRUE(d.wait_for("toetsen bewaard"));
    expect_rows(d, 16, "uitkomst 1 enter/uitkomst 0 enter/uitkomst 1 enter/uitkomst 1 enter/");
    // The last box stood for no time at all; nothing of it is left.
    EXPECT_EQ(d.screen().find("xxx"), std::string::npos);
    EXPECT_NE(d.raw().find(std::string(76, 'x')), std::string::npos) << "a line is cut at 76 characters";
    EXPECT_EQ(d.raw().find(std::string(77, 'x')), std::string::npos);

    Dialogue impossible(Arguments{"impossible-flash"});
    EXPECT_TRUE(impossible.wait_for("FFLASH invalid option [-3]"));
}

TEST(Prompts, MessageBoxes) {
    Dialogue d(Arguments{"boxes"});
    ASSERT_TRUE(d.settle("x"));
    const std::string left(27, ' ');
    expect_rows(d, 20,
                left + "┌────────────────────────┐/" + left + "│ een regel              │/" + left +
                    "│ <ENTER> voor vervolg   │/" + left + "└────────────────────────┘/");
    EXPECT_EQ(d.bells(), 0);
    ASSERT_TRUE(d.settle("<ENTER>"));
    expect_rows(d, 19,
                left + "┌────────────────────────┐/" + left + "│ fout                   │/" + left +
                    "│ met twee regels        │/");
    EXPECT_EQ(d.bells(), 1);
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_NE(d.row(19).find(" waarschuwing "), std::string::npos) << d.dump();
    EXPECT_EQ(d.row(21), "│ " + std::string(77, 'w') + "│");
    EXPECT_EQ(d.bells(), 2);
    d.press("<ENTER>");
    ASSERT_TRUE(d.wait_mark());
    EXPECT_EQ(d.row(13), "                            │ Even geduld a.u.b.  │") << d.dump();
}

TEST(Prompts, BreakingOffALongCheck) {
    Dialogue d(Arguments{"long-check"});
    ASSERT_TRUE(d.wait_for("lange controle"));
    d.press("abc");
    ASSERT_TRUE(d.wait_row(25, "Alleen <CANCEL> voor onderbreken"));
    d.press("<CANCEL><CANCEL>");
    ASSERT_TRUE(d.wait_for(" Onderbreken "));
    ASSERT_TRUE(d.wait_for("Akkoord? (J/N) J"));
    ASSERT_TRUE(d.settle());
    EXPECT_EQ(d.row(25), "") << "neither the message nor the busy text";
    d.press("n<ENTER>");
    ASSERT_TRUE(d.wait_gone("Akkoord"));
    d.press("<ESC>");
    ASSERT_TRUE(d.wait_for("Akkoord? (J/N) J"));
    d.press("<ENTER>");
    ASSERT_TRUE(d.wait_for("gestopt"));
    ASSERT_TRUE(d.wait_for("vergeten"));
}

TEST(Prompts, ProgressBars) {
    Dialogue d(Arguments{"bars"});
    ASSERT_TRUE(d.wait_mark());
    EXPECT_NE(d.row(22).find(" voortgang "), std::string::npos) << d.dump();
    const auto reversed = [&d](int row) {
        int cells = 0;
        for (int col = 1; col <= 80; col++) {
            cells += d.attr(row, col).reverse ? 1 : 0;
        }
        return cells;
    };
    EXPECT_EQ(reversed(23), 39);
    EXPECT_EQ(d.cell(23, 41), "▒");
    EXPECT_FALSE(d.cursor().visible);
    d.press("x");
    ASSERT_TRUE(d.wait_mark());
    EXPECT_EQ(reversed(23), 78) << "never back, never beyond the end";
    d.press("x");
    ASSERT_TRUE(d.wait_mark());
    EXPECT_EQ(reversed(25), 40);
    EXPECT_EQ(d.row(23), "");
    EXPECT_EQ(d.row(25).substr(36, 8), "onderaan") << d.dump();
    EXPECT_EQ(d.cell(25, 45), "▒");
    d.press("x");
    ASSERT_TRUE(d.wait_mark());
    EXPECT_EQ(d.row(25), "");
    EXPECT_TRUE(d.cursor().visible);
}

TEST(Menu, ChoosesByNumberAndByArrows) {
    Dialogue d(Arguments{"menu"});
    ASSERT_TRUE(d.settle());
    for (const auto &[row, text] : {std::pair{1, "statusregel"},
                                    {2, ""},
                                    {3, " VOLLEDIGE ÉÉN"},
                                    {4, " 11 Series/etiketten"},
                                    {5, " 12 Één klant met een tekst die niet in"},
                                    {6, " 13 Niet beschikbaar"},
                                    {7, ""},
                                    {8, " TWEEDE"},
                                    {9, " 21 Laatste"}}) {
        EXPECT_EQ(d.row(row), text);
    }
    EXPECT_EQ(d.row(24), " Uw keuze 11");
    EXPECT_TRUE(d.attr(4, 2).reverse);
    EXPECT_TRUE(d.attr(4, 39).reverse) << "over the width of the menu";
    EXPECT_TRUE(d.attr(3, 2).underline || d.attr(3, 2).fg != d.attr(4, 2).fg);
    ASSERT_TRUE(d.settle("<UP>"));
    EXPECT_EQ(d.row(24), " Uw keuze 21");
    ASSERT_TRUE(d.settle("<DOWN><DOWN>"));
    EXPECT_EQ(d.row(24), " Uw keuze 12");
    EXPECT_FALSE(d.attr(4, 2).reverse);
    ASSERT_TRUE(d.settle("<TAB>"));
    EXPECT_EQ(d.row(24), " Uw keuze 21");
    ASSERT_TRUE(d.settle("<TAB>"));
    EXPECT_EQ(d.row(24), " Uw keuze 11");
    ASSERT_TRUE(d.settle("14"));
    EXPECT_EQ(d.row(25), "Ongeldige keuze");
    EXPECT_EQ(d.row(24), " Uw keuze 11");
    ASSERT_TRUE(d.settle("13"));
    EXPECT_EQ(d.row(25), "Keuze niet beschikbaar");
    EXPECT_TRUE(d.attr(6, 2).reverse) << "the entry stays selected";
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(25), "Keuze niet beschikbaar");
    EXPECT_EQ(d.row(20), "gedraaid 0");
    ASSERT_TRUE(d.settle("12"));
    EXPECT_EQ(d.row(20), "gedraaid 2");
    EXPECT_EQ(d.row(24), " Uw keuze 12") << "the next round starts where the last ended";
    ASSERT_TRUE(d.settle("<BACKSPACE><ENTER>"));
    EXPECT_EQ(d.row(20), "gedraaid 22");
}

TEST(Menu, ExplanationInformationAndEnd) {
    Dialogue d(Arguments{"menu"});
    ASSERT_TRUE(d.settle("<F1>"));
    EXPECT_NE(d.row(16).find(" keuzemogelijkheden "), std::string::npos) << d.dump();
    EXPECT_EQ(d.row(17).substr(3, 34), " 11-21   Nummer van menukeuze     ") << d.dump();
    EXPECT_EQ(d.row(20).substr(3, 51), " Tab     Naar eerste menukeuze van volgende rubriek");
    EXPECT_EQ(d.row(22).substr(3, 21), " <ENTER> voor vervolg");
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(24), " Uw keuze 11");
    ASSERT_TRUE(d.settle("<F10>"));
    EXPECT_NE(d.row(11).find("<ENTER> voor vervolg"), std::string::npos) << d.dump();
    ASSERT_TRUE(d.settle("<ENTER><CANCEL>"));
    ASSERT_TRUE(d.wait_for("einde van het menu"));
}

TEST(Menu, WithoutEntriesOrTitle) {
    Dialogue d(Arguments{"empty-menu"});
    ASSERT_TRUE(d.settle());
    EXPECT_EQ(d.row(23), "Geen menubevoegdheden");
    EXPECT_EQ(d.row(24), "<ENTER> voor vervolg");
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(3), "  1 Zonder titel");
    EXPECT_EQ(d.row(24), " Uw keuze 1");
    ASSERT_TRUE(d.settle("1"));
    EXPECT_EQ(d.row(20), "gedraaid 1");
    d.press("x");
    EXPECT_TRUE(d.wait_for("MENUHDL: errno=101"));
}

TEST(Signals, LeaveAtOnceUnlessHeldOff) {
    Dialogue d(Arguments{"leaving"});
    ASSERT_TRUE(d.wait_for("bijwerken"));
    d.send_signal(SIGTERM);
    ASSERT_TRUE(d.settle()) << "goes on while an update is under way";
    d.press("x");
    EXPECT_EQ(d.wait_exit(), 0);
    EXPECT_NE(d.raw().find("bijgewerkt 1"), std::string::npos);
    EXPECT_NE(d.raw().find("netjes geeindigd"), std::string::npos);
    EXPECT_EQ(d.raw().find("wachten"), std::string::npos);

    Dialogue waiting(Arguments{"menu"});
    ASSERT_TRUE(waiting.settle());
    waiting.send_signal(SIGHUP);
    EXPECT_EQ(waiting.wait_exit(), 0);
    Dialogue checking(Arguments{"long-check"});
    ASSERT_TRUE(checking.wait_for("lange controle"));
    checking.send_signal(SIGTERM);
    EXPECT_EQ(checking.wait_exit(), 0);
    Dialogue fatal = editing("5q", "");
    ASSERT_TRUE(fatal.wait_for("ongeldige vartype"));
    fatal.send_signal(SIGTERM);
    EXPECT_EQ(fatal.wait_exit(), 1) << "a fatal stop stays one";
}

TEST(Signals, StopAndContinueKeepTheScreen) {
    Dialogue d = editing("6s", "abc");
    ASSERT_TRUE(d.settle("xy"));
    d.resize(30, 100);
    d.send_signal(SIGTSTP);
    // Here nobody could continue it, so it goes on by itself; until it paints again it throws keys away.
    const auto painting_again = [&d] {
        const std::string output = d.raw();
        const auto stopped = output.find("\033[?1049l");
        return stopped != std::string::npos && output.find("\033[?1049h", stopped) != std::string::npos;
    };
    ASSERT_TRUE(d.wait_until(painting_again, "a stop"));
    d.send_signal(SIGCONT);
    ASSERT_TRUE(d.settle("z<^A>"));
    EXPECT_EQ(d.row(5), "         xyz___");
    EXPECT_EQ(d.row(25), "Ongeldige toets") << "the screen keeps its size";
    ASSERT_TRUE(d.settle("<ENTER>"));
    EXPECT_EQ(d.row(15), "[xyz....] changed enter");
}

/// Keys at random, by the ten thousand, into fields, questions, the menu, help and information: the program
/// lives, and the screen is whole afterwards. They differ with the seed.
TEST(RandomKeys, NeitherCrashNorBreakTheScreen) {
    const int count = rounds(20000);
    std::mt19937 random(static_cast<unsigned>(first_seed()));
    const std::vector<std::string> names{"ENTER",  "ENTER", "ENTER", "UP",  "DOWN",      "LEFT", "RIGHT",
                                         "HOME",   "END",   "INS",   "DEL", "BACKSPACE", "TAB",  "SHTAB",
                                         "CANCEL", "HELP",  "F1",    "F10", "F11",       "F12",  "ESC",
                                         "PGUP",   "PGDN",  "^W",    "^H"};
    Dialogue d(Arguments{"anything"});
    for (int i = 1; i <= count; i++) {
        const unsigned choice = random() % 8;
        if (choice < 3) {
            d.key(names[random() % names.size()]);
        } else if (choice == 7) {
            // Bytes that are no text: halves of characters, control codes other than the signals.
            const char byte = static_cast<char>(random() % 256);
            const unsigned char code = static_cast<unsigned char>(byte);
            if (code != 3 && code != 17 && code != 19 && code != 24 && code != 26 && code != 28) {
                d.send({&byte, 1});
            }
        } else {
            const std::string typed = "0123456789-+,.jnJNabcABC\\ ";
            d.type(typed.substr(random() % typed.size(), 1));
        }
        if (i % 500 == 0) {
            ASSERT_TRUE(d.settle()) << "after " << i << " keys";
        }
    }
    for (const char *seen :
         {"HELP-informatie", "keuzemogelijkheden", " informatie ", "Vraag? (J/N)", "Uw keuze"}) {
        EXPECT_NE(d.raw().find(seen), std::string::npos) << "the keys never came to " << seen;
    }
    // Out of whatever stands there, to the last field of the round.
    const std::string end = "<HOME>stop<ENTER>";
    bool ended = false;
    for (int i = 0; i < 200 && !ended; i++) {
        const std::string field = d.row(23);
        const bool last = d.cursor().row == 23 && d.row(24).find("voor vervolg") == std::string::npos;
        if (last && d.row(22).find("┘") == std::string::npos) {
            EXPECT_EQ(d.row(1), "bovenaan");
            d.press(end);
            ended = d.wait_exit() == 0;
            break;
        }
        ASSERT_TRUE(d.settle("<HOME><HOME><ENTER><ESC>")) << d.dump();
    }
    EXPECT_TRUE(ended) << d.dump();
}

TEST(EndOfInput, EndsWithStatusOne) {
    TerminalOptions options = dialogue_options({});
    const std::string probe = options.program;
    options.program = "/bin/sh";
    options.arguments = {"-c", probe + " menu < /dev/null; exit $?"};
    Terminal from_nothing(options);
    EXPECT_EQ(from_nothing.wait_exit(), 1);
    options.arguments = {"-c", "printf '12' | " + probe + " edit 6s abc ''; exit $?"};
    Terminal from_pipe(options);
    EXPECT_EQ(from_pipe.wait_exit(), 1);
}

}  // namespace
