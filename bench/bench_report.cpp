#include <algorithm>
#include <cstdio>
#include <map>

#include "bench/bench.h"

namespace {

struct row {
    std::int64_t place;  // in the list of all; the runs may come in another order
    std::string what;
    const char *unit;
    std::map<std::string, double> best;
};
std::vector<row> rows;

void note(const benchmark::BenchmarkReporter::Run &run) {
    const std::string &name = run.run_name.function_name;
    const std::size_t slash = name.find('/');
    if (run.error_occurred || run.run_type != benchmark::BenchmarkReporter::Run::RT_Iteration ||
        slash == std::string::npos) {
        return;
    }
    const std::string what = name.substr(0, slash);
    auto at = std::find_if(rows.begin(), rows.end(), [&](const row &r) { return r.what == what; });
    if (at == rows.end()) {
        at = rows.insert(rows.end(),
                         {run.family_index, what, benchmark::GetTimeUnitString(run.time_unit), {}});
    }
    const double time = run.GetAdjustedCPUTime();
    const auto [best, fresh] = at->best.emplace(name.substr(slash + 1), time);
    best->second = fresh ? time : std::min(best->second, time);
}

// The library's interface requires a derived class.
struct noting_reporter : benchmark::ConsoleReporter {
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            note(run);
        }
        ConsoleReporter::ReportRuns(runs);
    }
};
noting_reporter reporter;

double of(const row &r, const char *side) {
    const auto at = r.best.find(side);
    return at == r.best.end() ? 0 : at->second;
}

void print_time(double time) {
    time > 0 ? std::printf(" %10.3f", time) : std::printf(" %10s", "");
}

void print_ratio(double peer, double own) {
    peer > 0 && own > 0 ? std::printf(" %8.2fx", peer / own) : std::printf(" %9s", "");
}

}  // namespace

benchmark::BenchmarkReporter *bench_reporter() {
    return &reporter;
}

void bench_print_ratios() {
    std::printf("\nBest processor time of each, and how many times as fast as the peers the store is\n");
    std::printf("%-22s %4s %10s %10s %10s %10s %9s %9s %9s %9s\n", "", "", "exclusive", "shared", "SQLite",
                "LMDB", "SQL/excl", "SQL/shar", "LMDB/excl", "LMDB/shar");
    std::sort(rows.begin(), rows.end(), [](const row &a, const row &b) { return a.place < b.place; });
    for (const row &r : rows) {
        std::printf("%-22s %4s", r.what.c_str(), r.unit);
        const char *const sides[] = {"exclusive", "shared", "sqlite", "lmdb"};
        for (const char *side : sides) {
            print_time(of(r, side));
        }
        for (const char *peer : {"sqlite", "lmdb"}) {
            print_ratio(of(r, peer), of(r, "exclusive"));
            print_ratio(of(r, peer), of(r, "shared"));
        }
        std::printf("\n");
    }
}
