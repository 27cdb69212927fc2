// The outcomes of a whole run: refused, already complete, with or without the marker, stopped.
#include "base/base.h"
#include "store/store.h"
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

using Change = std::function<void(Shop &)>;
using Date = little_uint16_t SysRow19::*;

const std::vector<Date> dates_of_customers = {&SysRow19::customers, &SysRow19::titles, &SysRow19::countries};
const std::vector<Date> other_dates = {&SysRow19::labels, &SysRow19::series, &SysRow19::prices,
                                       &SysRow19::sizes,  &SysRow19::ean,    &SysRow19::barcodes,
                                       &SysRow19::master};

Change days_ago(const std::vector<Date> &dates, int days) {
    return [dates, days](Shop &shop) {
        for (const Date date : dates) {
            shop.dates.*date = static_cast<day_number>(shop.today - days);
        }
    };
}

/// The whole run, and what it leaves in the directory.
class Run : public RunCase {
protected:
    /// Makes the shop in place of one that is there.
    void make(const Change &change = [](Shop &) {}) {
        for (const auto &entry : fs::directory_iterator(".")) {
            fs::remove_all(entry);
        }
        RunCase::make(change);
    }
    static void put(const std::string &name, std::size_t size = 0, int days_old = 0) {
        ScratchDir::put(name, std::string(size, 'x'));
        fs::last_write_time(name, fs::file_time_type::clock::now() - std::chrono::hours(24 * days_old));
    }
    /// Changes bytes of a file.
    static void poke(const std::string &name, std::size_t offset, const std::string &what) {
        std::fstream file(name, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(offset));
        file << what;
        ASSERT_TRUE(file) << name;
    }
    /// Starts the program and goes through a script from the menu on, or without one through a run that shows
    /// no menu.
    static void run(const char *script = nullptr) {
        Terminal t = start();
        if (script) {
            reach_menu(t);
            EXPECT_FALSE(file_exists("RVCHK860.OK"));
        }
        EXPECT_TRUE(t.play(script ? script : "=> exit 0"));
    }
};

constexpr const char *leave_menu = "<CANCEL> => exit 0";
const auto row_of_state = static_cast<std::size_t>(region_rows.offset(row_status));
const auto row_of_dates = static_cast<std::size_t>(region_rows.offset(row_dates));

TEST_F(Run, WaitingMasterDataRefuseTheRun) {
    options.checked = 1;
    make();
    put("STAT07.TXT");
    put("RVCHK860.OK");
    put("TP01.TXT", 10, 1);
    const std::string before = get("RVSYS.TXT");
    Terminal t = start();
    EXPECT_TRUE(t.play(R"(
                => Eerst stamgegevens verwerken a.u.b | 1= BESTANDSCONTROLES | 1,2 reverse | 1,80 reverse | 11,24=┌ | 14,60=┘
        <ENTER> => exit 0
    )"));
    EXPECT_FALSE(file_exists("RVCHK860.OK"));
    EXPECT_FALSE(file_exists("TP01.TXT"));
    EXPECT_EQ(get("RVSYS.TXT"), before);
}

TEST_F(Run, MarkerStandsWhenEveryRequiredDateIsRecent) {
    const auto expect = [this](bool marker, std::uint8_t mode, const Change &change) {
        options.checked = 6;
        make([&](Shop &shop) {
            shop.settings.mode = mode;
            // These three are not asked for.
            shop.dates.transit = shop.dates.order_numbers = shop.dates.journals = 0;
            std::fill(std::begin(shop.dates.zeroed), std::end(shop.dates.zeroed), 0xAA);
            change(shop);
        });
        put("RVCHK860.OK", 3);
        std::string expected = get("RVSYS.TXT");
        expected.replace(row_of_dates + offsetof(SysRow19, zeroed), 24, std::string(24, '\0'));
        if (mode == 0) {
            expected.replace(row_of_dates + offsetof(SysRow19, customers), 2, std::string(2, '\0'));
        }
        run(marker ? nullptr : leave_menu);
        EXPECT_EQ(file_exists("RVCHK860.OK"), marker);
        EXPECT_EQ(get("RVCHK860.OK"), "");
        EXPECT_TRUE(get("RVSYS.TXT") == expected || !marker) << "only that row has changed";
    };
    expect(true, mode_customers, [](Shop &) {});
    for (const std::vector<Date> &dates : {dates_of_customers, other_dates}) {
        for (const Date date : dates) {
            expect(false, mode_customers, days_ago({date}, 7));
        }
    }
    // Without customers nothing is asked of them, nor when labels alone are linked to them.
    expect(true, 0, days_ago(dates_of_customers, 400));
    expect(true, mode_customer_labels, days_ago(dates_of_customers, 400));
}

TEST_F(Run, MarkerStandsBehindAMenuThatLeftEveryRequiredDateRecent) {
    const auto session = [this](bool marker, const Change &change, const char *script) {
        make(change);
        put("RVCHK860.OK", 3);
        run(script);
        EXPECT_EQ(file_exists("RVCHK860.OK"), marker) << script;
        EXPECT_EQ(get("RVCHK860.OK"), "");
    };
    // The program that rebuilds the index of the codes is found beside the running one.
    options.faults = {"price-block-lost", "index-ean-swapped"};
    session(
        true, [](Shop &) {}, R"(
        11           => : PRIJZEN | (blad 1 van 1)
        <ESC>        => (J/N)
        n<ENTER>     => 24= Uw keuze 11 | !(J/N)
        11           => : PRIJZEN | (blad 1 van 1)
        <ESC>        => (J/N)
        j<ENTER>     => : ALLE CONTROLES SERIES/ETIKETTEN | (blad
        <ESC>        => 24= Uw keuze 11 | !(blad
        12           => : ALLE CONTROLES KLANTEN | (blad
        <ESC>        => 24= Uw keuze 12 | !(blad
        13           => : ALLE CONTROLES OVERIG | (blad
        <ESC>        => 24= Uw keuze 13 | !(blad
        <CANCEL>     => exit 0
    )");
    constexpr std::size_t at_status = 38;
    EXPECT_EQ(get("RVSYS.TXT")[static_cast<std::size_t>(region_users.offset(1)) + at_status], 0);
    // An entry that is not shown takes no number; what was checked before counts.
    options.faults = {};
    options.customers = 0;
    options.checked = 6;
    session(true, days_ago({&SysRow19::master}, 7), R"(
        12           => : ALLE CONTROLES OVERIG | (blad
        <ESC>        => 24= Uw keuze 12 | !(blad
        <CANCEL>     => exit 0
    )");
    options.customers = 4;
    // Customers who are not linked to labels need not wait until those have proved sound.
    options.faults = {"price-block-lost"};
    options.linked = false;
    const auto suspect = [](Shop &shop) {
        shop.users.at(0).status = 10;
        days_ago({&SysRow19::prices}, 7)(shop);
    };
    session(false, suspect, R"(
        12           => : ALLE CONTROLES KLANTEN | (blad
        <ESC>        => 24= Uw keuze 12 | !(blad
        11           => : PRIJZEN | (blad 1 van 1)
        <ESC>        => (J/N)
        n<ENTER>     => 24= Uw keuze 11 | !(J/N)
        <CANCEL>     => exit 0
    )");
}

// Files that were missing, or a program that was broken off: the first checks run before the menu comes, and
// reservations that the dead have left are gone by then.
TEST_F(Run, MarkOfABadEndRunsTheFirstChecksAtOnce) {
    options.faults = {"index-series-locks"};
    for (const char state : {state_missing_files, state_critical_stop, state_normal}) {
        make();
        poke("RVSYS.TXT", row_of_state + 63, {state});
        const auto reserved = [this] {
            const std::string index = get("RVSER.INX");
            return index[static_cast<std::size_t>(index[11] + 1) * 512 + 4];
        };
        EXPECT_NE(reserved(), 0);
        Terminal t = start();
        if (state != state_normal) {
            EXPECT_TRUE(t.play(R"(
                        => Wilt u de index van het seriebestand herstellen
                <ENTER> => : ETIKETTEN | (blad
                <ESC>   => : PRIJZEN | (blad
                <ESC>   => : CONTROLEREN ETIKETPRIJZEN | (blad
                <ESC>   => : CONTROLEREN MAATSOORTEN | (blad
                <ESC>   => : CONTROLEREN ETIKETMATEN | (blad
                <ESC>   => : CONTROLEREN MATEN PER SERIE | (blad
                <ESC>   => <ENTER> voor vervolg
            )"));
        }
        reach_menu(t);
        EXPECT_EQ(reserved(), 0);
        EXPECT_TRUE(t.play(leave_menu));
        const std::string dates = get("RVSYS.TXT").substr(row_of_dates, 64);
        for (const std::size_t of :
             {offsetof(SysRow19, labels), offsetof(SysRow19, prices), offsetof(SysRow19, sizes)}) {
            EXPECT_EQ(dates.substr(of, 2) == std::string(2, '\0'), state == state_normal) << of;
        }
        EXPECT_EQ(dates.substr(offsetof(SysRow19, series), 2), std::string(2, '\0'));
    }
}

// The file of the conversion writes the marker whatever the dates are.
TEST_F(Run, TemporaryFilesOfEarlierDaysGo) {
    options.checked = 100;
    make();
    put("CVCHKOK");
    // These only resemble master data that wait.
    for (const char *name :
         {"STATS.TXT", "STAT1.TXTX", "stat01.txt", "STAT01.TXT.BAK", "STAT\xff\x01%s.TXT"}) {
        put(name);
    }
    const std::tuple<const char *, int, int, bool> files[] = {
        {"PR1.TMP", 512000, 1, false},  {"TP0199AA.INX", 0, 1, false}, {"TEMPO", 0, 2, false},
        {"TP\x02odd\xff", 0, 1, false}, {"PRTODAY", 9, 0, true},       {"TPTODAY.TXT", 9, 0, true},
        {"pr1.tmp", 9, 1, true},        {"XTP1", 9, 1, true},          {"TEM", 9, 1, true},
        {"TEMP", 9, 1, true},
    };
    for (const auto &[name, size, days_old, stays] : files) {
        put(name, static_cast<std::size_t>(size), days_old);
    }
    fs::create_directory("TPDIR");
    run();
    EXPECT_TRUE(file_exists("RVCHK860.OK") && file_exists("TPDIR"));
    for (const auto &[name, size, days_old, stays] : files) {
        EXPECT_EQ(file_exists(name), stays) << name;
    }
    // 512000 bytes were not worth telling.
    put("TP1", 300000, 1);
    put("PR1", 212001, 2);
    EXPECT_TRUE(start().play(R"(
                => 21:Tijdelijke bestanden zijn verwijderd... | Extra ruimte op de harddisk 0.5 Mb | 23:<ENTER> voor vervolg
        <ENTER> => exit 0
    )"));
}

TEST_F(Run, UnusableDataStopTheProgramWithAMessage) {
    const std::pair<const char *, std::function<void()>> stops[] = {
        {"RVSYS.TXT niet aanwezig in ", [] { fs::remove("RVSYS.TXT"); }},
        {"RVSYS.TXT: errno=5 a=O fd=", [] { fs::resize_file("RVSYS.TXT", 1200); }},
        {"IOTAB: Open niet gelukt (file=RVSYS.TXT, errno=21)",
         [] { fs::remove("RVSYS.TXT") && fs::create_directory("RVSYS.TXT"); }},
        {"Foutieve release: bestanden van 8.59", [] { poke("RVSYS.TXT", row_of_state + 58, "8.59 "); }},
        {"QBISAM(2): RVSER.INX", [] { fs::remove("RVSER.INX"); }},
        {"Niet consistent", [] { poke("RVSER.INX", 11, "\x63"); }},
        // Records of half the length, and twice as many.
        {"Niet consistent",
         [&] {
             ix_header header{};
             std::memcpy(&header, get("RVMAAT.INX").data(), ix_header_size);
             header.reclen = static_cast<std::int16_t>(header.reclen / 2);
             header.nrecs = 2 * header.nrecs;
             poke("RVMAAT.INX", 0, {reinterpret_cast<const char *>(&header), ix_header_size});
         }},
        {"IOFIL: Open niet gelukt (file=RVFILGEG.TXT, errno=2)", [] { fs::remove("RVFILGEG.TXT"); }},
        {"RVCHK860: Open niet gelukt (file=RVCHK860.OK, errno=",
         [] { fs::create_directories("RVCHK860.OK/in"); }},
    };
    for (const auto &[text, spoil] : stops) {
        make();
        spoil();
        EXPECT_TRUE(start().play(std::string("=> PROGRAMMA AFGEBROKEN | <ENTER> voor vervolg | ") + text +
                                 "\n<ENTER> => exit 1"));
    }
}

/// A kill leaves the index of any pair that the run writes half updated, or half rebuilt.
TEST_F(Run, WhatAKillHasLeftIsMendedAtTheNextStart) {
    const char *const pairs[] = {"RVSER", "RVART", "RVLEV",   "RVKLT", "RVIPA",
                                 "RVEAN", "RVVKP", "RVORDNR", "PLU00"};
    options.tills = 2;
    for (const int checked : {-1, 1}) {
        options.checked = checked;
        make();
        for (const std::string name : pairs) {
            ASSERT_TRUE(fs::exists(name + ".INX")) << name;
            poke(name + ".INX", offsetof(ix_header, inupdate), "\1");
        }
        poke("RVLEV.INX", offsetof(ix_header, inupdate), {"\0", 1});
        poke("RVLEV.INX", offsetof(ix_header, freehead), {"\xff\xff\xff\xff\0\0\0\0\4\0\0", 12});
        run(checked < 0 ? leave_menu : nullptr);
        for (const char *const &name : pairs) {
            const bool of_every_run = &name < pairs + 3;
            EXPECT_EQ(IXCHECK(name) >= 0, checked < 0 || of_every_run) << name;
        }
    }
}

TEST_F(Run, InformationPageComesFromTheMenuAndAtAWrongStart) {
    options.branches = 3;
    make([](Shop &shop) {
        std::strncpy(shop.users.at(0).name, "MIEP", sizeof shop.users[0].name);
        shop.users.at(0).rights = 'I';
    });
    run(R"(
        <F10>    => 9,1=┌ | 10,1=│ | 10,3=P | 22:│ <ENTER> voor vervolg | 23,80=┘
                 => 10:Program     : rvchk860 | 11:Version     : 860 19-11-2013
                 => 12:Compiled    : LINUX Jan 26 2015 11:45:07 | 14:Application : Heritage8.60  3F
                 => 15:Userinfo    : MIEP (I) | 17:Directory   : / | 18:Diskfree Mb :
                 => 19:Tty         : xterm-256color /dev/pts/
        <ENTER>  => !Userinfo
        <CANCEL> => exit 0
    )");
    EXPECT_TRUE(start({.arguments = {"-h"}}).play(R"(
                 => Version     : 860 19-11-2013 | Compiled    : LINUX Jan 26 2015 11:45:07
                 => Tty         : xterm-256color /dev/pts/
                 => rvchk860 foutief gestart, code 99 | PROGRAMMA AFGEBROKEN | <ENTER> voor vervolg
        <ENTER>  => exit 1
    )"));
}

// A slot at rest is not written back, a status that was raised stays as a warning. A closed terminal ends the
// run in good order: the print set-up is the operator's own again, and nobody is asked about the files that
// were open.
TEST_F(Run, SlotOfTheUserIsLeftAsItShouldBe) {
    const std::pair<std::uint8_t, std::string> cases[] = {
        {0, "key"}, {9, "key"}, {10, "key"}, {10, "hang up"}, {10, "signal"}};
    for (const auto &[status, end] : cases) {
        SCOPED_TRACE(testing::Message() << int{status} << end);
        make([status = status](Shop &shop) {
            shop.users.at(0).status = status;
            shop.users.at(0).printer = 0;
            shop.users.at(0).print_flags = 5;
            shop.users.at(0).print_connection = 7;
        });
        const auto slot = static_cast<std::size_t>(region_users.offset(1));
        std::string expected = get("RVSYS.TXT").substr(slot, 64);
        Terminal t = start({.program = "/bin/sh", .arguments = {"-c", "ulimit -n 60; exec " RVCHK_PROGRAM}});
        reach_menu(t);
        // Customers who are linked to labels wait until those have proved sound.
        if (status > 9) {
            EXPECT_TRUE(t.play("12 => 25=Keuze niet beschikbaar"));
        }
        if (end == "hang up") {
            t.hang_up();
        } else if (end == "signal") {
            t.send_signal(SIGTERM);
        } else {
            t.key("CANCEL");
        }
        EXPECT_EQ(t.wait_exit(), 0);
        const std::string left = get("RVSYS.TXT").substr(slot, 64);
        EXPECT_EQ(left[38], status > 9 ? 11 : status);
        EXPECT_EQ(left.substr(0, 22), expected.substr(0, 22));
        if (status > 9) {
            UserSlot own;
            std::memcpy(static_cast<void *>(&own), left.data(), sizeof own);
            EXPECT_LE(std::time(nullptr) - own.handover_time, 60);
            EXPECT_EQ(std::string(own.terminal, sizeof own.terminal), std::string(sizeof own.terminal, '\0'));
        } else {
            EXPECT_EQ(left, expected);
        }
        EXPECT_FALSE(file_exists("RVCHK860.OK"));
    }
}

TEST_F(Run, WithoutTheRebuildProgramTheIndexOfTheCodesStays) {
    options.customers = 0;
    options.faults = {"index-ean-swapped"};
    make();
    Terminal t = start({.environment = {{"BIN", "/nergens"}}});
    reach_menu(t);
    EXPECT_TRUE(
        t.play("12 => Programma ixreorgk niet gevonden | /nergens/ixreorgk | "
               "De index van RVEAN is niet hersteld"));
}

TEST_F(Run, EndedAtAQuestionLeavesNoTemporaryFiles) {
    options.customers = 0;
    options.faults = {"ean-series-unknown"};
    make();
    Terminal t = start();
    reach_menu(t);
    EXPECT_TRUE(t.play("12 => Instore EAN-codes toekennen"));
    t.send_signal(SIGTERM);
    EXPECT_EQ(t.wait_exit(), 0);
    std::string pattern = "TP*";
    EXPECT_EQ(FILES_PRESENT(pattern), 0) << pattern;
}

// Where the terminal program shows what the checks show, tell and ask.
// Each field has a caption, and its number in place of a longer value. "rest" is what stood in its line
// before.
TEST(Operator, EachFieldNoticeAndQuestionHasItsPlace) {
    EXPECT_TRUE(plays(scene("operator"), R"(
                => 25:bijschrift 0ude waarde | 25:rest | 25,1 bold | 25,12 bold | 24:rest
        x       => 25=
        x       => 25:bijschrift 1ude waarde | 25,1 bold
        xx      => 25:bijschrift 2ude waarde | 25,1 bold
        xx      => 24:bijschrift 3ude waarde | 24,1 dim
        xx      => 25:bijschrift 4         e | 25,1 dim
        xx      => 7:bijschrift 5ude waarde
        xx      => 8:bijschrift          6       rde
        xx      => 10:bijschrift 7ude waarde
        xx      => 11:bijschrift          8       rde | 24:rest
        xx      => 3:bijschrift                              9ude waarde | 24=
        xx      => 5:bijschrift                              10de waarde | 24=
        xx      => 7:bijschrift                              11de waarde | 24=
        xx      => 23: bijschrift     12 waarde
        xx      => 24: bijschrift   13                        | 24:rest
        xx      => 24:bijschrift14                            | 24:rest
        xx      => 24:bijschrift 15                           | 24:rest
        xx      => 24=16
        xx      => 24:bijschrift              17de waarde
        xx      => 20:│ regel 1 | 21:│ regel 2 | 22:│ <ENTER> | 2=onder de vensters
        <ENTER> => !regel 1
        x       => 10:─regel 1─ | 12:│ regel 2 | 13:│ <ENTER>
        <ENTER> => !regel 1
        x       => 10=         regel 1 | 11:<ENTER>
        <ENTER> => !regel 1
        x       => 21:│ regel 1 | 22:│ regel 2 | 23:│ <ENTER>
        <ENTER> => !regel 1
        x       => 16:│ regel 1 | 17:│ regel 2 | 19:│ regel 3 | 20:│ regel 4 | 22:│ <ENTER>
        <ENTER> => !regel 1
        x       => 21:│ regel 1 | 22:│ regel 2 regel 3 | 23:│ <ENTER> | 2=onder de vensters
        <ENTER> => !regel 1
        x       => 11:│ regel 1 | 12:│ <ENTER> | 2=
        <ENTER> => !regel 1
        x       => 25: Vraag? (J/N) N
        <ENTER> => 12=antwoord nee
        x       => 23:  Deze keuze alleen uitvoeren in overleg | 24:  Uitvoering hiervan kan | 24,3 reverse | 25: Vraag? (J/N) N
        j<ENTER> => 12=antwoord ja | !Deze keuze | !Vraag
        x       => 22:┌── | 23:│ Vraag? (J/N) N
        <ENTER> => 12=antwoord nee | !│
        x       => 21:  Deze keuze alleen uitvoeren in overleg | 22:  Uitvoering hiervan kan | 24: Vraag? (J/N) N
        j<ENTER> => 12=antwoord ja | !Deze keuze | !Vraag
        x       => 24=Vraag? (J/N) J
        <ENTER> => 12=antwoord ja
        x       => 20:│ regel 1 | 23:│ Vraag? (J/N) _
        n<ENTER> => 12=antwoord nee | !│
        x       => 11:│ Verwerking is actief | 12:│ Wilt u wachten? (J/N)
                => 12=antwoord ja | !Verwerking
        x       => Verwerking is actief
        x       => Wilt u wachten? (J/N)
        j<ENTER> => Verwerking is actief
        x       => Wilt u wachten? (J/N)
        n<ENTER> => 12=antwoord nee | !Verwerking
        x       => exit 0
    )"));
}

}  // namespace
