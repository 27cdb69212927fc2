// The program rvcheck on made shops: what it answers, what it tells, and how it ends.
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "check/session/session.h"
#include "command/options.h"
#include "support/check_case.h"
#include "support/other_process.h"
#include "support/terminal.h"

namespace {

using json = nlohmann::json;

class RvCheck : public ScratchDir {
protected:
    static void make(const std::string &name, const std::vector<std::string> &faults = {}, int checked = -1) {
        // Not every made shop has what a fault needs.
        std::string why = "none";
        for (std::uint64_t seed = 1; seed <= 20 && !why.empty(); seed++) {
            why = make_shop({.series = 30, .checked = checked, .seed = seed, .faults = faults}, name);
        }
        ASSERT_EQ(why, "");
    }
    /// Starts the program without a terminal; its objects go to the file "lines".
    pid_t start(const std::string &arguments) {
        const pid_t process = fork();
        if (process == 0) {
            const std::string command =
                "exec '" RVCHECK "' --json lines " + arguments + " </dev/null >out 2>&1";
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        return process;
    }
    /// Waits for its end; gives the exit status and reads what it has told.
    int finish(pid_t process) {
        int status = 0;
        waitpid(process, &status, 0);
        findings.clear();
        checks.clear();
        shops.clear();
        std::ifstream lines("lines");
        for (std::string line; std::getline(lines, line);) {
            const json told = json::parse(line);
            const std::string type = told["type"];
            if (type == "finding") {
                findings.push_back(told);
            } else if (type == "check") {
                checks[told["check"]] = told;
            } else if (type == "shop") {
                shops[told["shop"]] = told;
            } else {
                EXPECT_EQ(type, "run");
                EXPECT_EQ(told["status"], WEXITSTATUS(status));
            }
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    int run(const std::string &arguments) {
        unlink("lines");
        return finish(start(arguments));
    }
    [[nodiscard]] std::string result(const std::string &check) const {
        const auto found = checks.find(check);
        return found == checks.end() ? "untold" : found->second["result"].get<std::string>();
    }

    std::vector<json> findings;
    std::map<std::string, json> checks;
    std::map<std::string, json> shops;
};

TEST_F(RvCheck, StatusTellsWhatWasMendedAndWhatIsLeft) {
    make("shop", {"series-count", "ean-missing"});
    // Without a terminal the answer is no.
    EXPECT_EQ(run("shop"), status_left) << get("out");
    EXPECT_EQ(result("labels"), "passed");
    EXPECT_EQ(result("series"), "failed");
    EXPECT_EQ(result("prices"), "not_run");
    EXPECT_NE(checks["prices"]["reason"].get<std::string>().find("series"), std::string::npos);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0]["code"], "series.1");
    EXPECT_TRUE(findings[0]["mended"].is_null());
    EXPECT_EQ(findings[0]["file"], "RVSER");
    EXPECT_TRUE(findings[0]["fields"]["counted"].is_number());

    EXPECT_EQ(run("-y shop"), status_mended) << get("out");
    EXPECT_TRUE(findings[0]["mended"].is_null());
    EXPECT_EQ(checks["series"]["codes"]["series.1"], json({{"found", 1}, {"mended", 1}, {"left", 0}}));
    EXPECT_EQ(shops["shop"]["mended"], 2);
    EXPECT_EQ(result("journals"), "passed");

    // What no repair helps is asked once, and left.
    make("invalid", {"label-series-invalid"});
    EXPECT_EQ(run("-y invalid"), status_left) << get("out");
    EXPECT_EQ(result("labels"), "failed");
    EXPECT_EQ(checks["labels"]["codes"]["labels.7"]["left"], 1);

    // Lost blocks that the series counts are put back whatever the answer is.
    make("chain", {"label-chain-cut"});
    EXPECT_EQ(run("-n chain"), status_mended) << get("out");
    EXPECT_EQ(run("-n shop"), status_clean) << get("out");
    EXPECT_EQ(std::system(RVCHECK " -n shop </dev/null >/dev/full 2>&1"), 0)
        << "ends when nothing can be told";
}

// The series goes with its prices; only then its labels are on no chain.
TEST_F(RvCheck, WhatARepairUncoversIsMendedInTheSameRun) {
    make("shop", {"series-no-brand"});
    EXPECT_EQ(run("-y --report reports shop"), status_mended) << get("out");
    EXPECT_NE(get("reports/prices.txt"), "");
    EXPECT_EQ(run("-y --report reports shop"), status_clean) << get("out");
    EXPECT_EQ(get("reports/prices.txt"), "");
    EXPECT_NE(get("reports/entry-13.txt"), "");
}

TEST_F(RvCheck, ChecksAreChosenAndNeedThoseBefore) {
    make("never");
    make("lately", {"price-set-no-end"}, 1);
    EXPECT_EQ(run("--only prices,ean never"), status_unchecked) << get("out");
    EXPECT_EQ(checks.size(), 2U);
    EXPECT_EQ(result("prices"), "not_run");
    EXPECT_EQ(run("--only labels,series,prices never"), status_clean) << get("out");
    EXPECT_EQ(run("-y --only prices lately"), status_mended) << get("out");
    EXPECT_EQ(run("--entry 12,13 never"), status_clean) << get("out");
    EXPECT_EQ(result("customers"), "passed");
    EXPECT_EQ(result("labels"), "untold");
}

TEST_F(RvCheck, MarkerIsWrittenWhenWantedAndNeverStaysWhereItIsNotTrue) {
    make("shop");
    EXPECT_EQ(run("shop"), status_clean);
    EXPECT_FALSE(file_exists("shop/RVCHK860.OK"));
    EXPECT_EQ(run("--marker --only labels shop"), status_clean);
    EXPECT_TRUE(file_exists("shop/RVCHK860.OK"));  // the other checks passed today
    make("shop", {"series-count"});
    put("shop/RVCHK860.OK");
    EXPECT_EQ(run("-n shop"), status_left);
    EXPECT_FALSE(file_exists("shop/RVCHK860.OK"));
}

TEST_F(RvCheck, BackupIsWhatTheShopWasAndAKeptCopyWhatItWouldBe) {
    make("shop", {"series-count"});
    const std::string before = get("shop/RVSER.TXT");
    EXPECT_EQ(run("--rehearse --keep kept shop"), status_mended) << get("out");
    EXPECT_EQ(get("shop/RVSER.TXT"), before);
    EXPECT_TRUE(shops["shop"]["rehearsed"]);
    EXPECT_EQ(run("-y --backup saved shop"), status_mended) << get("out");
    EXPECT_EQ(get("saved/RVSER.TXT"), before);
    EXPECT_EQ(get("kept/RVSER.TXT"), get("shop/RVSER.TXT"));
    EXPECT_EQ(run("-y --backup saved shop"), status_unchecked) << "a backup is never written over";
}

// ---- Several shops

/// Another user has the whole system file.
void lock_system_file(const char *path) {
    const int fd = open(path, O_RDWR);
    ASSERT_TRUE(file_lock(lock_action::exclusive, fd, 0, 0));
}

/// The process of a shop that has its file open.
pid_t process_in(pid_t parent, const std::string &directory) {
    const std::string of = std::to_string(parent);
    std::ifstream children("/proc/" + of + "/task/" + of + "/children");
    for (pid_t child = 0; children >> child;) {
        std::error_code failed;
        const auto place = std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/cwd", failed);
        if (place.filename() == directory) {
            return child;
        }
    }
    return 0;
}

TEST_F(RvCheck, AShopThatCannotBeCheckedIsALineOfTheResult) {
    for (const char *shop : {"cut", "dies", "locked", "sound"}) {
        make(shop);
    }
    make("left", {"customer-no-name"});
    std::filesystem::create_directory("w\u00e9g");
    std::filesystem::resize_file("cut/RVSYS.TXT", 100);
    const OtherProcess one([] { lock_system_file("locked/RVSYS.TXT"); });
    const OtherProcess two([] { lock_system_file("dies/RVSYS.TXT"); });
    const pid_t fleet = start("-j 2 --wait 2 dies sound locked w\u00e9g cut left");
    pid_t dies = 0;
    ASSERT_TRUE(eventually([&] { return (dies = process_in(fleet, "dies")) != 0; }));
    kill(dies, SIGSEGV);
    EXPECT_EQ(finish(fleet), status_unchecked | status_left);
    std::map<std::string, int> statuses;
    for (const auto &[name, shop] : shops) {
        statuses[name] = shop["status"];
        EXPECT_EQ(shop["reason"].is_null(), name == "sound" || name == "left") << shop;
    }
    const std::map<std::string, int> expected = {{"cut", status_unchecked}, {"dies", status_unchecked},
                                                 {"left", status_left},     {"locked", status_unchecked},
                                                 {"sound", status_clean},   {"w\u00e9g", status_unchecked}};
    EXPECT_EQ(statuses, expected) << get("out");
    EXPECT_NE(shops["w\u00e9g"]["reason"].get<std::string>().find("/w\u00e9g"), std::string::npos)
        << get("out");
    // A line a shop, sorted.
    const std::string out = get("out");
    std::size_t last = 0;
    for (const auto &[name, status] : expected) {
        const std::size_t at = out.rfind("\n" + name + " ");
        EXPECT_TRUE(at != std::string::npos && at > last) << name << out;
        last = at;
    }
}

TEST_F(RvCheck, SignalBreaksOffAllShopsAndLeavesThemSound) {
    make("waits", {"series-count"});
    make("later");
    const OtherProcess other([] { lock_system_file("waits/RVSYS.TXT"); });
    const pid_t fleet = start("-y waits later");
    ASSERT_TRUE(eventually([&] { return process_in(fleet, "waits") != 0; }));
    kill(fleet, SIGINT);
    EXPECT_EQ(finish(fleet), status_cancelled) << get("out");
    EXPECT_EQ(shops["later"]["status"], status_cancelled);
    EXPECT_EQ(shops["waits"]["status"], status_cancelled);
}

// ---- On a terminal

TEST_F(RvCheck, QuestionsAreAskedInALineWithTheDefault) {
    make("shop", {"series-count"});
    const std::string before = get("shop/RVSER.TXT");
    EXPECT_TRUE(plays({.program = RVCHECK, .arguments = {"shop"}},
                      "=> herstellen? (J/N) [N]\n <ENTER> => exit " + std::to_string(status_left)));
    EXPECT_TRUE(plays({.program = RVCHECK, .arguments = {"shop"}},
                      "=> [N]\n <INTR> => exit " + std::to_string(status_left | status_cancelled)));
    EXPECT_EQ(get("shop/RVSER.TXT"), before);
    EXPECT_TRUE(plays({.program = RVCHECK, .arguments = {"--progress", "shop"}},
                      "=> [N]\n x<ENTER>j<ENTER> => exit " + std::to_string(status_mended)));
    EXPECT_EQ(run("shop"), status_clean);
    // The customers are mended, so that all checks run again; what was refused is not asked again.
    make("two", {"series-count", "customer-number-zero"});
    EXPECT_TRUE(plays({.program = RVCHECK, .arguments = {"two"}},
                      "=> [N]\n <ENTER> => [J]\n <ENTER> => exit " + std::to_string(status_left)));
}

// ---- The command line

TEST_F(RvCheck, WrongUseIsToldAndNothingIsDone) {
    make("shop");
    std::filesystem::create_directory("other");
    make("other/shop");
    for (const char *arguments :
         {"", "-y -n shop", "-n --rehearse shop", "--keep here shop", "--rehearse --backup here shop",
          "--rehearse --marker shop", "--only lables shop", "--only labels --entry 11 shop",
          "--entry 14 shop", "-j 0 shop", "--wait -1 shop", "--progress --quiet shop", "shop ./shop",
          "--report r shop other/shop", "--json nowhere/lines shop", "--unknown shop", "-y --backup '' shop",
          "--rehearse --keep shop/kept shop", "shop ''"}) {
        EXPECT_EQ(run(arguments), status_wrong_use) << arguments << get("out");
        EXPECT_NE(get("out"), "") << arguments;
    }
    EXPECT_FALSE(file_exists("lines"));
}

TEST_F(RvCheck, ListNamesAllThatCanBeFoundAndNoTerminalIsLinked) {
    EXPECT_EQ(std::system("'" RVCHECK "' --list >/dev/full 2>/dev/null"), status_wrong_use << 8);
    EXPECT_EQ(run("--list"), status_clean);
    std::istringstream list(get("out"));
    std::set<std::string> codes;
    for (std::string line; std::getline(list, line);) {
        EXPECT_TRUE(codes.insert(line.substr(0, line.find(' '))).second) << line;
    }
    EXPECT_EQ(codes.size(), chk_all_findings().size());
    EXPECT_NE(std::system("ldd '" RVCHECK "' | grep -qE 'curses|tinfo'"), 0);
}

// ---- docs/rvcheck-json.md: its examples, and what comes out, have the fields that it tells

using field_types = std::map<std::string, std::string>;

/// What the document says: the fields of each type of line, and the examples.
struct line_schema {
    std::map<std::string, field_types> types;
    std::vector<std::string> examples;
};

line_schema read_document() {
    line_schema schema;
    std::ifstream document(RVCHECK_JSON_DOC);
    std::string type;
    const std::regex field("\\| `([a-z]+)` \\| ((string|integer|number|boolean|object)( or null)?) \\|.*");
    for (std::string line; std::getline(document, line);) {
        std::smatch found;
        if (line.starts_with("## ")) {
            type = line.substr(3);
        } else if (line.starts_with("{")) {
            schema.examples.push_back(line);
        } else if (std::regex_match(line, found, field)) {
            schema.types[type][found[1]] = found[2];
        }
    }
    return schema;
}

/// The line has the fields of its type, and no others. Gives its type.
std::string expect_as_told(const line_schema &schema, const std::string &text) {
    const json line = json::parse(text);
    const auto told = schema.types.find(line["type"]);
    const field_types fields = told == schema.types.end() ? field_types{} : told->second;
    EXPECT_EQ(line.size(), fields.size()) << text;
    for (const auto &[name, type] : fields) {
        const json value = line.value(name, json{json::value_t::discarded});
        const std::string is = value.is_number_integer() ? "integer" : value.type_name();
        EXPECT_TRUE(is == type || type == is + " or null" || (is == "null" && type.ends_with(" or null")))
            << name << " is " << is << ", told is " << type << ": " << text;
    }
    return line["type"];
}

class JsonDocument : public CheckCase {};

TEST_F(JsonDocument, TellsTheLinesThatComeOut) {
    const line_schema schema = read_document();
    std::filesystem::create_directory("cut");
    make({.series = 10, .customers = 0}, {"series-count", "ean-missing", "journal-short", "group-no-name"});
    const std::string command =
        RVCHECK " --rehearse --quiet --json lines . cut >people 2>&1; echo $? >status";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(get("status"), "12\n") << get("people");
    std::set<std::string> seen;
    std::string last;
    std::ifstream lines("lines");
    for (std::string line; std::getline(lines, line);) {
        last = expect_as_told(schema, line);
        seen.insert(last);
    }
    EXPECT_EQ(last, "run");
    EXPECT_EQ(seen.size(), schema.types.size());
    for (const std::string &example : schema.examples) {
        seen.erase(expect_as_told(schema, example));
    }
    EXPECT_TRUE(seen.empty()) << *seen.begin() << " has no example";
}

}  // namespace
