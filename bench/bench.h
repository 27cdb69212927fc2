// What the parts of the benchmark share: the records, the peers, the table of ratios.
#pragma once

#include <benchmark/benchmark.h>

#include <boost/endian/arithmetic.hpp>
#include <cstdint>
#include <string>
#include <vector>

/// A record of 64 bytes: key 1 on the two numbers, key 2 on the name.
struct bench_record {
    boost::endian::little_int32_t high;
    boost::endian::little_int32_t low;
    char name[16];
    char rest[40];
};
static_assert(sizeof(bench_record) == 64);

/// Record with the place `rank` in the order of key 1.
bench_record bench_record_at(std::uint32_t rank);

/// The ranks 0 to `count` - 1 in random order, always the same.
std::vector<std::uint32_t> bench_shuffled(std::uint32_t count);

[[noreturn]] void bench_fail(const char *what, const char *why);

// ---- Peers (bench_peers.cpp). All use prepared statements or cursors. Reads are inside one transaction;
// each write is one of its own, as each of the store's in shared mode is there for others at once.

/// SQLite: a table with two indexes, 64 MB of cache, no syncing and the journal in memory. An empty path's
/// database is made of `ranks`, in that order.
struct sqlite3;
struct sqlite3_stmt;
struct sqlite_side {
    sqlite3 *db = nullptr;
    sqlite3_stmt *by_key1 = nullptr;
    sqlite3_stmt *by_key2 = nullptr;
    sqlite3_stmt *insert = nullptr;
    sqlite3_stmt *walk = nullptr;
    sqlite3_stmt *update = nullptr;

    void open(const std::string &path);
    /// Loads the table, without indexes.
    void load(const std::vector<std::uint32_t> &ranks);
    void index();
    void drop_indexes();
    void prepare();
    /// For writing: a write-ahead log, and no transaction around.
    void prepare_writes();
    void close();
    void run(const char *sql);
    bool find1(const bench_record &key, bench_record &out);
    bool find2(const bench_record &key, bench_record &out);
    void add(const bench_record &record);
    /// Reads a record and writes it back, in one transaction.
    bool rewrite(const bench_record &key);
    void start_walk(const char *order);
    bool step(bench_record &out);
};

/// LMDB: key 1 to the record, key 2 to key 1, in one read transaction.
struct lmdb_side {
    void *env = nullptr;
    void *txn = nullptr;
    void *cursor = nullptr;
    unsigned key1 = 0;
    unsigned key2 = 0;

    void make(const std::string &path, const std::vector<std::uint32_t> &ranks);
    bool find1(const bench_record &key, bench_record &out);
    bool find2(const bench_record &key, bench_record &out);
    /// Next record of key 1, from the front after the last.
    bool step(bench_record &out);
    /// A reader keeps the pages that it may still read from being used again.
    void end_reading();
    void add(const bench_record &record);
    bool rewrite(const bench_record &key);
    void close();
};

// ---- Results (bench_report.cpp)

/// Shows each run as it ends, and keeps the best time of each.
benchmark::BenchmarkReporter *bench_reporter();
/// The table: a row for what was done, a column for who did it, and how many times as fast as SQLite (and
/// as LMDB) the store was.
void bench_print_ratios();
