// Keyboard macros in the running program.
#include <algorithm>

#include "print/macros.h"
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

class Macro : public RunCase {
protected:
    void SetUp() override {
        RunCase::SetUp();
        make();
        fs::remove(directory / "MACRO.TXT");
    }
    /// Records `typed` (a key name, or a text) as the macro of `letter`, from the menu.
    static void record(Terminal &t, const std::string &letter, const std::vector<std::string> &typed) {
        t.keys({"F2", "INS"});
        ASSERT_TRUE(t.wait_for("Macro Opnemen"));
        ASSERT_TRUE(t.wait_cursor(10, 33));
        t.type(letter);
        ASSERT_TRUE(t.wait_cursor(12, 27));
        t.type("van " + letter);
        t.key("F2");
        ASSERT_TRUE(t.wait_for("Druk de gewenste toetsen nu in"));
        for (const std::string &each : typed) {
            each.size() > 1 ? t.key(each) : t.type(each);
        }
        t.key("F2");
        ASSERT_TRUE(t.wait_gone("Druk de gewenste"));
        t.key("ESC");
        ASSERT_TRUE(t.wait_gone("Macro Opnemen"));
    }
    /// Changes the stored macro of a key behind the program's back.
    void change(char key, const std::function<void(MacroRecord &)> &how) const {
        const fs::path before = fs::current_path();
        fs::current_path(directory);
        ICB *icb = IXOPEN("MACRO", ix_shared);
        MacroRecord record{};
        record.key = static_cast<std::uint16_t>(key);
        EXPECT_TRUE(IXREAD(icb, &record));
        how(record);
        IXWRITE(icb, &record);
        IXCLOSE(icb);
        fs::current_path(before);
    }
};

TEST_F(Macro, IsRecordedReplayedReplacedAndDeleted) {
    Terminal t = start();
    reach_menu(t);
    t.key("F2");
    t.type("a");
    ASSERT_TRUE(t.wait_row(11, "Macro a is niet aanwezig !"));
    EXPECT_TRUE(t.wait_row(12, "Macro toevoegen (J/N) ?"));
    t.type("n");
    ASSERT_TRUE(t.wait_gone("niet aanwezig"));
    // Moving to the choice shows it without starting its checks, which would take the keys typed meanwhile.
    record(t, "A", {"DOWN", "DOWN"});
    t.key("F2");
    t.type("a");
    EXPECT_TRUE(t.wait_for("Uw keuze 13"));
    // A yes to the question records with the key filled in, and replaces nothing else.
    t.key("F2");
    t.type("b");
    ASSERT_TRUE(t.wait_for("Macro b is niet aanwezig"));
    t.type("j");
    ASSERT_TRUE(t.wait_row(10, "Activerende toets :  b"));
    t.key("F2");
    ASSERT_TRUE(t.wait_for("Opname"));
    t.keys({"CANCEL", "DOWN", "SHTAB", "F2"});
    ASSERT_TRUE(t.wait_gone("Opname"));
    t.key("ESC");
    change('b', [](MacroRecord &record) {
        EXPECT_EQ(record.count, 3);
        EXPECT_EQ(record.keys[0], '/');
        EXPECT_EQ(record.keys[2], KEY_BTAB);
    });
    record(t, "a", {"UP"});
    t.keys({"F2", "DEL"});
    ASSERT_TRUE(t.wait_row(6, "0      b     "));
    EXPECT_TRUE(t.wait_row(5, "0      a     van a"));
    t.keys({"ENTER", "DOWN", "DEL"});
    ASSERT_TRUE(t.wait_gone("0      b"));
    t.key("CANCEL");
    ASSERT_TRUE(t.wait_gone("Macro Lijst"));
    t.key("F2");
    t.type("A");
    EXPECT_TRUE(t.wait_for("Uw keuze 12"));
}

TEST_F(Macro, IsChosenFromTheMenuThatComesAfterThreeSeconds) {
    Terminal t = start();
    reach_menu(t);
    record(t, "x", {"DOWN"});
    record(t, "y", {"DOWN", "DOWN"});
    t.key("F2");
    ASSERT_TRUE(t.wait_for("Macro menu"));
    t.type("u");
    ASSERT_TRUE(t.wait_row(6, "0      y     van y"));
    t.keys({"DOWN", "F3"});
    EXPECT_TRUE(t.wait_for("Uw keuze 13"));
}

TEST_F(Macro, DamagedOrUnknownKeysAreRefused) {
    const std::function<void(MacroRecord &)> damages[] = {
        [](MacroRecord &record) { record.count = 101; },
        [](MacroRecord &record) { record.count = 0xffff; },
        [](MacroRecord &record) { record.keys[1] = 0; },
        [](MacroRecord &record) { record.keys[0] = 0x7fff; },
    };
    Terminal t = start();
    reach_menu(t);
    for (const auto &damage : damages) {
        record(t, "q", {"1", "3"});
        change('q', damage);
        t.key("F2");
        t.type("q");
        ASSERT_TRUE(t.wait_for("Macro q is beschadigd")) << t.dump();
        EXPECT_TRUE(t.wait_for("Uw keuze 11"));
        t.keys({"DOWN", "UP"});
        ASSERT_TRUE(t.wait_gone("beschadigd"));
    }
    // Return keys of other programs, and an index that has to be made again.
    change('q', [](MacroRecord &record) {
        record.count = 2;
        record.keys[0] = KEY_DOWN;
        record.keys[1] = 13;
    });
    fs::remove(directory / "MACRO.INX");
    t.key("F2");
    t.type("q");
    EXPECT_TRUE(t.wait_gone("Uw keuze 11"));
}

TEST_F(Macro, RecordingEndsAtAHundredKeys) {
    Terminal t = start();
    reach_menu(t);
    record(t, "l", std::vector<std::string>(99, "DOWN"));
    t.keys({"F2", "INS"});
    ASSERT_TRUE(t.wait_cursor(10, 33));
    t.type("m");
    t.key("F2");
    ASSERT_TRUE(t.wait_for("Opname"));
    t.type(std::string(100, '7'));
    ASSERT_TRUE(t.wait_gone("Opname"));
    t.key("ESC");
    change('m', [](const MacroRecord &record) {
        EXPECT_EQ(record.count, 100);
        EXPECT_EQ(record.keys[99], '7');
    });
    change('l', [](const MacroRecord &record) { EXPECT_EQ(record.count, 99); });
}

TEST_F(Macro, TwoProgramsRecordAtTheSameTime) {
    fs::create_directory(directory / "macros");
    TerminalOptions elsewhere;
    elsewhere.environment = {{"MACRO", "macros"}};
    Terminal one = start(elsewhere);
    Terminal two = start(elsewhere);
    reach_menu(one);
    reach_menu(two);
    const std::string letters = "abcdefgh";
    for (std::size_t i = 0; i < letters.size(); i += 2) {
        record(one, letters.substr(i, 1), {"1", "2"});
        record(two, letters.substr(i + 1, 1), {"1", "3"});
    }
    EXPECT_TRUE(there("macros/MACRO.TXT"));
    one.keys({"F2", "DEL"});
    for (std::size_t i = 0; i < letters.size(); i++) {
        EXPECT_TRUE(one.wait_row(5 + static_cast<int>(i), "0      " + letters.substr(i, 1) + "     van"));
    }
}

TEST_F(Macro, ReplaysACheckWithItsRepair) {
    make([](Shop &shop) { ASSERT_TRUE(spoil_shop(shop, "label-orphan-unknown", 1)); });
    Terminal t = start();
    reach_menu(t);
    // Starts entry 11, leaves its list of errors, has them mended; then starts it again, leaves its summary
    // and shows that it is through.
    record(t, "r", {"ENTER", "ESC", "j", "ENTER", "ENTER", "ESC", "DOWN"});
    const auto date_of_labels = [this] {
        const auto row = static_cast<std::size_t>(region_rows.offset(row_dates));
        return bytes("RVSYS.TXT").substr(row + offsetof(SysRow19, labels), 2);
    };
    EXPECT_EQ(date_of_labels(), std::string(2, '\0'));
    t.key("F2");
    t.type("r");
    ASSERT_TRUE(t.wait_for("Uw keuze 12"));
    EXPECT_NE(date_of_labels(), std::string(2, '\0'));
}

TEST_F(Macro, GoesOnInTheNextProgramOnTheLine) {
    TerminalOptions shell;
    shell.program = "/bin/sh";
    shell.arguments = {"-c", std::string(RVCHK_PROGRAM) + "; ls MAC*.TMP; exec " + RVCHK_PROGRAM};
    Terminal t = start(shell);
    reach_menu(t);
    // The first program leaves at the second key; the next one gets the rest.
    record(t, "n", {"DOWN", "ESC", "ENTER", "DOWN", "DOWN"});
    t.key("F2");
    t.type("n");
    EXPECT_TRUE(t.wait_for("Uw keuze 13"));
    EXPECT_NE(t.raw().find(".TMP"), std::string::npos);
    t.key("CANCEL");
    EXPECT_EQ(t.wait_exit(), 0);
    for (const auto &entry : fs::directory_iterator(directory)) {
        EXPECT_NE(entry.path().extension(), ".TMP") << entry.path();
    }
}

}  // namespace
