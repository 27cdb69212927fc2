// Keyboard macros in the running program.
#include "print/macros.h"
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

class Macro : public RunCase {
protected:
    void SetUp() override {
        RunCase::SetUp();
        make();
        fs::remove("MACRO.TXT");
    }
    /// Records `typed` (keys of a script) as the macro of `letter`, from the menu.
    static void record(Terminal &t, const std::string &letter, const std::string &typed) {
        ASSERT_TRUE(t.play("<F2><INS> => Macro Opnemen | @10,33\n" + letter + " => @12,27\nvan " + letter +
                           "<F2> => Druk de gewenste toetsen nu in\n" + typed +
                           "<F2> => !Druk de gewenste | !van " + letter + "\n<ESC> => !Macro Opnemen"));
    }
    /// Looks at the stored macro of a key, and may change it behind the program's back.
    static void change(char key, const std::function<void(MacroRecord &)> &how) {
        ICB *icb = IXOPEN("MACRO", ix_shared);
        MacroRecord record{};
        record.key = static_cast<std::uint16_t>(key);
        EXPECT_TRUE(IXREAD(icb, &record));
        how(record);
        IXWRITE(icb, &record);
        IXCLOSE(icb);
    }
};

// Keys that only move the choice start no check, which would take the keys typed meanwhile.
TEST_F(Macro, IsRecordedReplayedReplacedChosenAndDeleted) {
    Terminal t = start();
    reach_menu(t);
    EXPECT_TRUE(t.play(R"(
        <F2>a  => 11:Macro a is niet aanwezig ! | 12:Macro toevoegen (J/N) ?
        n      => !niet aanwezig
    )"));
    record(t, "A", "<DOWN><DOWN>");
    // A yes to the question records with the key filled in, and replaces nothing else.
    EXPECT_TRUE(t.play(R"(
        <F2>a  => Uw keuze 13
        <F2>b  => Macro b is niet aanwezig
        j      => 10:Activerende toets :  b
        <F2>   => Opname
        <CANCEL><DOWN><SHTAB><F2> => !Opname
        <ESC>  => !Macro Opnemen
    )"));
    change('b', [](MacroRecord &record) {
        EXPECT_EQ(record.count, 3);
        EXPECT_EQ(record.keys[0], '/');
        EXPECT_EQ(record.keys[2], KEY_BTAB);
    });
    record(t, "a", "<UP>");
    record(t, "y", "<DOWN><DOWN>");
    // The menu comes after three seconds. <ENTER> does not delete.
    EXPECT_TRUE(t.play(R"(
        <F2><DEL>           => 5:0      a     van a | 6:0      b      | 7:0      y     van y
        <ENTER><DOWN><DEL>  => !0      b
        <CANCEL>            => !Macro Lijst
        <F2>A               => Uw keuze 12
        <F2>                => Macro menu
        u                   => 5:0      a     van a | 6:0      y     van y
        <DOWN><F3>          => Uw keuze 11
    )"));
}

TEST_F(Macro, HoldsAHundredKeysAndRefusesDamagedOnes) {
    const std::function<void(MacroRecord &)> damages[] = {
        [](MacroRecord &record) { record.count = 101; },
        [](MacroRecord &record) { record.keys[1] = 0; },
        [](MacroRecord &record) { record.keys[0] = 0x7fff; },
    };
    Terminal t = start();
    reach_menu(t);
    EXPECT_TRUE(t.play("<F2><INS> => @10,33\nm => @12,27\n<F2> => Opname\n" + std::string(100, '7') +
                       " => !Opname\n<ESC> => !Macro Opnemen"));
    change('m',
           [](const MacroRecord &record) { EXPECT_TRUE(record.count == 100 && record.keys[99] == '7'); });
    record(t, "q", "13");
    for (const auto &damage : damages) {
        change('q', damage);
        EXPECT_TRUE(t.play("<F2>q => Macro q is beschadigd | Uw keuze 11\n<DOWN><UP> => !beschadigd"));
        change('q', [](MacroRecord &record) {
            record.count = 2;
            record.keys[0] = KEY_DOWN;
            record.keys[1] = 13;
        });
    }
    // Return keys of other programs, and an index that has to be made again.
    fs::remove("MACRO.INX");
    EXPECT_TRUE(t.play("<F2>q => !Uw keuze"));
}

TEST_F(Macro, TwoProgramsRecordAtTheSameTime) {
    fs::create_directory("macros");
    const TerminalOptions elsewhere{.environment = {{"MACRO", "macros"}}};
    Terminal one = start(elsewhere), two = start(elsewhere);
    reach_menu(one);
    reach_menu(two);
    record(one, "a", "12");
    record(two, "b", "13");
    record(one, "c", "12");
    record(two, "d", "13");
    EXPECT_TRUE(fs::exists("macros/MACRO.TXT"));
    EXPECT_TRUE(one.play(R"(
        <F2><DEL> => 5:0      a     van a | 6:0      b     van b | 7:0      c     van c | 8:0      d     van d
    )"));
}

// It starts entry 11, leaves its list of errors, has them mended; then starts it again, leaves its summary
// and shows that it is through.
TEST_F(Macro, ReplaysACheckWithItsRepair) {
    make([](Shop &shop) { ASSERT_TRUE(spoil_shop(shop, "label-orphan-unknown", 1)); });
    Terminal t = start();
    reach_menu(t);
    record(t, "r", "<ENTER><ESC>j<ENTER><ENTER><ESC><DOWN>");
    const auto date_of_labels = [this] {
        const auto row = static_cast<std::size_t>(region_rows.offset(row_dates));
        return get("RVSYS.TXT").substr(row + offsetof(SysRow19, labels), 2);
    };
    EXPECT_EQ(date_of_labels(), std::string(2, '\0'));
    EXPECT_TRUE(t.play("<F2>r => Uw keuze 12"));
    EXPECT_NE(date_of_labels(), std::string(2, '\0'));
}

TEST_F(Macro, GoesOnInTheNextProgramOnTheLine) {
    Terminal t = start(
        {.program = "/bin/sh", .arguments = {"-c", RVCHK_PROGRAM "; ls MAC*.TMP; exec " RVCHK_PROGRAM}});
    reach_menu(t);
    // The first program leaves at the second key; the next one gets the rest.
    record(t, "n", "<DOWN><ESC><ENTER><DOWN><DOWN>");
    EXPECT_TRUE(t.play("<F2>n => Uw keuze 13\n<CANCEL> => exit 0"));
    EXPECT_NE(t.raw().find(".TMP"), std::string::npos);
    for (const auto &entry : fs::directory_iterator(".")) {
        EXPECT_NE(entry.path().extension(), ".TMP") << entry.path();
    }
}

}  // namespace
