// The windows in which the checks speak to the operator, in the program itself.
#include <csignal>

#include "base/base.h"
#include "support/check_case.h"
#include "support/terminal.h"

namespace {

class Dialogue : public CheckCase {};

// Both mode bits are set, and the labels count as sound at the start of a session.
TEST_F(Dialogue, TheMenuLeadsToTheWindowOfUnknownTitles) {
    make({.series = 5, .customers = 5});
    shop.customers[0].title = 17;
    write();
    EXPECT_TRUE(Terminal({}).play(R"(
                => <ENTER> voor vervolg
        <ENTER> => Uw keuze
        12      => 16:Er zijn klanten aangetroffen met een titulatuurcode zonder omschrijving.
                => 17:Hiervan wordt nu een verslag afgedrukt.
                => 19:U kunt de titulatuurcodes bij deze klanten wijzigen of de omschrijving
                => 20:toevoegen via Klantenadministratie / Definieren titulatuurcodes.
                => 22:<ENTER> voor vervolg
    )"));
}

TEST_F(Dialogue, WithoutTheRebuildProgramTheIndexOfTheCodesStays) {
    make({.series = 5, .customers = 0}, {"index-ean-swapped"});
    EXPECT_TRUE(Terminal({.environment = {{"BIN", "/nergens"}}}).play(R"(
                => <ENTER> voor vervolg
        <ENTER> => Uw keuze
        12      => Programma ixreorgk niet gevonden | /nergens/ixreorgk | De index van RVEAN is niet hersteld
    )"));
}

TEST_F(Dialogue, AProgramEndedAtAQuestionLeavesNoTemporaryFiles) {
    make({.series = 5, .customers = 0}, {"ean-series-unknown"});
    Terminal t({});
    EXPECT_TRUE(t.play(R"(
                => <ENTER> voor vervolg
        <ENTER> => Uw keuze
        12      => Instore EAN-codes toekennen
    )"));
    t.send_signal(SIGTERM);
    EXPECT_EQ(t.wait_exit(), 0);
    std::string pattern = "TP*";
    EXPECT_EQ(FILES_PRESENT(pattern), 0) << pattern;
}

}  // namespace
