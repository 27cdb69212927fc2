// Start-up, the report of files left open, other programs run from inside, and the notice of a held record.
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "base/base.h"
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

class Startup : public RunCase {
protected:
    /// Writes a file, below a directory that is made.
    void put(const std::string &name, const std::string &text, bool program = false) const {
        fs::create_directories((directory / name).parent_path());
        std::ofstream(directory / name) << text;
        if (program) {
            fs::permissions(directory / name, fs::perms::owner_all);
        }
    }
    [[nodiscard]] Terminal start(std::vector<std::string> arguments) const {
        TerminalOptions terminal;
        terminal.program = STARTUP_PROBE;
        terminal.arguments = std::move(arguments);
        terminal.environment = {{"PROGRAMMAS", directory / "eigen map"}};
        return RunCase::start(terminal);
    }
};

TEST_F(Startup, CurrencyAndTills) {
    options.tills = 0;
    for (const char *name : {"KAS0102.SYS", "KAS1099.SYS", "KAS01.SYS", "KASAB01.SYS", "KAS01021.SYS"}) {
        put(name, "");
    }
    struct {
        bool till_list;
        std::function<void(Shop &)> change;
        const char *settings;
        const char *tills;
    } const cases[] = {
        {false, [](Shop &) {}, "decimalen 2, KPOS=.", "kassa's."},
        {true, [](Shop &shop) { shop.currencies.at(0).decimals = 0; }, "decimalen 0, KPOS=geset.",
         "kassa's 1/2 10/99."},
    };
    for (const auto &each : cases) {
        make([&each](Shop &shop) {
            std::memcpy(shop.country.home_currency, shop.currencies.at(0).code, 3);
            shop.settings.mode = each.till_list ? mode_till_list : 0;
            each.change(shop);
        });
        Terminal t = start({"settings"});
        ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
        EXPECT_EQ(t.row(1), " rvchk860 8.60");
        EXPECT_EQ(t.row(3), each.settings);
        EXPECT_EQ(t.row(4), each.tills);
        t.key("ENTER");
        EXPECT_EQ(t.wait_exit(), 0);
    }
}

TEST_F(Startup, FilesLeftOpenAreReported) {
    make();
    put("EIGEN.TXT", std::string(1234, 'x'));
    put("2024Z/ORD9.JRN", "abc");
    put("2024Q/ORD9.JRN", "nergens");
    TerminalOptions terminal;
    terminal.program = "/bin/sh";
    terminal.arguments = {"-c", "exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; ulimit -n 40; exec " STARTUP_PROBE
                                " leak EIGEN.TXT /dev/null 2024Z/ORD9.JRN 2024Q/ORD9.JRN"};
    terminal.directory = directory;
    Terminal t(terminal);
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    const auto matches = [&t](int row, const std::string &pattern) {
        return wildcard_match(pattern.c_str(), t.row(row).c_str());
    };
    EXPECT_TRUE(matches(3, "file-??  size=1234    EIGEN.TXT")) << t.dump();
    EXPECT_TRUE(matches(4, "file-??  size=3       2024Z/ORD9.JRN")) << t.dump();
    EXPECT_TRUE(matches(5, "file-??  size=7       \?\?\?")) << t.dump();
    EXPECT_EQ(t.row(6), "");
    EXPECT_NE(t.row(20).find(" rvchk860 "), std::string::npos) << t.dump();
    EXPECT_TRUE(matches(21, "│ Files nog open: 4  (begin=3?, einde=3?)*")) << t.dump();
    EXPECT_EQ(t.bells(), 1);
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 0);
}

// The other program has the terminal as the shell gave it; whatever it leaves behind, the modes come back,
// and the end of the session restores those of the start.
TEST_F(Startup, AnotherProgramRunsInBetween) {
    make();
    const char *script =
        "#!/bin/sh\nstty -a | grep -o '[- ]echo ' | tr -d '\\n'; echo \"[$1]\"; stty -onlcr; exit 3\n";
    put("eigen map/bezig", script, true);
    const std::string there = (directory / "eigen map").string();
    for (const std::string &where : {std::string("PROGRAMMAS"), there + "/"}) {
        TerminalOptions terminal;
        terminal.program = "/bin/sh";
        terminal.arguments = {
            "-c", "'" STARTUP_PROBE "' run '" + where + "' 'bezig a'; stty -a | grep -o '[- ]onlcr'"};
        terminal.directory = directory;
        terminal.environment = {{"PROGRAMMAS", there}};
        Terminal t(terminal);
        ASSERT_TRUE(t.wait_for("[a]")) << where;
        EXPECT_TRUE(t.wait_for(" echo [a]")) << "without a minus\n" << t.dump();
        ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
        t.type("zzz");
        t.key("ENTER");
        ASSERT_TRUE(t.wait_for("uitkomst 768"));
        EXPECT_EQ(t.row(3), "ervoor") << "the screen is painted anew";
        EXPECT_EQ(t.raw().find("zzz"), std::string::npos) << "what is typed at the question is not shown";
        t.key("ENTER");
        EXPECT_EQ(t.wait_exit(), 0);
        EXPECT_NE(t.raw().find(" onlcr"), std::string::npos) << t.raw();
    }
    Terminal nowhere = start({"run", "GEENMAP", "bezig"});
    EXPECT_TRUE(nowhere.wait_for("uitkomst -1"));
}

TEST_F(Startup, NoticeNamesTheFileAndTheHolder) {
    make([](Shop &shop) {
        std::strncpy(shop.users.at(0).name, "MIEP", sizeof shop.users[0].name);
        std::memcpy(shop.users.at(0).terminal, "4\0\0\0\0\0", 6);
    });
    const int data = open((directory / "RVSER.TXT").c_str(), O_RDWR);
    const int system = open((directory / "RVSYS.TXT").c_str(), O_RDWR);
    const auto length = static_cast<off_t>(sizeof(SeriesRecord));
    ASSERT_TRUE(file_lock(lock_action::exclusive, data, 1 * length, length));
    ASSERT_TRUE(file_lock(lock_action::exclusive, system, region_users.offset(1), region_users.size));
    Terminal t = start({"notice", "RVSER", "1"});
    ASSERT_TRUE(t.wait_for("RVSER: "));
    EXPECT_TRUE(t.row(25).ends_with(" --> Informatie in gebruik door MIEP (tty4)")) << t.dump();
    EXPECT_TRUE(t.attr(25, 1).blink);
    EXPECT_EQ(t.wait_exit(), 0);

    Terminal other = start({"notice", "RVSER", "2"});
    ASSERT_TRUE(other.wait_for("RVSER: "));
    EXPECT_TRUE(other.row(25).ends_with(" --> Informatie in gebruik op ander scherm")) << other.dump();
    EXPECT_EQ(other.wait_exit(), 0);
    close(data);
    close(system);
}

}  // namespace
