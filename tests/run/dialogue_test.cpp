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
    TerminalOptions options;
    options.program = RVCHK_PROGRAM;
    Terminal t(options);
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Uw keuze"));
    t.type("12");
    const std::pair<int, const char *> lines[] = {
        {16, "Er zijn klanten aangetroffen met een titulatuurcode zonder omschrijving."},
        {17, "Hiervan wordt nu een verslag afgedrukt."},
        {19, "U kunt de titulatuurcodes bij deze klanten wijzigen of de omschrijving"},
        {20, "toevoegen via Klantenadministratie / Definieren titulatuurcodes."},
        {22, "<ENTER> voor vervolg"},
    };
    for (const auto &[row_number, text] : lines) {
        EXPECT_TRUE(t.wait_row(row_number, text)) << t.dump();
    }
}

TEST_F(Dialogue, WithoutTheRebuildProgramTheIndexOfTheCodesStays) {
    make({.series = 5, .customers = 0}, {"index-ean-swapped"});
    TerminalOptions options{.program = RVCHK_PROGRAM};
    options.environment["BIN"] = "/nergens";
    Terminal t(options);
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Uw keuze"));
    t.type("12");
    EXPECT_TRUE(t.wait_for("Programma ixreorgk niet gevonden")) << t.dump();
    EXPECT_TRUE(t.wait_for("/nergens/ixreorgk")) << t.dump();
    EXPECT_TRUE(t.wait_for("De index van RVEAN is niet hersteld")) << t.dump();
}

TEST_F(Dialogue, AProgramEndedAtAQuestionLeavesNoTemporaryFiles) {
    make({.series = 5, .customers = 0}, {"ean-series-unknown"});
    Terminal t({.program = RVCHK_PROGRAM});
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Uw keuze"));
    t.type("12");
    ASSERT_TRUE(t.wait_for("Instore EAN-codes toekennen")) << t.dump();
    kill(t.pid(), SIGTERM);
    EXPECT_EQ(t.wait_exit(), 0);
    std::string pattern = "TP*";
    EXPECT_EQ(FILES_PRESENT(pattern), 0) << pattern;
}

}  // namespace
