// The outcomes of a whole run: refused, already complete, with or without the marker, stopped.
#include <fcntl.h>
#include <utime.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "base/base.h"
#include "store/store.h"
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

/// The whole run, and what it leaves in the directory.
class Run : public RunCase {
protected:
    void put(const std::string &name, std::size_t size = 0, int days_old = 0) const {
        std::ofstream(directory / name, std::ios::binary) << std::string(size, 'x');
        const std::time_t time = std::time(nullptr) - days_old * 86400;
        const utimbuf times{time, time};
        utime((directory / name).c_str(), &times);
    }
    /// Starts the program, leaves its menu at once if there is one, and gives its exit status.
    int run() const {
        Terminal t = start();
        leave_menu(t);
        return t.wait_exit();
    }
    static void leave_menu(Terminal &t) {
        // Ends at once without it when the program has ended.
        if (t.wait_for("<ENTER> voor vervolg")) {
            t.key("ENTER");
            EXPECT_TRUE(t.wait_for("Uw keuze"));
            t.key("CANCEL");
        }
    }
};

TEST_F(Run, WaitingMasterDataRefuseTheRun) {
    options.checked = 1;
    make();
    put("STAT07.TXT");
    put("RVCHK860.OK");
    put("TP01.TXT", 10, 1);
    const std::string before = bytes("RVSYS.TXT");
    Terminal t = start();
    ASSERT_TRUE(t.wait_for("Eerst stamgegevens verwerken a.u.b"));
    ASSERT_TRUE(t.wait_row(1, " BESTANDSCONTROLES"));
    EXPECT_TRUE(t.attr(1, 2).reverse && t.attr(1, 80).reverse);
    EXPECT_EQ(t.cell(11, 24) + t.cell(14, 60), "┌┘");
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 0);
    EXPECT_FALSE(there("RVCHK860.OK"));
    EXPECT_FALSE(there("TP01.TXT"));
    EXPECT_EQ(bytes("RVSYS.TXT"), before);
}

TEST_F(Run, NamesThatOnlyResembleWaitingDataDoNotRefuse) {
    options.checked = 1;
    make();
    for (const char *name :
         {"STATS.TXT", "STAT1.TXTX", "stat01.txt", "STAT01.TXT.BAK", "STAT\xff\x01%s.TXT"}) {
        put(name);
    }
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(there("RVCHK860.OK"));
}

struct Recency {
    const char *name;
    int days;            ///< age of all dates
    int customers_days;  ///< age of the dates of customers, titles and countries
    std::uint8_t mode;
    bool marker;
};

TEST_F(Run, MarkerStandsWhenEveryRequiredDateIsRecent) {
    const Recency cases[] = {
        {"today", 0, 0, mode_customers, true},
        {"six days ago", 6, 6, mode_customers, true},
        {"seven days ago", 7, 7, mode_customers, false},
        {"customers too old", 6, 7, mode_customers, false},
        {"no customers are kept", 6, 400, 0, true},
        {"linked labels alone ask for no customers", 6, 400, mode_customer_labels, true},
    };
    for (const Recency &each : cases) {
        options.checked = each.days;
        make([&](Shop &shop) {
            const auto other = static_cast<day_number>(date_today() - each.customers_days);
            shop.settings.mode = each.mode;
            shop.dates.customers = shop.dates.titles = shop.dates.countries = other;
            // These three are not asked for.
            shop.dates.transit = shop.dates.order_numbers = shop.dates.journals = 0;
        });
        put("RVCHK860.OK", 3);
        EXPECT_EQ(run(), 0) << each.name;
        EXPECT_EQ(there("RVCHK860.OK"), each.marker) << each.name;
        fs::remove_all(directory);
    }
}

struct Session {
    const char *name;
    const char *entries;  ///< chosen in the menu
    bool marker;
    const char *answers = "";  ///< to the questions of the checks
    std::vector<std::string> faults = {};
    std::function<void(Shop &)> change = [](Shop &) {};
    int customers = 4;
    bool linked = true;
};

bool menu_waits(const Terminal &t) {
    return t.row(3).starts_with(" VOLLEDIGE") && t.row(24).starts_with(" Uw keuze 1") && t.cursor().row == 24;
}

/// Chooses an entry, leaves its reports and answers its questions, until the menu is back.
void go_through(Terminal &t, const std::string &entry, std::string &answers) {
    const auto shows = [&t](const char *text) { return t.screen().find(text) != std::string::npos; };
    t.type(entry);
    ASSERT_TRUE(t.wait_until([&] { return !shows("VOLLEDIGE") && !shows("Uw keuze"); }, "a check"));
    for (;;) {
        ASSERT_TRUE(t.wait_until(
            [&] {
                const bool asked = t.row(t.cursor().row).find("(J/N)") != std::string::npos;
                return menu_waits(t) || shows("(blad ") || asked;
            },
            "a report, a question or the menu"));
        if (shows("(J/N)")) {
            ASSERT_FALSE(answers.empty()) << t.dump();
            t.type(answers.substr(0, 1));
            t.key("ENTER");
            answers.erase(0, 1);
            ASSERT_TRUE(t.wait_gone("(J/N)"));
        } else if (shows("(blad ")) {
            t.key("ESC");
            ASSERT_TRUE(t.wait_gone("(blad "));
        } else {
            return;
        }
    }
}

TEST_F(Run, MarkerStandsBehindAMenuThatLeftEveryRequiredDateRecent) {
    const auto old = [](little_uint16_t SysRow19::*field) {
        return [field](Shop &shop) {
            for (const auto each : {&SysRow19::labels, &SysRow19::series, &SysRow19::prices, &SysRow19::sizes,
                                    &SysRow19::customers, &SysRow19::titles, &SysRow19::countries,
                                    &SysRow19::ean, &SysRow19::barcodes, &SysRow19::master}) {
                shop.dates.*each = static_cast<day_number>(shop.today - 6);
            }
            shop.dates.*field = static_cast<day_number>(shop.today - 7);
        };
    };
    const auto linked_only = [](Shop &shop) { shop.settings.mode = mode_customer_labels; };
    const Session sessions[] = {
        {"all entries", "11 12 13", true},
        {"in another order", "13 11 12", true},
        {"labels are not linked", "11 12 13", true, "", {}, [](Shop &) {}, 4, false},
        // An entry that is not shown takes no number.
        {"no customers", "11 12", true, "", {}, [](Shop &) {}, 0},
        {"linked labels alone", "11 12", true, "", {}, linked_only},
        {"without the last entry", "11 12", false},
        {"without customers", "11 13", false},
        {"only what was too old", "11", true, "", {}, old(&SysRow19::sizes)},
        {"all but what was too old", "11 12", false, "", {}, old(&SysRow19::barcodes)},
        {"a refused repair", "11 12 13", false, "n", {"price-block-lost"}},
        {"an accepted one", "11 12 13", true, "j", {"price-block-lost"}},
        {"refused, then accepted", "11 12 13 11", true, "nj", {"price-block-lost"}},
        // These have no date that is asked for.
        {"goods in transit", "11 12 13", true, "n", {"transit-no-entry"}},
        {"journals", "11 12 13", true, "", {"journal-code"}},
        // The program that rebuilds the index is found beside the running one.
        {"codes", "11 12 13", true, "", {"index-ean-swapped"}},
    };
    for (const Session &each : sessions) {
        SCOPED_TRACE(each.name);
        options = {.series = 12, .customers = each.customers, .linked = each.linked, .faults = each.faults};
        make(each.change);
        put("RVCHK860.OK", 3);
        // A window that took the width of the reports would be drawn more than once.
        Terminal t = start({.resizable = false});
        reach_menu(t);
        ASSERT_TRUE(t.wait_until([&] { return menu_waits(t); }, "the menu"));
        EXPECT_FALSE(there("RVCHK860.OK"));
        std::string answers = each.answers;
        std::istringstream entries(each.entries);
        for (std::string entry; entries >> entry;) {
            go_through(t, entry, answers);
            EXPECT_FALSE(there("RVCHK860.OK")) << "before the menu was left";
        }
        t.key("CANCEL");
        EXPECT_EQ(t.wait_exit(), 0) << t.dump();
        EXPECT_EQ(answers, "");
        EXPECT_EQ(there("RVCHK860.OK"), each.marker);
        EXPECT_EQ(bytes("RVCHK860.OK"), "");
        fs::remove_all(directory);
    }
}

// Files that were missing, or a program that was broken off: the first checks run before the menu comes, and
// reservations that the dead have left are gone by then.
TEST_F(Run, MarkOfABadEndRunsTheFirstChecksAtOnce) {
    for (const char state : {state_missing_files, state_critical_stop, state_normal}) {
        options.faults = {"index-series-locks"};
        make();
        std::fstream system(directory / "RVSYS.TXT", std::ios::binary | std::ios::in | std::ios::out);
        system.seekp(region_rows.offset(row_status) + 63);
        system.put(state);
        system.close();
        const auto reserved = [this] {
            const std::string index = bytes("RVSER.INX");
            return index[static_cast<std::size_t>(index[11] + 1) * 512 + 4];
        };
        EXPECT_NE(reserved(), 0);
        Terminal t = start({.resizable = false});
        if (state != state_normal) {
            ASSERT_TRUE(t.wait_for("Wilt u de index van het seriebestand herstellen"));
            t.key("ENTER");
            const auto shows = [&t](const char *text) { return t.screen().find(text) != std::string::npos; };
            const auto stops = [&] { return shows("(blad ") || shows("<ENTER> voor vervolg"); };
            while (t.wait_until(stops, "a report, or the menu") && shows("(blad ")) {
                t.key("ESC");
                ASSERT_TRUE(t.wait_gone("(blad "));
            }
        }
        reach_menu(t);
        EXPECT_EQ(reserved(), 0);
        t.key("CANCEL");
        EXPECT_EQ(t.wait_exit(), 0);
        const std::string dates =
            bytes("RVSYS.TXT").substr(static_cast<std::size_t>(region_rows.offset(row_dates)));
        for (const std::size_t of :
             {offsetof(SysRow19, labels), offsetof(SysRow19, prices), offsetof(SysRow19, sizes)}) {
            EXPECT_EQ(dates.substr(of, 2) == std::string(2, '\0'), state == state_normal) << of;
        }
        EXPECT_EQ(dates.substr(offsetof(SysRow19, series), 2), std::string(2, '\0'));
        fs::remove_all(directory);
    }
    options.faults.clear();
}

TEST_F(Run, EachRequiredDateCounts) {
    using Field = little_uint16_t SysRow19::*;
    for (const Field field :
         {&SysRow19::labels, &SysRow19::series, &SysRow19::prices, &SysRow19::sizes, &SysRow19::customers,
          &SysRow19::ean, &SysRow19::barcodes, &SysRow19::master, &SysRow19::titles, &SysRow19::countries}) {
        options.checked = 1;
        make([field](Shop &shop) { shop.dates.*field = 0; });
        EXPECT_EQ(run(), 0);
        EXPECT_FALSE(there("RVCHK860.OK"));
        fs::remove_all(directory);
    }
}

TEST_F(Run, DoneFileWritesTheMarkerAndOldDatesLeaveIt) {
    options.checked = 100;
    make();
    put("CVCHKOK");
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(there("RVCHK860.OK"));
    EXPECT_EQ(fs::file_size(directory / "RVCHK860.OK"), 0U);
}

TEST_F(Run, RowOfDatesIsWipedWhereItMustBe) {
    for (const bool customers : {false, true}) {
        options.checked = 1;
        make([&](Shop &shop) {
            shop.settings.mode = customers ? mode_customer_labels : 0;
            std::fill(std::begin(shop.dates.zeroed), std::end(shop.dates.zeroed), 0xAA);
        });
        const std::string before = bytes("RVSYS.TXT");
        EXPECT_EQ(run(), 0);
        std::string expected = before;
        const auto row = static_cast<std::size_t>(region_rows.offset(row_dates));
        expected.replace(row + 40, 24, std::string(24, '\0'));
        if (!customers) {
            expected.replace(row + 8, 2, std::string(2, '\0'));
        }
        EXPECT_EQ(bytes("RVSYS.TXT"), expected);
        fs::remove_all(directory);
    }
}

TEST_F(Run, TemporaryFilesOfEarlierDaysGo) {
    options.checked = 1;
    make();
    for (const char *name : {"PR1.TMP", "TP0199AA.INX", "TEMPO", "TP\x02odd\xff"}) {
        put(name, 100, 1);
    }
    for (const char *name : {"PRTODAY", "TPTODAY.TXT"}) {
        put(name, 100, 0);
    }
    for (const char *name : {"pr1.tmp", "XTP1", "TEM", "TEMP"}) {
        put(name, 100, 1);
    }
    fs::create_directory(directory / "TPDIR");
    EXPECT_EQ(run(), 0);
    for (const char *name : {"PR1.TMP", "TP0199AA.INX", "TEMPO", "TP\x02odd\xff"}) {
        EXPECT_FALSE(there(name)) << name;
    }
    for (const char *name : {"PRTODAY", "TPTODAY.TXT", "pr1.tmp", "XTP1", "TEM", "TEMP", "TPDIR"}) {
        EXPECT_TRUE(there(name)) << name;
    }
}

TEST_F(Run, SpaceThatCameFreeIsToldFrom512001BytesOn) {
    options.checked = 1;
    make();
    put("TP1", 512000, 1);
    EXPECT_EQ(run(), 0);
    put("TP1", 300000, 1);
    put("PR1", 212001, 2);
    Terminal t = start();
    ASSERT_TRUE(t.wait_for("Extra ruimte op de harddisk 0.5 Mb"));
    ASSERT_TRUE(t.wait_row(23, "<ENTER> voor vervolg"));
    EXPECT_TRUE(t.wait_row(21, "Tijdelijke bestanden zijn verwijderd..."));
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 0);
}

struct Stop {
    const char *name;
    std::function<void(const fs::path &)> spoil;
    const char *text;
    std::vector<std::string> arguments = {};
};

TEST_F(Run, UnusableDataStopTheProgramWithAMessage) {
    const Stop stops[] = {
        {"no system file", [](const fs::path &d) { fs::remove(d / "RVSYS.TXT"); },
         "RVSYS.TXT niet aanwezig in "},
        {"empty system file", [](const fs::path &d) { fs::resize_file(d / "RVSYS.TXT", 0); },
         "RVSYS.TXT: errno=5 a=O fd="},
        {"system file cut within its rows", [](const fs::path &d) { fs::resize_file(d / "RVSYS.TXT", 1200); },
         "RVSYS.TXT: errno=5 a=O fd="},
        {"a directory for a system file",
         [](const fs::path &d) {
             fs::remove(d / "RVSYS.TXT");
             fs::create_directory(d / "RVSYS.TXT");
         },
         "IOTAB: Open niet gelukt (file=RVSYS.TXT, errno=21)"},
        {"other release",
         [](const fs::path &d) {
             std::fstream file(d / "RVSYS.TXT", std::ios::binary | std::ios::in | std::ios::out);
             file.seekp(region_rows.offset(row_status) + 58);
             file << "8.59 ";
         },
         "Foutieve release: bestanden van 8.59"},
        {"no index half", [](const fs::path &d) { fs::remove(d / "RVSER.INX"); }, "QBISAM(2): RVSER.INX"},
        {"damaged index half",
         [](const fs::path &d) {
             std::fstream file(d / "RVSER.INX", std::ios::binary | std::ios::in | std::ios::out);
             file.seekp(11);
             file.put(99);
         },
         "Niet consistent"},
        {"records of half the length, and twice as many",
         [](const fs::path &d) {
             std::fstream file(d / "RVMAAT.INX", std::ios::binary | std::ios::in | std::ios::out);
             ix_header header{};
             file.read(reinterpret_cast<char *>(&header), ix_header_size);
             header.reclen = static_cast<std::int16_t>(header.reclen / 2);
             header.nrecs = 2 * header.nrecs;
             file.seekp(0);
             file.write(reinterpret_cast<const char *>(&header), ix_header_size);
         },
         "Niet consistent"},
        {"no branch file", [](const fs::path &d) { fs::remove(d / "RVFILGEG.TXT"); },
         "IOFIL: Open niet gelukt (file=RVFILGEG.TXT, errno=2)"},
        {"a marker that can't be removed",
         [](const fs::path &d) { fs::create_directories(d / "RVCHK860.OK" / "in"); },
         "RVCHK860: Open niet gelukt (file=RVCHK860.OK, errno="},
        {"an argument", [](const fs::path &) {}, "rvchk860 foutief gestart, code 99", {"-h"}},
    };
    for (const Stop &each : stops) {
        make();
        each.spoil(directory);
        TerminalOptions terminal;
        terminal.arguments = each.arguments;
        Terminal t = start(terminal);
        EXPECT_TRUE(t.wait_for(each.text)) << each.name;
        EXPECT_TRUE(t.wait_for("PROGRAMMA AFGEBROKEN")) << each.name;
        EXPECT_TRUE(t.wait_for("<ENTER> voor vervolg")) << each.name;
        t.key("ENTER");
        EXPECT_EQ(t.wait_exit(), 1) << each.name;
        fs::remove_all(directory);
    }
}

/// A kill leaves the index of any pair that the run writes half updated, or half rebuilt.
TEST_F(Run, WhatAKillHasLeftIsMendedAtTheNextStart) {
    for (const int checked : {-1, 1}) {
        options.checked = checked;
        options.tills = 2;
        make();
        for (const char *name : {"RVSER", "RVART", "RVKLT", "RVIPA", "RVEAN", "RVBARC", "RVORDNR", "PLU00"}) {
            const fs::path index = directory / (std::string(name) + ".INX");
            ASSERT_TRUE(fs::exists(index)) << name;
            std::fstream file(index, std::ios::binary | std::ios::in | std::ios::out);
            file.seekp(offsetof(ix_header, inupdate));
            file.put(1);
        }
        {
            std::fstream file(directory / "RVLEV.INX", std::ios::binary | std::ios::in | std::ios::out);
            file.seekp(offsetof(ix_header, freehead));
            const char begun[] = "\xff\xff\xff\xff\0\0\0\0\4\0\0";
            file.write(begun, sizeof begun);
        }
        EXPECT_EQ(run(), 0);
        for (const char *name : {"RVSER", "RVART", "RVLEV"}) {
            EXPECT_GE(IXCHECK((directory / name).c_str()), 0) << name;
        }
        for (const char *name : {"RVKLT", "RVIPA", "RVEAN", "RVBARC", "RVORDNR", "PLU00"}) {
            EXPECT_EQ(IXCHECK((directory / name).c_str()) >= 0, checked < 0) << name;
        }
        fs::remove_all(directory);
    }
}

TEST_F(Run, WrongStartShowsTheInformationPage) {
    make();
    TerminalOptions terminal;
    terminal.arguments = {"x"};
    Terminal t = start(terminal);
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    EXPECT_TRUE(t.wait_for("Compiled    : LINUX Jan 26 2015 11:45:07"));
    EXPECT_TRUE(t.wait_for("Version     : 860 19-11-2013"));
    EXPECT_TRUE(t.wait_for("Tty         : xterm-256color /dev/pts/"));
}

TEST_F(Run, InformationPageComesFromTheMenu) {
    options.branches = 3;
    make([](Shop &shop) {
        std::strncpy(shop.users.at(0).name, "MIEP", sizeof shop.users[0].name);
        shop.users.at(0).rights = 'I';
    });
    Terminal t = start();
    reach_menu(t);
    t.key("F10");
    // The box before the menu has the same text further to the right.
    ASSERT_TRUE(t.wait_until(
        [&t] { return t.row(22).starts_with("│ <ENTER> voor vervolg") && t.cell(23, 80) == "┘"; },
        "the page"));
    const char *lines[] = {"┌───",
                           "│ Program     : rvchk860 ",
                           "│ Version     : 860 19-11-2013 ",
                           "│ Compiled    : LINUX Jan 26 2015 11:45:07 ",
                           "│              ",
                           "│ Application : Heritage8.60  3F ",
                           "│ Userinfo    : MIEP (I) ",
                           "│              ",
                           "│ Directory   : /",
                           "│ Diskfree Mb : ",
                           "│ Tty         : xterm-256color /dev/pts/"};
    int row = 9;
    for (const char *line : lines) {
        EXPECT_TRUE(t.row(row++).starts_with(line)) << line << t.dump();
    }
    t.key("ENTER");
    ASSERT_TRUE(t.wait_gone("Userinfo"));
    t.key("CANCEL");
    EXPECT_EQ(t.wait_exit(), 0);
}

TEST_F(Run, HeldRowOfDatesIsWaitedFor) {
    options.checked = 1;
    make();
    const int fd = open((directory / "RVSYS.TXT").c_str(), O_RDWR);
    ASSERT_TRUE(file_lock(lock_action::sole, fd, region_rows.offset(row_dates), region_rows.size));
    Terminal t = start();
    ASSERT_TRUE(t.wait_until(
        [&t] {
            return t.row(25).starts_with("SYSTEEM-Informatie in gebruik op ander scherm") &&
                   t.attr(25, 1).blink;
        },
        "blinking notice"));
    ASSERT_TRUE(file_lock(lock_action::exclusive, fd, region_users.offset(1), region_users.size));
    ASSERT_TRUE(t.wait_row(25, "SYSTEEM-Informatie in gebruik door "));
    close(fd);
    EXPECT_EQ(t.wait_exit(), 0);
    EXPECT_TRUE(there("RVCHK860.OK"));
}

// A slot at rest is not written back, a status that was raised stays as a warning.
TEST_F(Run, SlotOfTheUserKeepsItsStatus) {
    for (const int status : {0, 1, 9, 10, 11}) {
        options.checked = 1;
        make([&](Shop &shop) { shop.users.at(0).status = static_cast<std::uint8_t>(status); });
        const auto slot = static_cast<std::size_t>(region_users.offset(1));
        const std::string before = bytes("RVSYS.TXT").substr(slot, 64);
        EXPECT_EQ(run(), 0);
        const std::string after = bytes("RVSYS.TXT").substr(slot, 64);
        if (status <= 9) {
            EXPECT_EQ(after, before) << status;
        } else {
            EXPECT_EQ(after[38], 11) << "the labels were not proved sound";
            EXPECT_EQ(after.substr(0, 18), before.substr(0, 18));
        }
        fs::remove_all(directory);
    }
}

// A closed terminal ends the run in good order: the warning stands, the print set-up is the operator's own
// again, and nobody is asked about the files that were open.
TEST_F(Run, ClosedTerminalLeavesTheSlotAsItShouldBe) {
    for (const bool hangs_up : {false, true}) {
        make([](Shop &shop) {
            shop.users.at(0).status = 10;
            shop.users.at(0).printer = 0;
            shop.users.at(0).print_flags = 5;
            shop.users.at(0).print_connection = 7;
        });
        const auto slot = static_cast<std::size_t>(region_users.offset(1));
        const std::string before = bytes("RVSYS.TXT").substr(slot, 64);
        Terminal t = start({.program = "/bin/sh", .arguments = {"-c", "ulimit -n 60; exec " RVCHK_PROGRAM}});
        reach_menu(t);
        if (hangs_up) {
            t.hang_up();
        } else {
            t.send_signal(SIGTERM);
        }
        EXPECT_EQ(t.wait_exit(), 0);
        const std::string after = bytes("RVSYS.TXT").substr(slot, 64);
        EXPECT_EQ(after[38], 11);
        EXPECT_EQ(after.substr(18, 4), before.substr(18, 4));
        EXPECT_FALSE(there("RVCHK860.OK"));
        fs::remove_all(directory);
    }
}

}  // namespace
