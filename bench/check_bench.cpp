// The checks on sound shops of growing size, each beside one plain reading of the same files.
//
//   cmake --preset release -DRVCHK_BENCH=ON && cmake --build --preset release --target check_bench
//   build/release/bench/check_bench [--peer] [CHECK...]     all checks of the table below when none is named
//
// With --peer the question of labels, prices, label prices and EAN codes is put to SQLite as well: tables in
// memory, with the indexes that a sensible person would make. `sql` is its time, and `sql/run` the ratio. The
// check also writes its report's head, steps through real files that other programs may change, and opens and
// closes them.
//
// Set by the environment:
//   RVCHK_BENCH_SERIES   numbers of series, "10000 30000 100000" when it isn't given; each has ten labels
//   RVCHK_BENCH_ROUNDS   runs of each, 5 when it isn't given; the best counts
//   TMPDIR               where the shops are made (about 10 kB a series), /tmp when it isn't given
//
// Each check runs in a process of its own, in a pseudo-terminal, as in a full run; no progress is drawn. The
// columns, times in milliseconds of processor time:
//   first     the first run of the process, with what is done once a session (rebuilding the index of RVSER)
//   run       the best of the later runs; sys is its part in the kernel, wall is by the clock
//   ns/label  that time divided by the number of labels, and its ratio to that of the smallest shop
//   reading   the indexed files by the store's scan, the others by single reads of their records
//   ratio     run divided by reading
//   own       largest memory of the process's own, in megabytes, measured every few milliseconds
//   peak      the same with the pages of files that it had mapped, which the kernel takes back when needed
#include <glob.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "run/run.h"
#include "bench/peer.h"
#include "check/prices/prices.h"
#include "print/print_internal.h"
#include "screen/screen.h"
#include "data/criteriafile.h"
#include "data/labelfile.h"
#include "data/pricefile.h"
#include "tools/shop/shop.h"

namespace {

namespace fs = std::filesystem;

struct plain_file {
    const char *name;
    std::size_t record;
};

/// A check, and the files that it walks: names of pairs and of plain files, or patterns of names.
struct measured_check {
    const char *name;
    void (*run)();
    const bool *passed;  ///< null for a check without a flag
    std::vector<const char *> indexed;
    std::vector<plain_file> plain;
};

constexpr std::size_t large_reads = 65536;
const plain_file label_blocks{"RVETI.TXT", sizeof(LabelBlock)};
const plain_file price_blocks{"RVIPG.TXT", sizeof(PriceBlock)};
const plain_file criteria_blocks{"RVBAPAR.TXT", sizeof(CriteriaBlock)};
const plain_file journals{"[0-9]*/ORD*.JRN", large_reads};

/// Prices run the label prices as well, as they do in the sequence of the menu.
const measured_check checks[] = {
    {"labels", chk_labels, &ok_labels, {"RVSER"}, {label_blocks}},
    {"series", chk_series, &ok_series, {"RVSER"}, {label_blocks}},
    {"prices", chk_prices, &ok_prices, {"RVSER", "RVIPA"}, {price_blocks, label_blocks}},
    {"label_prices", chk_label_prices, nullptr, {"RVSER", "RVIPA"}, {label_blocks}},
    {"sizes", chk_sizes, &ok_sizes, {"RVSER", "RVIPA", "RVMAAT", "RVMTOM"}, {label_blocks}},
    {"transit", chk_transit, &ok_transit, {"RVGO"}, {label_blocks}},
    {"criteria", chk_order_criteria, &ok_order_criteria, {"RVBASER"}, {criteria_blocks}},
    {"customers", chk_customers, &ok_customers, {"RVKLT"}, {label_blocks}},
    {"titles", chk_titles, &ok_titles, {"RVKLT"}, {}},
    {"countries", chk_countries, &ok_countries, {"RVKLT"}, {}},
    {"master", chk_master, &ok_master, {"RVSER", "RVART", "RVLEV", "RVMERK", "RVARTREG"}, {}},
    {"ean", chk_ean, &ok_ean, {"RVSER", "RVEAN"}, {}},
    {"order_numbers", chk_order_numbers, &ok_order_numbers, {"RVSER", "RVIPA", "XNRS*"}, {}},
    {"barcodes", chk_barcodes, &ok_barcodes, {"RVSER", "RVBARC"}, {}},
    {"journals", chk_journals, &ok_journals, {"RVORDNR"}, {journals}},
};

[[noreturn]] void fail(const std::string &what) {
    std::fprintf(stderr, "check_bench: %s\n", what.c_str());
    std::exit(1);
}

// ---- In the process of the check

struct figures {
    double total = 0;  // all in milliseconds
    double system = 0;
    double wall = 0;
};

double milliseconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

template <class Work>
figures measure(Work work) {
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    getrusage(RUSAGE_SELF, &after);
    const double user = milliseconds(after.ru_utime) - milliseconds(before.ru_utime);
    const double system = milliseconds(after.ru_stime) - milliseconds(before.ru_stime);
    return {user + system, system, wall.count()};
}

template <class Work>
figures best_of(int rounds, Work work) {
    figures best = measure(work);
    for (int round = 1; round < rounds; round++) {
        const figures next = measure(work);
        best = next.total < best.total ? next : best;
    }
    return best;
}

std::vector<std::string> names_of(const std::string &pattern) {
    std::vector<std::string> names;
    glob_t found{};
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    return names;
}

void read_pair(const std::string &name) {
    char record[512];
    ICB *file = IXOPEN(name.c_str(), ix_readonly);
    while (IXSEQ(file, record)) {
    }
    IXCLOSE(file);
}

void read_plain(const std::string &name, std::size_t length) {
    std::vector<char> record(length);
    std::FILE *file = std::fopen(name.c_str(), "rb");
    off_t at = 0;
    ssize_t got = 0;
    do {
        got = file_read_at(fileno(file), record.data(), length, at);
        at += got;
    } while (got == static_cast<ssize_t>(length));
    std::fclose(file);
}

void read_files(const measured_check &check) {
    for (const char *pattern : check.indexed) {
        for (const std::string &name : names_of(std::string(pattern) + ".TXT")) {
            read_pair(name.substr(0, name.find('.')));
        }
    }
    for (const plain_file &plain : check.plain) {
        for (const std::string &name : names_of(plain.name)) {
            read_plain(name, plain.record);
        }
    }
}

bool open_job(const print_setup &, std::uint16_t, const char *) {
    prt_job = {};
    prt_job.aux = prt_job.preview = true;
    prt_job.rpt_width = 132;
    prt_job.rpt_lines = 60;
    return prt_job_start();
}

/// A line of /proc/PID/status, in megabytes; 0 when the process is gone. The kernel's figure for rusage
/// includes the process that this one was started from.
double memory(const std::string &pid, const std::string &line_name) {
    std::ifstream status("/proc/" + pid + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(line_name, 0) == 0) {
            return std::strtod(line.c_str() + line_name.size(), nullptr) / 1024;
        }
    }
    return 0;
}

[[noreturn]] void run_check(const measured_check &check, int rounds) {
    char *arguments[] = {const_cast<char *>("check_bench"), nullptr};
    start_program("", {"", ""}, 1, arguments);
    prt_modules.job_open = open_job;
    prt_modules.preview = [] { return false; };
    set_program_title("bestandscontroles");
    chk_session_open();
    isam_operator.progress = nullptr;
    chk_full_run = true;
    const figures first = measure(check.run);
    const bool passed = check.passed == nullptr || *check.passed;
    const figures run = best_of(rounds, check.run);
    const double peak = memory("self", "VmHWM:");
    const figures reading = best_of(rounds, [&] { read_files(check); });
    std::ofstream("metingen.txt") << passed << " " << first.total << " " << run.total << " " << run.system
                                  << " " << run.wall << " " << reading.total << " " << peak << "\n";
    chk_session_close();
    chain_program("");
}

// ---- Beside it

/// Set in the process of a check: the number of rounds.
constexpr char child_mark[] = "RVCHK_BENCH_CHILD";

std::string setting(const char *name, const char *otherwise) {
    const char *value = std::getenv(name);
    return value == nullptr ? otherwise : value;
}

/// Runs a check in the current directory and reads what it draws until it ends. Returns the largest memory
/// that it had of its own.
double run_in_terminal(const measured_check &check, int rounds) {
    constexpr int look_every = 4;  // milliseconds
    constexpr std::size_t tail = 4000;
    fs::remove("metingen.txt");
    const winsize size{25, 80, 0, 0};
    int line = -1;
    const pid_t pid = forkpty(&line, nullptr, nullptr, &size);
    if (pid == 0) {
        setenv("TERM", "xterm-256color", 1);
        setenv("TERMINFO", RVCHK_TERMINFO, 1);
        setenv(child_mark, std::to_string(rounds).c_str(), 1);
        execl("/proc/self/exe", "check_bench", check.name, nullptr);
        _exit(127);
    }
    if (pid < 0) {
        fail("no pseudo-terminal");
    }
    std::string drawn;
    double own = 0;
    auto looked = std::chrono::steady_clock::now();
    char buffer[4096];
    for (bool open = true; open;) {
        pollfd ready{line, POLLIN, 0};
        if (poll(&ready, 1, look_every) > 0) {
            const ssize_t length = read(line, buffer, sizeof buffer);
            open = length > 0;
            drawn.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
            drawn.erase(0, drawn.size() > tail ? drawn.size() - tail : 0);
        }
        const auto now = std::chrono::steady_clock::now();
        // Before it draws, it may still be a copy of this process.
        if (!drawn.empty() && now - looked >= std::chrono::milliseconds(look_every)) {
            own = std::max(own, memory(std::to_string(pid), "RssAnon:"));
            looked = now;
        }
    }
    int status = 0;
    waitpid(pid, &status, 0);
    close(line);
    if (status != 0) {
        fail("the check did not end well:\n" + drawn);
    }
    return own;
}

struct size_of_shop {
    int series;
    long labels;
    std::string directory;
    std::vector<peer_answer> peer;
};

long count_labels(const Shop &shop) {
    long count = 0;
    for (const LabelBlock &block : shop.label_blocks) {
        count += std::count_if(std::begin(block.slots), std::end(block.slots),
                               [](const LabelEntry &entry) { return !label_is_empty(entry); });
    }
    return count;
}

/// Makes a shop. Above 0, `peer_rounds` is how often each question is put to the peer.
size_of_shop make(int series, const fs::path &below, int peer_rounds) {
    ShopOptions options;
    options.series = series;
    options.label_digits = 8;
    options.customers = series;
    Shop shop;
    std::string why;
    const std::string directory = below / std::to_string(series);
    if (!build_shop(options, shop, why) || !write_shop(shop, directory, shop_target::any, why)) {
        fail(why);
    }
    const auto time = [](const std::function<void()> &work) { return measure(work).total; };
    return {series, count_labels(shop), directory,
            peer_rounds > 0 ? peer_answers(shop, peer_rounds, time) : std::vector<peer_answer>{}};
}

void print_line(const measured_check &check, const size_of_shop &shop, double own, double &smallest) {
    std::ifstream in("metingen.txt");
    bool passed = false;
    double first = 0;
    double run = 0;
    double system = 0;
    double wall = 0;
    double reading = 0;
    double peak = 0;
    if (!(in >> passed >> first >> run >> system >> wall >> reading >> peak)) {
        fail("the check left no figures");
    }
    const double each = run * 1e6 / static_cast<double>(std::max(shop.labels, 1L));
    smallest = smallest == 0 ? each : smallest;
    std::printf("%-14s%8d%9ld%9.1f%9.1f%8.1f%8.1f%9.1f%6.2f%9.1f%7.2f%7.1f%7.1f", check.name, shop.series,
                shop.labels, first, run, system, wall, each, each / smallest, reading, run / reading, own,
                peak);
    for (const peer_answer &answer : shop.peer) {
        if (std::string(answer.check) == check.name) {
            std::printf("%9.1f%8.2f%s", answer.milliseconds, answer.milliseconds / run,
                        answer.findings == 0 ? "" : "  SQL FINDS SOMETHING");
        }
    }
    std::printf("%s\n", passed ? "" : "  NOT PASSED");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    if (const char *child = std::getenv(child_mark); child != nullptr && argc == 2) {
        for (const measured_check &check : checks) {
            if (std::string(argv[1]) == check.name) {
                run_check(check, std::atoi(child));
            }
        }
    }
    const int rounds = std::max(std::atoi(setting("RVCHK_BENCH_ROUNDS", "5").c_str()), 1);
    std::string below = setting("TMPDIR", "/tmp") + "/check_benchXXXXXX";
    if (mkdtemp(below.data()) == nullptr) {
        fail("no directory " + below);
    }
    const bool peer = argc > 1 && std::string(argv[1]) == "--peer";
    argc -= peer ? 1 : 0;
    argv += peer ? 1 : 0;
    std::vector<size_of_shop> shops;
    std::istringstream sizes(setting("RVCHK_BENCH_SERIES", "10000 30000 100000"));
    for (int series = 0; sizes >> series;) {
        shops.push_back(make(series, below, peer ? rounds : 0));
    }
    std::printf("%-14s%8s%9s%9s%9s%8s%8s%9s%6s%9s%7s%7s%7s%s\n", "check", "series", "labels", "first", "run",
                "sys", "wall", "ns/label", "times", "reading", "ratio", "own", "peak",
                peer ? "      sql sql/run" : "");
    for (const measured_check &check : checks) {
        const auto named = [&](const char *word) { return std::string(word) == check.name; };
        if (argc > 1 && std::none_of(argv + 1, argv + argc, named)) {
            continue;
        }
        double smallest = 0;
        for (const size_of_shop &shop : shops) {
            fs::current_path(shop.directory);
            const double own = run_in_terminal(check, rounds);
            print_line(check, shop, own, smallest);
        }
    }
    fs::current_path("/");
    fs::remove_all(below);
    return 0;
}
