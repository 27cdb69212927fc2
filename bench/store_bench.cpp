// The indexed file store beside SQLite and LMDB: the same records, the same operations, in the same run.
//
//   cmake --preset release -DRVCHK_BENCH=ON && cmake --build --preset release --target store_bench
//   build/release/bench/store_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true
//
// Set by the environment:
//   RVCHK_BENCH_RECORDS   records in the files, 1000000 when it isn't given
//   TMPDIR                where the files are made (about 700 bytes a record), /tmp when it isn't given
//
// Of the library's flags these are the ones to know:
//   --benchmark_filter=REGEX          lookup, walk, scan, insert, rebuild, check, or sqlite, lmdb, ...
//   --benchmark_repetitions=N         the table at the end takes the best of them; use it, since a machine
//                                     that others share is never still
//   --benchmark_enable_random_interleaving=true   spreads the repetitions, so that a busy moment of the
//                                     machine falls on all sides alike
//   --benchmark_min_time=S            seconds for each of the short ones
//
// What is done, NAME/SIDE, where the store stands under the open mode:
//   lookup key 1, key 2   one random record by its key, copied out. In the store key 2 allows duplicates,
//                         so its lookup is IXFINDP and IXGET; in LMDB it leads to key 1 and on to the record
//   walk key 1, key 2     the next record in the order of a key (IXNEXT), round and round
//   scan                  the next record in the order of the file (IXSEQ; SQLite: rowid)
//   insert                a tenth as many records again, keys in random order, into the full file with both
//                         keys. Each record is there for others when its call returns: in SQLite (with a
//                         write-ahead log) and in LMDB that is a transaction for each
//   rewrite               one random record: read under its lock, written back and released (IXREADLOCK,
//                         IXREWRITE; the peers: a transaction)
//   rebuild sorted        both indexes over a file in the order of key 1 (SQLite: CREATE INDEX twice)
//   rebuild random        the same with the records in random order
//   check                 IXCHECK with every tenth record in the free chain (SQLite: PRAGMA quick_check,
//                         which reads far more)
// Nobody syncs. The table at the end counts processor time, user and system.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "bench/bench.h"
#include "store/store.h"

namespace {

namespace fs = std::filesystem;

std::uint32_t count = 1000000;
std::vector<std::uint32_t> order;  // ranks in the order of the file

// ---- The store's side

void write_pair(const char *name, const std::vector<std::uint32_t> &ranks) {
    {
        std::ofstream data(std::string(name) + ".TXT", std::ios::binary);
        for (const std::uint32_t rank : ranks) {
            const bench_record record = bench_record_at(rank);
            data.write(reinterpret_cast<const char *>(&record), sizeof record);
        }
    }
    ICB *icb = IXCREATE(name, ix_exclusive);
    IXUPDFCB(icb, 0, "meting,64");
    IXUPDFCB(icb, 1, "nummers,NODUPS,I,1,4,I,5,8");
    IXUPDFCB(icb, 2, "naam,C,9,24");
    IXCLOSE(icb);
    if (!IXBLDIX(name)) {
        bench_fail(name, "IXBLDIX");
    }
}

void copy_pair(const char *from, const char *to) {
    for (const char *half : {".INX", ".TXT"}) {
        fs::copy_file(std::string(from) + half, std::string(to) + half, fs::copy_options::overwrite_existing);
    }
}

/// The pair that is read, open in the mode that the benchmark in hand wants.
ICB *reading = nullptr;
void close_store() {
    if (reading != nullptr) {
        IXCLOSE(reading);
        reading = nullptr;
    }
}
ICB *open_store(int mode, int key) {
    if (reading == nullptr) {
        if (!fs::exists("R.INX")) {
            write_pair("R", order);
        }
    } else if (reading->mode != mode) {
        close_store();
    }
    if (reading == nullptr) {
        reading = IXOPEN("R", mode);
    }
    IXSWITCH(reading, key);
    return reading;
}

/// Keys in an order of its own: neither that of the file nor that of a key.
struct key_source {
    std::vector<std::uint32_t> ranks = order;
    std::size_t at = 0;

    key_source() {
        std::mt19937 random(99);
        std::shuffle(ranks.begin(), ranks.end(), random);
    }
    std::uint32_t next() {
        at = at + 1 == ranks.size() ? 0 : at + 1;
        return ranks[at];
    }
};
key_source &keys() {
    static key_source source;
    return source;
}

void demand_rank(benchmark::State &state, const bench_record &found, const bench_record &wanted) {
    if (std::memcmp(&found, &wanted, sizeof found) != 0) {
        state.SkipWithError("not the record that was asked for");
    }
}

template <class Find>
void time_lookups(benchmark::State &state, Find find) {
    bench_record wanted{};
    bench_record found{};
    for (auto _ : state) {
        wanted = bench_record_at(keys().next());
        if (!find(wanted, found)) {
            state.SkipWithError("a record is missing");
            break;
        }
    }
    demand_rank(state, found, wanted);
}

bool store_find1(ICB *icb, const bench_record &wanted, bench_record &found) {
    found.high = wanted.high;
    found.low = wanted.low;
    return IXREAD(icb, &found);
}

bool store_find2(ICB *icb, const bench_record &wanted, bench_record &found) {
    return IXFINDP(icb, &wanted, 1) && IXGET(icb, &found, icb->recno) == 1;
}

void time_store_walk(benchmark::State &state, int mode, int key) {
    ICB *icb = open_store(mode, key);
    bench_record record{};
    const bench_record first{};
    for (auto _ : state) {
        if (!IXNEXT(icb, &record)) {
            record = first;
            if (!IXFIRST(icb, &record)) {
                state.SkipWithError("the file is empty");
                break;
            }
        }
    }
}

void time_store_scan(benchmark::State &state, int mode) {
    ICB *icb = open_store(mode, 1);
    bench_record record{};
    for (auto _ : state) {
        if (!IXSEQ(icb, &record) && !IXSEQ(icb, &record)) {
            state.SkipWithError("the file is empty");
            break;
        }
    }
    while (IXSEQ(icb, &record)) {
    }
}

std::vector<std::uint32_t> fresh_ranks() {
    std::vector<std::uint32_t> ranks(std::max(count / 10, 1U));
    std::mt19937 random(5);
    // The records in the files have even places in the order of key 1, the new ones odd.
    for (std::uint32_t &rank : ranks) {
        rank = static_cast<std::uint32_t>(random() % count) * 2 + 1;
    }
    std::sort(ranks.begin(), ranks.end());
    ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
    std::shuffle(ranks.begin(), ranks.end(), random);
    return ranks;
}

void time_store_inserts(benchmark::State &state, int mode) {
    open_store(mode, 1);
    close_store();
    const auto ranks = fresh_ranks();
    for (auto _ : state) {
        state.PauseTiming();
        copy_pair("R", "N");
        state.ResumeTiming();
        ICB *icb = IXOPEN("N", mode);
        for (const std::uint32_t rank : ranks) {
            const bench_record record = bench_record_at(rank);
            IXWRITE(icb, &record);
        }
        IXCLOSE(icb);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(ranks.size()) * state.iterations());
}

std::vector<std::uint32_t> sorted_ranks() {
    std::vector<std::uint32_t> ranks = order;
    std::sort(ranks.begin(), ranks.end());
    return ranks;
}

void time_store_rebuild(benchmark::State &state, const char *name, bool sorted) {
    if (!fs::exists(std::string(name) + ".INX")) {
        write_pair(name, sorted ? sorted_ranks() : order);
    }
    for (auto _ : state) {
        if (!IXBLDIX(name)) {
            state.SkipWithError("IXBLDIX");
        }
    }
}

void time_store_check(benchmark::State &state) {
    if (!fs::exists("F.INX")) {
        open_store(ix_exclusive, 1);
        close_store();
        copy_pair("R", "F");
        ICB *icb = IXOPEN("F", ix_exclusive);
        bench_record record;
        for (std::int32_t number = 0; number < icb->nrecs; number += 10) {
            IXGET(icb, &record, number);
            IXDELETE(icb, &record);
        }
        IXCLOSE(icb);
    }
    for (auto _ : state) {
        if (IXCHECK("F") < 0) {
            state.SkipWithError("IXCHECK");
        }
    }
}

// ---- The peers' sides

sqlite_side &sqlite() {
    static sqlite_side side;
    if (side.db == nullptr) {
        side.open("read.db");
        side.load(order);
        side.index();
        side.prepare();
    }
    return side;
}

lmdb_side &lmdb() {
    static lmdb_side side;
    if (side.env == nullptr) {
        side.make("read.mdb", order);
    }
    return side;
}

template <class Side>
void time_peer_walk(benchmark::State &state, Side &side) {
    bench_record record;
    for (auto _ : state) {
        if (!side.step(record)) {
            state.SkipWithError("the table is empty");
            break;
        }
    }
}

void time_sqlite_walk(benchmark::State &state, const char *by) {
    sqlite().start_walk(by);
    time_peer_walk(state, sqlite());
}

void time_sqlite_inserts(benchmark::State &state) {
    const auto ranks = fresh_ranks();
    if (!fs::exists("full.db")) {
        sqlite_side side;
        side.open("full.db");
        side.load(order);
        side.index();
        side.close();
    }
    for (auto _ : state) {
        state.PauseTiming();
        fs::copy_file("full.db", "insert.db", fs::copy_options::overwrite_existing);
        state.ResumeTiming();
        sqlite_side side;
        side.open("insert.db");
        side.prepare_writes();
        for (const std::uint32_t rank : ranks) {
            side.add(bench_record_at(rank));
        }
        side.close();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(ranks.size()) * state.iterations());
}

void time_lmdb_inserts(benchmark::State &state) {
    const auto ranks = fresh_ranks();
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove("insert.mdb");
        lmdb_side side;
        side.make("insert.mdb", order);
        side.end_reading();
        state.ResumeTiming();
        for (const std::uint32_t rank : ranks) {
            side.add(bench_record_at(rank));
        }
        side.close();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(ranks.size()) * state.iterations());
}

template <class Rewrite>
void time_rewrites(benchmark::State &state, Rewrite rewrite) {
    for (auto _ : state) {
        if (!rewrite(bench_record_at(keys().next()))) {
            state.SkipWithError("a record is missing");
            break;
        }
    }
}

void time_store_rewrites(benchmark::State &state) {
    ICB *icb = open_store(ix_shared, 1);
    time_rewrites(state,
                  [icb](bench_record record) { return IXREADLOCK(icb, &record) && IXREWRITE(icb, &record); });
}

void time_sqlite_rewrites(benchmark::State &state) {
    sqlite_side side;
    const bool made = fs::exists("rewrite.db");
    side.open("rewrite.db");
    if (!made) {
        side.load(order);
        side.index();
    }
    side.prepare_writes();
    time_rewrites(state, [&](const bench_record &record) { return side.rewrite(record); });
    side.close();
}

void time_sqlite_index(benchmark::State &state, const char *path, bool sorted) {
    const bool made = fs::exists(path);
    sqlite_side side;
    side.open(path);
    if (!made) {
        side.load(sorted ? sorted_ranks() : order);
    }
    for (auto _ : state) {
        state.PauseTiming();
        side.drop_indexes();
        state.ResumeTiming();
        side.index();
    }
    side.close();
}

void time_sqlite_check(benchmark::State &state) {
    for (auto _ : state) {
        sqlite().run("PRAGMA quick_check");
    }
}

// ---- The list

void register_all() {
    const auto add = [](const std::string &name, auto body) {
        return benchmark::RegisterBenchmark(name.c_str(), body);
    };
    const auto whole = [](benchmark::internal::Benchmark *b) {
        b->Iterations(1)->Unit(benchmark::kMillisecond);
    };
    const struct {
        const char *name;
        int mode;
    } modes[] = {{"/exclusive", ix_exclusive}, {"/shared", ix_shared}};
    const auto step = benchmark::kMicrosecond;

    for (const int key : {1, 2}) {
        const std::string name = "lookup key " + std::to_string(key);
        for (const auto &m : modes) {
            const int mode = m.mode;
            add(name + m.name, [=](benchmark::State &state) {
                ICB *icb = open_store(mode, key);
                time_lookups(state, [=](const bench_record &wanted, bench_record &found) {
                    return key == 1 ? store_find1(icb, wanted, found) : store_find2(icb, wanted, found);
                });
            })->Unit(step);
        }
        add(name + "/sqlite", [=](benchmark::State &state) {
            sqlite_side &side = sqlite();
            time_lookups(state, [&](const bench_record &wanted, bench_record &found) {
                return key == 1 ? side.find1(wanted, found) : side.find2(wanted, found);
            });
        })->Unit(step);
        add(name + "/lmdb", [=](benchmark::State &state) {
            lmdb_side &side = lmdb();
            time_lookups(state, [&](const bench_record &wanted, bench_record &found) {
                return key == 1 ? side.find1(wanted, found) : side.find2(wanted, found);
            });
        })->Unit(step);
    }
    for (const int key : {1, 2}) {
        const std::string name = "walk key " + std::to_string(key);
        for (const auto &m : modes) {
            const int mode = m.mode;
            add(name + m.name, [=](benchmark::State &state) {
                time_store_walk(state, mode, key);
            })->Unit(step);
        }
        add(name + "/sqlite", [=](benchmark::State &state) {
            time_sqlite_walk(state, key == 1 ? "ORDER BY high,low" : "ORDER BY name");
        })->Unit(step);
    }
    add("walk key 1/lmdb", [](benchmark::State &state) { time_peer_walk(state, lmdb()); })->Unit(step);
    for (const auto &m : modes) {
        const int mode = m.mode;
        add(std::string("scan") + m.name, [=](benchmark::State &state) {
            time_store_scan(state, mode);
        })->Unit(step);
        whole(add(std::string("insert") + m.name,
                  [=](benchmark::State &state) { time_store_inserts(state, mode); }));
    }
    add("scan/sqlite", [](benchmark::State &state) { time_sqlite_walk(state, ""); })->Unit(step);
    whole(add("insert/sqlite", time_sqlite_inserts));
    whole(add("insert/lmdb", time_lmdb_inserts));
    add("rewrite/shared", time_store_rewrites)->Unit(step);
    add("rewrite/sqlite", time_sqlite_rewrites)->Unit(step);
    add("rewrite/lmdb", [](benchmark::State &state) {
        fs::remove("rewrite.mdb");
        lmdb_side side;
        side.make("rewrite.mdb", order);
        side.end_reading();
        time_rewrites(state, [&](const bench_record &record) { return side.rewrite(record); });
        side.close();
    })->Unit(step);
    for (const bool sorted : {true, false}) {
        const std::string name = sorted ? "rebuild sorted" : "rebuild random";
        whole(add(name + "/exclusive",
                  [=](benchmark::State &state) { time_store_rebuild(state, sorted ? "S" : "T", sorted); }));
        whole(add(name + "/sqlite", [=](benchmark::State &state) {
            time_sqlite_index(state, sorted ? "sorted.db" : "random.db", sorted);
        }));
    }
    whole(add("check/shared", time_store_check));
    whole(add("check/sqlite", time_sqlite_check));
}

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    if (const char *text = std::getenv("RVCHK_BENCH_RECORDS")) {
        count = static_cast<std::uint32_t>(std::clamp(std::atol(text), 100L, 8000000L));
    }
    order = bench_shuffled(count);
    for (std::uint32_t &rank : order) {
        rank *= 2;
    }
    const char *where = std::getenv("TMPDIR");
    std::string directory = std::string(where == nullptr ? "/tmp" : where) + "/store_bench.XXXXXX";
    if (mkdtemp(directory.data()) == nullptr || chdir(directory.c_str()) != 0) {
        bench_fail(directory.c_str(), std::strerror(errno));
    }
    register_all();
    benchmark::RunSpecifiedBenchmarks(bench_reporter());
    close_store();
    fs::current_path("/");
    fs::remove_all(directory);
    bench_print_ratios();
}
