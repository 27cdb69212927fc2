// Processes that share one pair: each reads a random record under its lock and writes it back, and so do as
// many processes with SQLite. What counts is the share that each gets, and the sum.
//
//   cmake --preset release -DRVCHK_BENCH=ON && cmake --build --preset release --target share_bench
//   build/release/bench/share_bench
//
// Set by the environment:
//   RVCHK_BENCH_SECONDS   seconds for each line of the table, 2 when it isn't given
//   TMPDIR                where the files are made, /tmp when it isn't given
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "bench/bench.h"
#include "store/store.h"

namespace {

constexpr std::uint32_t records = 100;  // few: the same record is often wanted by two
constexpr int most_processes = 4;

struct shared_state {
    std::atomic<bool> stop;
    std::atomic<long> done[most_processes];
    std::atomic<long> longest[most_processes];  // microseconds that one operation took
};
shared_state *state = nullptr;

void make_file_pair() {
    ICB *icb = IXCREATE("S", ix_exclusive);
    IXUPDFCB(icb, 0, "meting,64");
    IXUPDFCB(icb, 1, "nummers,NODUPS,I,1,4,I,5,8");
    IXUPDFCB(icb, 2, "naam,C,9,24");
    IXINIT(icb);
    for (std::uint32_t rank = 0; rank < records; ++rank) {
        const bench_record record = bench_record_at(rank);
        IXWRITE(icb, &record);
    }
    IXCLOSE(icb);
}

void work_on_pair(const std::function<bool()> &goes_on) {
    std::mt19937 random(static_cast<unsigned>(getpid()));
    ICB *icb = IXOPEN("S", ix_shared);
    while (goes_on()) {
        bench_record record = bench_record_at(static_cast<std::uint32_t>(random() % records));
        if (!IXREADLOCK(icb, &record)) {
            bench_fail("S", "IXREADLOCK");
        }
        IXREWRITE(icb, &record);
    }
    IXCLOSE(icb);
}

void demand(sqlite3 *base, int code) {
    if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW) {
        bench_fail("sqlite", sqlite3_errmsg(base));
    }
}

void make_base() {
    sqlite3 *base = nullptr;
    demand(base, sqlite3_open("S.db", &base));
    demand(base, sqlite3_exec(base,
                              "PRAGMA journal_mode = WAL; CREATE TABLE t (k INTEGER PRIMARY KEY, v BLOB);"
                              "WITH RECURSIVE n(k) AS (SELECT 0 UNION ALL SELECT k + 1 FROM n WHERE k < 99)"
                              "INSERT INTO t SELECT k, zeroblob(60) FROM n;",
                              nullptr, nullptr, nullptr));
    sqlite3_close(base);
}

void work_on_base(const std::function<bool()> &goes_on) {
    std::mt19937 random(static_cast<unsigned>(getpid()));
    sqlite3 *base = nullptr;
    demand(base, sqlite3_open("S.db", &base));
    demand(base, sqlite3_busy_timeout(base, 20000));
    demand(base, sqlite3_exec(base, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr));
    while (goes_on()) {
        const std::string number = std::to_string(random() % records);
        demand(base, sqlite3_exec(base,
                                  ("BEGIN IMMEDIATE; SELECT v FROM t WHERE k = " + number +
                                   "; UPDATE t SET v = v WHERE k = " + number + "; COMMIT")
                                      .c_str(),
                                  nullptr, nullptr, nullptr));
    }
    sqlite3_close(base);
}

/// One line of the table.
void measure(const char *side, int processes, int seconds, void (*work)(const std::function<bool()> &)) {
    using clock = std::chrono::steady_clock;
    new (state) shared_state{};
    pid_t children[most_processes];
    for (int n = 0; n < processes; ++n) {
        children[n] = fork();
        if (children[n] == 0) {
            clock::time_point before = clock::now();
            work([&] {
                const clock::time_point now = clock::now();
                const long took = std::chrono::duration_cast<std::chrono::microseconds>(now - before).count();
                state->longest[n] = std::max<long>(state->longest[n], took);
                before = now;
                ++state->done[n];
                return !state->stop;
            });
            _exit(0);
        }
    }
    sleep(static_cast<unsigned>(seconds));
    state->stop = true;
    long sum = 0;
    long least = 0;
    long most = 0;
    long longest = 0;
    for (int n = 0; n < processes; ++n) {
        int status = 1;
        waitpid(children[n], &status, 0);
        if (status != 0) {
            bench_fail(side, "a process ended early");
        }
        const long done = state->done[n];
        sum += done;
        least = n == 0 ? done : std::min(least, done);
        most = std::max(most, done);
        longest = std::max<long>(longest, state->longest[n]);
    }
    std::printf("%-8s %9d %12ld %12ld %12ld %10.1f ms\n", side, processes, sum / seconds, least / seconds,
                most / seconds, static_cast<double>(longest) / 1000);
}

}  // namespace

int main() {
    const char *text = std::getenv("RVCHK_BENCH_SECONDS");
    const int seconds = std::max(text == nullptr ? 2 : std::atoi(text), 1);
    state = static_cast<shared_state *>(
        mmap(nullptr, sizeof(shared_state), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    namespace fs = std::filesystem;
    const fs::path directory = fs::temp_directory_path() / ("share_bench." + std::to_string(getpid()));
    fs::create_directory(directory);
    fs::current_path(directory);
    make_file_pair();
    make_base();
    std::printf("side     processes     a second   least share    most share  longest wait\n");
    for (const int processes : {1, 2, most_processes}) {
        measure("store", processes, seconds, work_on_pair);
        measure("sqlite", processes, seconds, work_on_base);
    }
    fs::current_path("/");
    fs::remove_all(directory);
}
