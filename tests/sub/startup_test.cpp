// Start-up, the report of files left open, other programs run from inside, and the notice of a held record.
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "base/base.h"
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

class Startup : public RunCase {
protected:
    /// Writes a file, below a directory that is made.
    void put(const std::string &name, const std::string &text) const {
        fs::create_directories((directory / name).parent_path());
        std::ofstream(directory / name) << text;
        fs::permissions(directory / name, fs::perms::owner_all);
    }
    [[nodiscard]] Terminal start(std::vector<std::string> arguments) const {
        return RunCase::start({.program = STARTUP_PROBE, .arguments = std::move(arguments)});
    }
};

TEST_F(Startup, CurrencyAndTills) {
    options.tills = 0;
    for (const char *name : {"KAS0102.SYS", "KAS1099.SYS", "KAS01.SYS", "KASAB01.SYS", "KAS01021.SYS"}) {
        put(name, "");
    }
    for (const bool till_list : {false, true}) {
        make([till_list](Shop &shop) {
            std::memcpy(shop.country.home_currency, shop.currencies.at(0).code, 3);
            shop.settings.mode = till_list ? mode_till_list : 0;
            shop.currencies.at(0).decimals = till_list ? 0 : 2;
        });
        EXPECT_TRUE(start({"settings"})
                        .play(std::string("=> <ENTER> voor vervolg | 1= rvchk860 8.60 | ") +
                              (till_list ? "3=decimalen 0, KPOS=geset. | 4=kassa's 1/2 10/99."
                                         : "3=decimalen 2, KPOS=. | 4=kassa's.") +
                              "\n<ENTER> => exit 0"));
    }
}

TEST_F(Startup, FilesLeftOpenAreReported) {
    make();
    put("EIGEN.TXT", std::string(1234, 'x'));
    put("2024Z/ORD9.JRN", "abc");
    put("2024Q/ORD9.JRN", "nergens");
    Terminal t(
        {.program = "/bin/sh",
         .arguments = {"-c", "exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; ulimit -n 40; exec " STARTUP_PROBE
                             " leak EIGEN.TXT /dev/null 2024Z/ORD9.JRN 2024Q/ORD9.JRN"},
         .directory = directory});
    EXPECT_TRUE(t.play(R"(
                => 3:file- | 3:size=1234    EIGEN.TXT | 4:size=3       2024Z/ORD9.JRN | 5:size=7       ??? | 6=
                => 20: rvchk860  | 21:│ Files nog open: 4  (begin=3 | <ENTER> voor vervolg
        <ENTER> => exit 0
    )"));
    EXPECT_EQ(t.bells(), 1);
}

// The other program has the terminal as the shell gave it; whatever it leaves behind, the modes come back,
// and the end of the session restores those of the start.
TEST_F(Startup, AnotherProgramRunsInBetween) {
    make();
    const char *script =
        "#!/bin/sh\nstty -a | grep -o '[- ]echo ' | tr -d '\\n'; echo \"[$1]\"; stty -onlcr; exit 3\n";
    put("eigen map/bezig", script);
    const std::string there = (directory / "eigen map").string();
    for (const std::string &where : {std::string("PROGRAMMAS"), there + "/"}) {
        Terminal t({.program = "/bin/sh",
                    .arguments = {"-c", "'" STARTUP_PROBE "' run '" + where +
                                            "' 'bezig a'; stty -a | grep -o '[- ]onlcr'"},
                    .directory = directory,
                    .environment = {{"PROGRAMMAS", there}}});
        // The screen is painted anew after the question.
        EXPECT_TRUE(t.play(R"(
                       => echo [a] | !-echo | <ENTER> voor vervolg
            zzz<ENTER> => uitkomst 768 | 3=ervoor
            <ENTER>    => exit 0
        )"));
        EXPECT_EQ(t.raw().find("zzz"), std::string::npos) << "what is typed at the question is not shown";
        EXPECT_NE(t.raw().find(" onlcr"), std::string::npos) << t.raw();
    }
    EXPECT_TRUE(start({"run", "GEENMAP", "bezig"}).play("=> uitkomst -1"));
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
    EXPECT_TRUE(start({"notice", "RVSER", "1"}).play(R"(
        => 25:RVSER: | 25: --> Informatie in gebruik door MIEP (tty4) | 25,1 blink
        => exit 0
    )"));
    EXPECT_TRUE(start({"notice", "RVSER", "2"}).play(R"(
        => 25:RVSER: | 25: --> Informatie in gebruik op ander scherm
        => exit 0
    )"));
    close(data);
    close(system);
}

}  // namespace
