#include "support/check_case.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <sstream>

#include "support/terminal.h"

namespace {

constexpr const char *result_files[] = {"rapport.txt", "vragen.txt", "uitkomst.txt"};

std::vector<std::string> lines_of(const char *name) {
    std::vector<std::string> lines;
    std::ifstream text(name);
    for (std::string line; std::getline(text, line);) {
        line.erase(0, line.find_first_not_of('\f'));
        lines.push_back(line);
    }
    return lines;
}

bool holds(const std::vector<std::string> &lines, const std::string &text) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string &line) { return line.find(text) != std::string::npos; });
}

}  // namespace

bool CheckRun::reports(const std::string &text) const {
    return holds(report, text);
}

int CheckRun::count(const std::string &text) const {
    return static_cast<int>(std::count_if(report.begin(), report.end(), [&](const std::string &line) {
        return line.find(text) != std::string::npos;
    }));
}

bool CheckRun::asked(const std::string &text) const {
    return holds(questions, text);
}

std::ostream &operator<<(std::ostream &out, const CheckRun &run) {
    out << "status " << run.status << ", flags [" << run.flags << "]\n";
    for (const std::string &line : run.report) {
        out << "| " << line << "\n";
    }
    for (const std::string &line : run.questions) {
        out << "? " << line << "\n";
    }
    return run.status == 0 ? out : out << run.last_output << "\n";
}

CheckRun run_check(const std::string &words, const std::string &answers) {
    for (const char *name : result_files) {
        std::filesystem::remove(name);
    }
    TerminalOptions probe{.program = RVCHK_CHECK_PROBE};
    if (const char *programs = std::getenv("BIN")) {
        probe.environment["BIN"] = programs;
    }
    if (!answers.empty()) {
        probe.arguments.push_back("answers=" + answers);
    }
    std::istringstream list(words);
    for (std::string word; list >> word;) {
        probe.arguments.push_back(word);
    }
    CheckRun run;
    Terminal t(probe);
    if (t.wait_for("AFGEBROKEN", std::chrono::minutes(1))) {
        t.key("ENTER");  // a fatal stop waits for it
    }
    run.status = t.wait_exit();
    run.last_output = t.raw();
    run.report = lines_of("rapport.txt");
    run.questions = lines_of("vragen.txt");
    for (const std::string &noted : lines_of("uitkomst.txt")) {
        if (noted.rfind("writes ", 0) == 0) {
            run.writes = std::stol(noted.substr(7));
        }
        if (const std::size_t colon = noted.find(':'); colon != std::string::npos) {
            run.flags = noted.substr(std::min(colon + 2, noted.size()));
        }
    }
    return run;
}

void CheckCase::make(const ShopOptions &options, const std::vector<std::string> &faults) {
    ShopOptions wanted = options;
    wanted.faults.insert(wanted.faults.end(), faults.begin(), faults.end());
    std::string why;
    ASSERT_TRUE(shop_options_valid(wanted, why)) << why;
    // What is in a made shop depends on the day, and not every shop has what a fault needs.
    constexpr std::uint64_t shops = 20;
    bool built = build_shop(wanted, shop, why);
    while (!built && ++wanted.seed < options.seed + shops) {
        built = build_shop(wanted, shop, why);
    }
    ASSERT_TRUE(built) << why;
    write();
}

void CheckCase::write() {
    std::string why;
    ASSERT_TRUE(write_shop(shop, ".", shop_target::any, why)) << why;
}

CheckRun CheckCase::check(const std::string &words, const std::string &answers) {
    CheckRun run = run_check(words, answers);
    if (words.find("kill-at") == std::string::npos) {
        EXPECT_EQ(run.status, 0) << words << "\n" << run;
    }
    return run;
}

std::string CheckCase::audit(unsigned parts) const {
    std::string text;
    for (const std::string &line : audit_shop(".", shop.today, parts)) {
        text += line + "\n";
    }
    return text;
}

int CheckCase::rounds(int usual) {
    const char *wanted = std::getenv("CHECK_ROUNDS");
    return wanted == nullptr ? usual : std::atoi(wanted);
}

unsigned CheckCase::date_on_file(unsigned offset) {
    constexpr unsigned row_bytes = 64;
    constexpr unsigned row_dates = 19;
    return Bytes("RVSYS.TXT").u16((row_dates - 1) * row_bytes + offset);
}
